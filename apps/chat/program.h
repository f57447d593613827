// What the program does, once its command line is read.
#pragma once

#include "conversation/conversation.h"
#include "exit_code.h"
#include "options.h"

/// Whether answers go out while they come is settled here. @throw DatabaseError, Failure, HostError, OutputError
ExitCode runProgram(const Options& options, Streams streams);
