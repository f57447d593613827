// Ctrl-C as the system tells of it; one source file for each system.
#pragma once

#include <functional>
#include <memory>

/// Takes Ctrl-C over while it lives.
class InterruptSource {
 public:
  virtual ~InterruptSource() = default;
};

/// `receive` is called for each interrupt, on another thread; no more when the object is gone.
std::unique_ptr<InterruptSource> takeInterrupts(std::function<void()> receive);
