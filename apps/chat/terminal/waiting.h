// The seconds that a person waits for.
#pragma once

#include <functional>
#include <iosfwd>
#include <stop_token>
#include <thread>

/// Waits for the next second, or until it is told to stop. @return whether a second has passed
using NextSecond = std::function<bool(const std::stop_token& stop)>;

bool awaitSecond(const std::stop_token& stop);

/// Tells how long a wait lasts, from the second second on, in one line that is wiped when the wait ends.
class Waiting {
 public:
  /// Borrows `err`, a terminal; nobody is told where it is null.
  explicit Waiting(std::ostream* err, NextSecond next = awaitSecond);
  ~Waiting() { end(); }
  Waiting(const Waiting&) = delete;
  Waiting& operator=(const Waiting&) = delete;

  /// Before anything else is shown; nothing more is told.
  void end();

 private:
  void tell(const std::stop_token& stop, const NextSecond& next);

  std::ostream* err_;
  bool isShown_ = false;
  std::jthread thread_;  // last: it uses all the others
};
