// What a host needs around the plain interface: owners, and a way to fill properties.
#pragma once

#include <qai_extensions.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct FreeObject {
  void operator()(IQAIObject* object) const { QAIFreeObject(object); }
};
template <class T>
using Owned = std::unique_ptr<T, FreeObject>;

using Settings = std::map<std::string, CMVariant>;

/// Sets `settings` by key, in the order of the keys; gives the error text.
inline std::string assign(IQAIAssistant& assistant, const Settings& settings) {
  return assistant.setAssistantProperties([&settings](IQAIProperties* properties) {
    for (const auto& [key, value] : settings) properties->setProperty(key, value);
  });
}

inline CMVariant property(IQAIAssistant& assistant, const std::string& key) {
  IQAIProperties* properties = assistant.obtainAssistantProperties();
  IQAIProperties* again = assistant.obtainAssistantProperties();
  // The Assistants service hands out the assistant's own object, which is not the caller's to free.
  const bool areCopies = properties != again;
  const Owned<IQAIProperties> freed(areCopies ? properties : nullptr);
  const Owned<IQAIProperties> freedToo(areCopies ? again : nullptr);
  return properties->obtainProperty(key);
}

/// A new session; null when there was an error.
inline Owned<IQAISession> newSession(IQAIAssistant& assistant) {
  return Owned<IQAISession>(assistant.createSession().first);
}

/// The reply's text, or the error text behind "error: ".
inline std::string toldBy(const std::pair<IQAIMessage*, std::string>& result) {
  const Owned<IQAIMessage> reply(result.first);
  if (reply == nullptr || !result.second.empty()) return "error: " + result.second;
  std::string answer;
  for (const IQAIMessageSection* section : reply->obtainSections()) answer += section->obtainText();
  return answer;
}

inline std::string ask(IQAIAssistant& assistant, IQAISession* session, const std::string& text) {
  return toldBy(assistant.addMessage(session, text));
}

/// A streamed turn: what it told in the same words, and the text as it came.
struct StreamedTurn {
  std::string told;
  std::vector<std::string> pieces;
};

inline StreamedTurn askStreaming(IQAIAssistant& assistant, IQAISession* session, const std::string& text,
                                 const QAIStreamOptions& options = {}) {
  StreamedTurn turn;
  const auto sink = [&turn](std::string_view piece) {
    turn.pieces.emplace_back(piece);
    return true;
  };
  turn.told = toldBy(qaiExtension<IQAIStreaming>(&assistant)->addMessageStreaming(session, text, options, sink));
  return turn;
}
