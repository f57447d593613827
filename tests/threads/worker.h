// One of the many that work at once: an assistant on a thread of its own, and what became of its turns.
#pragma once

#include "cancel_desk.h"
#include "support/services.h"

#include <qai.hpp>

#include <atomic>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

/// What a worker has counted.
struct Tally {
  int asked = 0;
  int answered = 0;
  int streamed = 0;  // of these
  int stopped = 0;   // by the host's flag
  int cancels = 0;   // that were made with an assistant whose requests can be cancelled
  int translated = 0;
  std::set<std::string> cancelled;   // the texts of the turns that a cancel ended
  std::vector<std::string> defects;  // what was not as it must be
};

/// Asks until it has asked often enough: in conversations of a few turns, every other one streamed, some of which are
/// cancelled or stopped meanwhile, with model lists, settings, saving, restoring and new assistants in between.
/// Everything is checked where it happens.
class Worker {
 public:
  /// `number` tells workers apart: in the key, in the database and in every question.
  Worker(const TestedService& service, int number, std::string address, CancelDesk& desk);

  /// On the thread that is the worker's own.
  void work(int turns);

  const TestedService& service() const { return service_; }
  const Tally& tally() const { return tally_; }
  std::string key() const { return "sk-worker-" + name_; }
  /// The start of each of its questions.
  std::string signature() const { return "Worker " + name_ + " asks "; }

 private:
  void makeAssistant();
  void configure();
  void converse();
  void takeTurn(bool disturbed);
  void disturb();
  std::string ask(const std::string& question);
  std::string askStreamed(const std::string& question);
  void judge(const std::string& question, const std::string& told, const std::string& before);
  void judgeStop(const std::string& told);
  void checkAnswer(const std::string& answer);
  void lookAround();
  void expect(bool holds, const std::string& what);
  bool canBeCancelled() const { return service_.usesPool; }

  const TestedService service_;
  const std::string name_;
  const std::string address_;
  CancelDesk& desk_;
  Tally tally_;
  int rounds_ = 0;
  qai::Assistant assistant_;
  qai::Session session_;
  std::future<void> cancelling_;
  std::atomic<bool> stop_{false};  // of streamed turns, set by other threads
  bool isStirred_ = false;         // a turn of the conversation was cancelled
  bool cancelIsDue_ = false;       // one was made that no turn has met yet
};

/// The text that the host's callback gives for every text of the library's own.
inline constexpr const char* kTranslated = "translated";
