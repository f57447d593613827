#include "interrupt.h"

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
  turn();
  const std::lock_guard lock(mutex_);
  cancel_ = nullptr;
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
