// The commands about what leaves this machine.
#pragma once

#include "conversation/commands.h"

bool tellSent(Talk& talk, const CommandCall& call);
bool tellContext(Talk& talk, const CommandCall& call);
