// What the Assistants protocol keeps between requests.
#pragma once

#include "assistants_thread.h"

#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace standin {

/// Every operation is done wholly or, with a flaw, not at all, and may be called from any thread. What is given as
/// members has passed the checks of bodies.
class AssistantsStore {
 public:
  /// @param idTail put behind every identifier
  explicit AssistantsStore(const std::string& idTail) : state_{.identifiers = Identifiers(idTail)} {}
  AssistantsStore(const AssistantsStore& other) : state_(other.copyState()) {}
  AssistantsStore& operator=(const AssistantsStore&) = delete;
  ~AssistantsStore() = default;

  /// Queues `script` for the next run that starts without one.
  void scriptRun(RunScript script);
  /// Nothing is left of assistants and threads, as after a start without a disk; no identifier comes twice all the
  /// same.
  void forget();

  ObjectOrFlaw createAssistant(const Members& sent);
  ObjectOrFlaw tellAssistant(const std::string& id) const;
  /// What was not sent stays as it is; a null brings the usual back.
  ObjectOrFlaw modifyAssistant(const std::string& id, const Members& sent);
  ObjectOrFlaw deleteAssistant(const std::string& id);

  /// @param messages the first ones, oldest first
  ObjectOrFlaw createThread(const Members& sent, const std::vector<Members>& messages);
  ObjectOrFlaw tellThread(const std::string& id) const;
  ObjectOrFlaw deleteThread(const std::string& id);

  ObjectOrFlaw addMessage(const std::string& threadId, const Members& sent);
  ObjectOrFlaw listMessages(const std::string& threadId, const MessageFilter& filter) const;

  ObjectOrFlaw startRun(const std::string& threadId, const Members& sent);
  /// Goes on to the run's next status.
  ObjectOrFlaw tellRun(const std::string& threadId, const std::string& runId);
  ObjectOrFlaw cancelRun(const std::string& threadId, const std::string& runId);

  /// The same as startRun, for a stream that tells what becomes of the run; see AssistantsThread.
  OpeningOrFlaw openRun(const std::string& threadId, const Members& sent);
  /// False when it has ended, or its thread is no more.
  bool holdsRun(const std::string& threadId, const std::string& runId) const;
  /// Nothing when the thread is no more.
  std::optional<RunStep> stepRun(const std::string& threadId, const std::string& runId);

 private:
  struct State {
    Identifiers identifiers;
    std::map<std::string, Members> assistants = {};
    std::map<std::string, AssistantsThread> threads = {};
    std::deque<RunScript> scripts = {};
  };

  State copyState() const;

  mutable std::mutex mutex_;
  State state_;
};

}  // namespace standin
