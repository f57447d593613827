// OpenAI's chat completions, as far as a client without streams and tools meets them.
#pragma once

#include "protocol.h"

namespace standin {

Service openaiService();

}  // namespace standin
