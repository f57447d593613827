#include "terminal/interrupt.h"

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <thread>
#include <utility>

namespace {

class SignalReceiver final : public InterruptSource {
 public:
  explicit SignalReceiver(std::function<void()> receive) : receive_(std::move(receive)) {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGINT);
    struct sigaction action {};
    sigaction(SIGINT, nullptr, &action);
    ignored_ = action.sa_handler == SIG_IGN;
    pthread_sigmask(SIG_BLOCK, &signals_, &earlierMask_);  // even an ignored signal arrives where it is blocked
    thread_ = std::thread([this] { wait(); });
  }

  ~SignalReceiver() override {
    stopping_ = true;
    pthread_kill(thread_.native_handle(), SIGINT);
    thread_.join();
    pthread_sigmask(SIG_SETMASK, &earlierMask_, nullptr);
  }
  SignalReceiver(const SignalReceiver&) = delete;
  SignalReceiver& operator=(const SignalReceiver&) = delete;

 private:
  void wait() {
    int signal = 0;
    while (sigwait(&signals_, &signal) == 0 && !stopping_) {
      if (!ignored_) receive_();
    }
  }

  std::function<void()> receive_;
  sigset_t signals_;
  sigset_t earlierMask_;
  bool ignored_;
  std::atomic<bool> stopping_ = false;
  std::thread thread_;  // last: it uses all the others
};

}  // namespace

std::unique_ptr<InterruptSource> takeInterrupts(std::function<void()> receive) {
  return std::make_unique<SignalReceiver>(std::move(receive));
}

void endByInterrupt() {
  static_cast<void>(std::signal(SIGINT, SIG_DFL));
  sigset_t interrupt;
  sigemptyset(&interrupt);
  sigaddset(&interrupt, SIGINT);
  pthread_sigmask(SIG_UNBLOCK, &interrupt, nullptr);
  static_cast<void>(std::raise(SIGINT));
}
