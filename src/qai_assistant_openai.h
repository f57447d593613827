// OpenAI Assistants, version 2: the service keeps the assistant and the conversations (threads), and answers a message
// by a run that is asked for its state until it ends.
#pragma once

#include "qai_assistant_base.h"
#include "qai_assistant_properties_openai.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Waits between two questions after a run's state.
using RunSleep = std::function<void(std::chrono::milliseconds)>;
/// By the steady clock.
void sleepFor(std::chrono::milliseconds time);

/// Names a thread of the service, where the conversation lives, and the assistant that it was held with.
class QAISession_OPENAI final : public IQAISession {
 public:
  /// `properties` is the assistant's own record, borrowed; it outlives the session.
  explicit QAISession_OPENAI(QAIAssistantProperties_OPENAI& properties) : m_properties(properties) {}
  QAISession_OPENAI(QAIAssistantProperties_OPENAI& properties, std::string assistantID, std::string threadID);
  QAISession_OPENAI(const QAISession_OPENAI&) = delete;
  QAISession_OPENAI& operator=(const QAISession_OPENAI&) = delete;

  std::string obtainSessionData() const override;

  /// Fills a new session from a saved text and writes the text's settings into the record; settings that can't be used
  /// are skipped.
  /// @return false, with nothing changed, when `data` is no JSON or does not name both assistant and thread; an empty
  ///         name is none.
  bool load(const std::string& data);

  const std::string& assistantID() const { return m_assistantID; }
  const std::string& threadID() const { return m_threadID; }
  const QAIAssistantProperties_OPENAI& properties() const { return m_properties; }

 private:
  std::string m_assistantID;
  std::string m_threadID;
  QAIAssistantProperties_OPENAI& m_properties;
};

class QAIAssistant_OPENAI final : public QAIAssistantBase {
 public:
  /// Takes `pool` over, unless it throws. Going sends nothing: what the service holds outlives this object.
  QAIAssistant_OPENAI(ICSHTTPPoolCenter* pool, const std::string& apiHost, const std::string& apiKey,
                      RunSleep sleep = sleepFor);

  std::string setAssistantProperties(std::function<void(IQAIProperties*)> fill) override;
  IQAIProperties* obtainAssistantProperties() override;
  std::pair<IQAISession*, std::string> createSession() override;
  std::pair<IQAISession*, std::string> loadSession(std::string data) override;
  std::string destroySession(IQAISession* session) override;
  std::pair<IQAIMessage*, std::string> addMessage(IQAISession* session, std::string text) override;
  std::pair<IQAIMessage*, std::string> addMessageStreaming(IQAISession* session, std::string text,
                                                           const QAIStreamOptions& options, const Sink& sink) override;

 private:
  /// Segments of a path behind the API host.
  using Path = std::vector<std::string>;
  static constexpr const char* kThreads = "threads";

  std::string address(const Path& path) const;
  Reply get(const Path& path, const CMRestParams& query, std::string_view label) const;
  Reply post(const Path& path, ICOJsonValue* body, std::string_view label) const;
  Reply readCreated(const HTTPResult& result, std::string_view label) const;
  std::string remove(const Path& path) const;

  Reply postAssistant(const Path& path, const QAIAssistantProperties_OPENAI& properties, std::string_view label) const;
  Reply createAssistant(const QAIAssistantProperties_OPENAI& properties) const;
  std::string modifyAssistant(const QAIAssistantProperties_OPENAI& properties) const;
  void destroyAssistant(const std::string& id) const;
  std::string describeAssistant(const QAIAssistantProperties_OPENAI& properties, std::string& id) const;

  const QAISession_OPENAI* asOwnSession(const IQAISession* session) const;
  Reply postMessage(const std::string& threadID, const std::string& text) const;
  Reply startRun(const std::string& threadID) const;
  std::string failedRunText(const ICOJsonValue& run) const;
  std::pair<IQAIMessage*, std::string> finishRun(const std::string& threadID, const Reply& run,
                                                 const std::atomic<bool>* stop) const;
  std::string awaitRun(const std::string& threadID, const std::string& runID, ReplyDetails& details,
                       const std::atomic<bool>* stop) const;
  bool sleepUnlessStopped(std::chrono::milliseconds time, const std::atomic<bool>* stop) const;
  std::pair<IQAIMessage*, std::string> collectMessage(const std::string& threadID, const std::string& runID,
                                                      ReplyDetails details) const;

  static std::unique_ptr<QAIReply> joinMessages(const ICOJsonValue& messages);

  HTTPResult streamRun(const std::string& threadID, const QAIStreamOptions& options, QAIReplyStream& receiver) const;
  std::pair<IQAIMessage*, std::string> takeStreamedRun(const std::string& threadID, const HTTPResult& result,
                                                       QAIReplyStream& receiver) const;
  void cancelRun(const std::string& threadID, const StreamedRun& run) const;

  std::string m_assistantID;                          // empty while the service holds none
  QAIAssistantProperties_OPENAI* const m_properties;  // the base's, by its own type
  std::vector<QAISession_OPENAI*> m_sessions;  // the host's; compared, never read, for the host may have freed one
  RunSleep m_sleep;
};
