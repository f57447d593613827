// A thread of the Assistants protocol: a conversation that the service keeps, and the runs that answer in it.
#pragma once

#include "assistants_objects.h"
#include "flaws.h"
#include "rules.h"
#include "standin.h"

#include <cstddef>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace standin {

/// What an operation gives: the JSON text of an object, or why there is none.
using ObjectOrFlaw = std::variant<std::string, Flaw>;

/// Gives every object a name of its own.
class Identifiers {
 public:
  /// @param tail put behind every one
  explicit Identifiers(std::string tail) : tail_(std::move(tail)) {}

  /// The next of those that begin with `kind`, such as "run_standin_3".
  std::string next(const std::string& kind);

 private:
  std::string tail_;
  std::map<std::string, int> counts_;
};

/// What a client asks to see of a thread's messages.
struct MessageFilter {
  std::string runId;  // "": of all runs and of none
  bool oldestFirst;   // else the newest
  std::string after;  // the message behind which the list begins; "": at the first
  std::size_t limit;
};

/// A run as its stream begins to tell it.
struct RunOpening {
  std::string id;
  std::string queued;  // the run's JSON, as is the next
  std::string inProgress;
  std::vector<Members> messages;  // that it writes, oldest first
};
using OpeningOrFlaw = std::variant<RunOpening, Flaw>;

/// What a stream tells next of its run.
struct RunStep {
  std::string status;
  std::string run;  // its JSON
  bool isLast;      // nothing follows
};

/// Every operation is done wholly or, with a flaw, not at all.
class AssistantsThread {
 public:
  AssistantsThread(const std::string& id, const Members& sent);

  std::string write() const { return writeObject(members_); }

  ObjectOrFlaw addMessage(const Members& sent, Identifiers& identifiers);
  ObjectOrFlaw listMessages(const MessageFilter& filter) const;

  /// @param scripts the first is taken for this run
  ObjectOrFlaw startRun(const Members& assistant, const Members& sent, std::deque<RunScript>& scripts,
                        Identifiers& identifiers);
  /// Goes on to the run's next status.
  ObjectOrFlaw tellRun(const std::string& id);
  /// @return a flaw when it has ended
  ObjectOrFlaw cancelRun(const std::string& id);

  /// The same as startRun, with a run that is in progress at once and holds the thread until it has ended.
  OpeningOrFlaw openRun(const Members& assistant, const Members& sent, std::deque<RunScript>& scripts,
                        Identifiers& identifiers);
  bool holdsRun(const std::string& id) const;
  /// Goes on to the next status of a run that openRun gave.
  RunStep stepRun(const std::string& id);

 private:
  struct Message {
    std::string id;
    std::string runId;  // "": the client wrote it
    Turn turn;
    Members members;
  };
  struct Run {
    Members members;
    std::deque<std::string> statuses;  // to be told; never empty
    std::string lastError;             // JSON, as is the next
    std::string usage;
    bool active;  // holds the thread
  };

  static void enter(Run& run, const std::string& status);
  static void advance(Run& run);
  const std::string* activeRun() const;
  const Message& appendMessage(const Members& sent, Identifiers& identifiers);
  std::variant<Run*, Flaw> beginRun(const Members& assistant, const Members& sent, std::deque<RunScript>& scripts,
                                    Identifiers& identifiers);
  void writeAnswers(const std::string& runId, Run& run, const RunScript& script, Identifiers& identifiers);

  std::string id_;
  Members members_;
  std::vector<Message> messages_;  // oldest first
  std::map<std::string, Run> runs_;
};

}  // namespace standin
