// The console edits lines itself.
#include "terminal/plain_line_editor.h"

std::unique_ptr<LineEditor> makeLineEditor(const TypingHelp& /*help*/, std::istream& in, std::ostream& err) {
  return std::make_unique<PlainLineEditor>(in, err);
}
