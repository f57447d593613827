#include "raise_interrupt.h"

#include <windows.h>

/// At a console of this process's own, for it would reach all programs at the one where it was started.
void raiseInterrupt() {
  FreeConsole();
  AllocConsole();
  GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
}
