#include "terminal/interrupt.h"

#include <windows.h>

#include <mutex>
#include <utility>

namespace {

std::mutex receiverMutex;
const std::function<void()>* receiver = nullptr;  // under the mutex; null: nobody takes interrupts

/// The system calls it on a thread of its own, and not at all where Ctrl-C is ignored.
BOOL WINAPI handleEvent(DWORD event) {
  if (event != CTRL_C_EVENT) return FALSE;
  const std::lock_guard lock(receiverMutex);
  if (receiver == nullptr) return FALSE;
  (*receiver)();
  return TRUE;
}

class ConsoleReceiver final : public InterruptSource {
 public:
  explicit ConsoleReceiver(std::function<void()> receive) : receive_(std::move(receive)) {
    setReceiver(&receive_);
    SetConsoleCtrlHandler(handleEvent, TRUE);
  }
  ~ConsoleReceiver() override {
    SetConsoleCtrlHandler(handleEvent, FALSE);
    setReceiver(nullptr);  // waits for a call that has begun
  }
  ConsoleReceiver(const ConsoleReceiver&) = delete;
  ConsoleReceiver& operator=(const ConsoleReceiver&) = delete;

 private:
  static void setReceiver(const std::function<void()>* receive) {
    const std::lock_guard lock(receiverMutex);
    receiver = receive;
  }

  std::function<void()> receive_;
};

}  // namespace

std::unique_ptr<InterruptSource> takeInterrupts(std::function<void()> receive) {
  return std::make_unique<ConsoleReceiver>(std::move(receive));
}

// ExitProcess would have every DLL tidy up, beside threads that were stopped wherever they were.
void endByInterrupt() { TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_CONTROL_C_EXIT)); }
