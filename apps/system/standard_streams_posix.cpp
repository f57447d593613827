#include "standard_streams.h"

#include <unistd.h>

#include <csignal>

void setUpStandardStreams() { static_cast<void>(std::signal(SIGPIPE, SIG_IGN)); }

bool isInputTerminal() { return isatty(STDIN_FILENO) == 1; }

const char* obtainEndOfInputKeys() { return "Ctrl-D"; }
