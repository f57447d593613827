#include "end_signal.h"

#include <pthread.h>

#include <csignal>

namespace standin {
namespace {

sigset_t endSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

}  // namespace

void holdEndSignals() {
  const sigset_t signals = endSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void waitForEndSignal() {
  const sigset_t signals = endSignals();
  int received = 0;
  sigwait(&signals, &received);
}

}  // namespace standin
