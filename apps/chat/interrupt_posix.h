// Ctrl-C at a terminal, and what else the process has to settle with the system about signals and terminals.
#pragma once

#include <csignal>
#include <functional>
#include <mutex>
#include <thread>

/// Takes SIGINT over while it lives, unless the process was started with SIGINT ignored; then it stays so. The signal
/// is received by a thread, not by a handler, so that an action may lock. Made before the process starts other threads,
/// which inherit that the signal is blocked.
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
  sigset_t signals_;
  sigset_t earlierMask_;
  bool ignored_;
  std::mutex mutex_;
  Action cancel_;  // set while a turn runs
  bool interrupted_ = false;
  bool stopping_ = false;
  std::thread receiver_;  // last: it uses all the others
};

/// Ends the process as SIGINT does where nothing is done about it. May be called from any thread.
void endByInterrupt();

/// Writing to a closed pipe gives an error instead of ending the process.
void ignoreBrokenPipes();

/// Whether a person types the standard input.
bool isInputTerminal();
