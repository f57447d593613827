#include "interrupt_posix.h"

#include <pthread.h>
#include <unistd.h>

#include <utility>

Interrupts::Interrupts(Action whenIdle) : whenIdle_(std::move(whenIdle)) {
  sigemptyset(&signals_);
  sigaddset(&signals_, SIGINT);
  struct sigaction action {};
  sigaction(SIGINT, nullptr, &action);
  ignored_ = action.sa_handler == SIG_IGN;
  pthread_sigmask(SIG_BLOCK, &signals_, &earlierMask_);  // even an ignored signal arrives where it is blocked
  receiver_ = std::thread([this] { receive(); });
}

Interrupts::~Interrupts() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  pthread_kill(receiver_.native_handle(), SIGINT);
  receiver_.join();
  pthread_sigmask(SIG_SETMASK, &earlierMask_, nullptr);
}

bool Interrupts::run(const Action& turn, Action cancel) {
  {
    const std::lock_guard lock(mutex_);
    cancel_ = std::move(cancel);
    interrupted_ = false;
  }
  turn();
  const std::lock_guard lock(mutex_);
  cancel_ = nullptr;
  return interrupted_;
}

void Interrupts::receive() {
  int signal = 0;
  while (sigwait(&signals_, &signal) == 0) {
    const std::lock_guard lock(mutex_);
    if (stopping_) return;
    if (ignored_) continue;
    if (cancel_) {
      interrupted_ = true;
      cancel_();
    } else {
      whenIdle_();
    }
  }
}

void endByInterrupt() {
  static_cast<void>(std::signal(SIGINT, SIG_DFL));
  sigset_t interrupt;
  sigemptyset(&interrupt);
  sigaddset(&interrupt, SIGINT);
  pthread_sigmask(SIG_UNBLOCK, &interrupt, nullptr);
  static_cast<void>(std::raise(SIGINT));
}

void ignoreBrokenPipes() { static_cast<void>(std::signal(SIGPIPE, SIG_IGN)); }

bool isInputTerminal() { return isatty(STDIN_FILENO) == 1; }
