// The command about what the database holds.
#pragma once

#include "conversation/commands.h"

bool listTables(Talk& talk, const CommandCall& call);
bool describeTable(Talk& talk, const CommandCall& call);
