// The signals by which a program that serves is told to end; one source file for each system.
#pragma once

namespace standin {

/// Keeps SIGINT and SIGTERM, on Windows Ctrl-C and Ctrl-Break, for waitForEndSignal; called before any thread starts,
/// so that all take it over.
void holdEndSignals();
/// Waits for one of them.
void waitForEndSignal();

}  // namespace standin
