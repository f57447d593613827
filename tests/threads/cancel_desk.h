// Threads that cancel what other threads ask.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

/// Carries out what is handed in, as soon as one of its threads is free.
class CancelDesk {
 public:
  explicit CancelDesk(int threads) {
    for (int i = 0; i < threads; ++i) threads_.emplace_back([this] { work(); });
  }
  ~CancelDesk() {
    {
      const std::lock_guard lock(mutex_);
      closed_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) thread.join();
  }
  CancelDesk(const CancelDesk&) = delete;
  CancelDesk& operator=(const CancelDesk&) = delete;

  /// @return becomes ready when `cancel` has been carried out
  std::future<void> handIn(std::function<void()> cancel) {
    std::packaged_task<void()> task(std::move(cancel));
    std::future<void> done = task.get_future();
    {
      const std::lock_guard lock(mutex_);
      tasks_.push_back(std::move(task));
    }
    changed_.notify_one();
    return done;
  }

 private:
  void work() {
    for (;;) {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return closed_ || !tasks_.empty(); });
      if (tasks_.empty()) return;
      std::packaged_task<void()> task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      task();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::packaged_task<void()>> tasks_;
  bool closed_ = false;
  std::vector<std::thread> threads_;
};
