#include "end_signal.h"

#include <windows.h>

#include <atomic>

namespace standin {
namespace {

std::atomic_flag endIsTold;

/// The system calls it on a thread of its own.
BOOL WINAPI takeEvent(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  endIsTold.test_and_set();
  endIsTold.notify_all();
  return TRUE;
}

}  // namespace

void holdEndSignals() { SetConsoleCtrlHandler(takeEvent, TRUE); }

void waitForEndSignal() { endIsTold.wait(false); }

}  // namespace standin
