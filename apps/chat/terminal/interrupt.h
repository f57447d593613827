// Ctrl-C at a terminal.
#pragma once

#include "terminal/interrupt_source.h"

#include <functional>
#include <memory>
#include <mutex>

/// Takes Ctrl-C (SIGINT) over while it lives, unless the process was started with it ignored; then it stays so. It is
/// received by a thread, so that an action may lock. One at a time, made before the process starts other threads, which
/// inherit that the signal is blocked.
class Interrupts {
 public:
  using Action = std::function<void()>;

  /// `whenIdle` is called for an interrupt outside run(), on another thread.
  explicit Interrupts(Action whenIdle);
  ~Interrupts();
  Interrupts(const Interrupts&) = delete;
  Interrupts& operator=(const Interrupts&) = delete;

  /// Runs `turn`; an interrupt meanwhile calls `cancel`, on another thread. @return whether one came.
  bool run(const Action& turn, Action cancel);

 private:
  void receive();

  Action whenIdle_;
  std::mutex mutex_;
  Action cancel_;  // set while a turn runs
  bool interrupted_ = false;
  std::unique_ptr<InterruptSource> source_;  // last: it uses all the others
};

/// Ends the process at once as Ctrl-C does where nothing is done about it: by SIGINT, on Windows with the exit code
/// 0xC000013A (STATUS_CONTROL_C_EXIT). May be called from any thread.
void endByInterrupt();
