// Where threads wait for each other.
#pragma once

#include <condition_variable>
#include <mutex>

/// Holds each thread until all are there. std::latch would do, but the one of MinGW now and then wakes one too few.
class Meeting {
 public:
  explicit Meeting(int threads) : missing_(threads) {}

  void arriveAndWait() {
    std::unique_lock lock(mutex_);
    if (--missing_ == 0) complete_.notify_all();
    complete_.wait(lock, [this] { return missing_ == 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable complete_;
  int missing_;
};
