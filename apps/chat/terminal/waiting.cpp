#include "terminal/waiting.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <ostream>
#include <utility>

bool awaitSecond(const std::stop_token& stop) {
  std::mutex mutex;
  std::condition_variable_any stopped;
  // cppcheck-suppress localMutex ; it guards nothing, the wait needs one
  std::unique_lock lock(mutex);
  stopped.wait_for(lock, stop, std::chrono::seconds(1), [] { return false; });
  return !stop.stop_requested();
}

Waiting::Waiting(std::ostream* err, NextSecond next) : err_(err) {
  if (err_ == nullptr) return;
  thread_ = std::jthread([this, next = std::move(next)](const std::stop_token& stop) { tell(stop, next); });
}

void Waiting::tell(const std::stop_token& stop, const NextSecond& next) {
  constexpr unsigned kFirst = 2;
  for (unsigned seconds = 1; next(stop); ++seconds) {
    if (seconds < kFirst) continue;
    *err_ << '\r' << seconds << " s" << std::flush;
    isShown_ = true;
  }
}

void Waiting::end() {
  if (!thread_.joinable()) return;
  thread_.request_stop();
  thread_.join();
  // Wide enough for what the terminal may show of Ctrl-C behind it.
  if (isShown_) *err_ << "\r                \r" << std::flush;
}
