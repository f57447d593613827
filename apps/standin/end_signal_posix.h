// The signals by which a program that serves is told to end.
#pragma once

namespace standin {

/// Keeps SIGINT and SIGTERM for waitForEndSignal; called before any thread starts, so that all take it over.
void holdEndSignals();
/// Waits for one of them.
void waitForEndSignal();

}  // namespace standin
