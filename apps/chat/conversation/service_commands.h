// The commands about who answers.
#pragma once

#include "conversation/commands.h"

bool listProviders(Talk& talk, const CommandCall& call);
bool moveToProvider(Talk& talk, const CommandCall& call);
bool listModels(Talk& talk, const CommandCall& call);
bool changeModel(Talk& talk, const CommandCall& call);
bool beginAnew(Talk& talk, const CommandCall& call);
