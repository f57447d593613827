#include "terminal/interrupt.h"

#include <cf/defer.h>

#include <utility>

Interrupts::Interrupts(Action whenIdle)
    : whenIdle_(std::move(whenIdle)), source_(takeInterrupts([this] { receive(); })) {}

Interrupts::~Interrupts() = default;

bool Interrupts::run(const Action& turn, Action cancel) {
  {
    const std::lock_guard lock(mutex_);
    cancel_ = std::move(cancel);
    interrupted_ = false;
  }
  {
    const CODefer end([this] {  // that of a turn that throws, too
      const std::lock_guard lock(mutex_);
      cancel_ = nullptr;
    });
    turn();
  }
  const std::lock_guard lock(mutex_);
  return interrupted_;
}

void Interrupts::receive() {
  const std::lock_guard lock(mutex_);
  if (cancel_) {
    interrupted_ = true;
    cancel_();
  } else {
    whenIdle_();
  }
}
