// What the Assistants protocol keeps between requests: assistants, threads with their messages and runs.
#pragma once

#include "assistants_objects.h"
#include "rules.h"
#include "standin.h"

#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

/// What an operation gives: the JSON text of an object, or why there is none.
struct StoreResult {
  int status = 200;
  std::string text;  // with another status than 200: the refusal's message
};

/// What a client asks to see of a thread's messages.
struct MessageFilter {
  std::string runId;  // "": of all runs and of none
  bool oldestFirst = false;
  std::size_t limit = 20;
};

/// Every operation is whole or did nothing, and may be called from any thread. What comes as members was checked.
class AssistantsStore {
 public:
  /// @param idTail put behind every identifier
  explicit AssistantsStore(std::string idTail);
  AssistantsStore(const AssistantsStore& other);
  AssistantsStore& operator=(const AssistantsStore&) = delete;
  ~AssistantsStore() = default;

  /// Queues `script` for the next run that starts without one.
  void scriptRun(RunScript script);

  StoreResult createAssistant(const Members& sent);
  StoreResult tellAssistant(const std::string& id) const;
  /// What was not sent stays as it is; a null brings the usual back.
  StoreResult modifyAssistant(const std::string& id, const Members& sent);
  StoreResult deleteAssistant(const std::string& id);

  StoreResult createThread(const Members& sent, const std::vector<Members>& messages);
  StoreResult tellThread(const std::string& id) const;
  StoreResult deleteThread(const std::string& id);

  StoreResult addMessage(const std::string& threadId, const Members& sent);
  StoreResult listMessages(const std::string& threadId, const MessageFilter& filter) const;

  StoreResult startRun(const std::string& threadId, const Members& sent);
  /// Goes on to the run's next status.
  StoreResult tellRun(const std::string& threadId, const std::string& runId);

 private:
  struct Message {
    std::string id;
    std::string runId;  // "": the client's
    Turn turn;
    std::string json;
  };
  struct Run {
    Members members;
    std::deque<std::string> statuses;  // to be told; never empty
    std::string lastError;
    std::string usage;
    bool active;
  };
  struct Thread {
    Members members;
    std::vector<Message> messages;  // oldest first
    std::map<std::string, Run> runs;
  };
  struct State {
    std::string idTail;
    std::map<std::string_view, int> counts;  // of identifiers, by their beginnings
    std::map<std::string, Members> assistants;
    std::map<std::string, Thread> threads;
    std::deque<RunScript> scripts;

    std::string newId(std::string_view opening);
    Message newMessage(const std::string& threadId, const Members& sent);
    Run newRun(const std::string& id, const std::string& threadId, const Members& assistant, const Members& sent);
    void writeAnswers(const std::string& runId, const std::string& threadId, Run& run, const RunScript& script);
  };

  static std::string activeRun(const Thread& thread);
  static void advance(Run& run);

  State copyState() const;

  mutable std::mutex mutex_;
  State state_;
};

}  // namespace standin
