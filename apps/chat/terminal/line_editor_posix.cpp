#include "terminal/edit_line_posix.h"
#include "terminal/tty_editor_posix.h"

std::unique_ptr<LineEditor> makeLineEditor(const TypingHelp& help, std::istream& /*in*/, std::ostream& err) {
  if (auto editor = makeEditLine(help)) return editor;
  return std::make_unique<TtyEditor>(err);
}
