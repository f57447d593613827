/// @file
/// A scope guard: what it was given runs when the scope ends, however it ends.
#pragma once

#include <cf/language.h>

#include <functional>
#include <utility>

/// Calls `action` once, when destroyed. The action must not throw. Used by one thread.
class CODefer {
 public:
  /// Keeps `action` for the end.
  explicit CODefer(std::function<void()> action) : action_(std::move(action)) {}
  ~CODefer() {
    if (action_) action_();
  }
  CODefer(const CODefer&) = delete;
  CODefer& operator=(const CODefer&) = delete;
  CODefer(CODefer&&) = delete;
  CODefer& operator=(CODefer&&) = delete;

 private:
  std::function<void()> action_;
};
