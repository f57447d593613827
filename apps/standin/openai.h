// What OpenAI's protocols have in common.
#pragma once

#include "completions.h"

namespace standin {

/// OpenAI's models, keys, wordings and errors.
const CompletionsDialect& openaiDialect();

}  // namespace standin
