#include "end_signal.h"

#include <windows.h>

namespace standin {
namespace {

HANDLE endIsTold = nullptr;  // an event; the process has it to its end

/// The system calls it on a thread of its own.
BOOL WINAPI takeEvent(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  SetEvent(endIsTold);
  return TRUE;
}

}  // namespace

void holdEndSignals() {
  endIsTold = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  SetConsoleCtrlHandler(takeEvent, TRUE);
}

void waitForEndSignal() { WaitForSingleObject(endIsTold, INFINITE); }

}  // namespace standin
