// Ctrl-C for this process; one source file for each system.
#pragma once

void raiseInterrupt();
