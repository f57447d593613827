// Lines edited with the keys that people know, by libedit.
#pragma once

#include "terminal/line_editor.h"

#include <memory>

/// The editor for the terminal that the standard input and the standard error are; null where these are none, where the
/// terminal can't move its cursor, and where the system knows no UTF-8. Borrows `help`.
std::unique_ptr<LineEditor> makeEditLine(const TypingHelp& help);
