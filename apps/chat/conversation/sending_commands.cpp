#include "conversation/sending_commands.h"

#include "terminal/rendering.h"

#include <ostream>

namespace {

bool tell(Talk& talk, const std::function<std::string()>& text) {
  talk.streams.err << terminalSafe(text ? text() : "Nothing is known of it.") << '\n';
  return true;
}

}  // namespace

bool tellSent(Talk& talk, const CommandCall& /*call*/) { return tell(talk, talk.background.tellSent); }

bool tellContext(Talk& talk, const CommandCall& /*call*/) { return tell(talk, talk.background.tellContext); }
