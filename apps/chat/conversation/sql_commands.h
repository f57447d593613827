// The commands about the statements of answers and their rows.
#pragma once

#include "conversation/commands.h"

bool runStatement(Talk& talk, const CommandCall& call);
bool runTypedStatement(Talk& talk, const CommandCall& call);
bool changeStatement(Talk& talk, const CommandCall& call);
bool explainStatement(Talk& talk, const CommandCall& call);
bool setShownRows(Talk& talk, const CommandCall& call);
bool exportRows(Talk& talk, const CommandCall& call);
bool drawLastChart(Talk& talk, const CommandCall& call);
bool shareRows(Talk& talk, const CommandCall& call);
