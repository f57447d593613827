// The line that a person types.
#pragma once

#include "terminal/completion.h"
#include "terminal/history.h"

#include <iosfwd>
#include <memory>
#include <string>

/// What came of reading a line.
struct TypedLine {
  enum class Kind {
    Text,     // a line, or several that were pasted together
    Dropped,  // Ctrl-C
    End       // of the input
  };
  Kind kind = Kind::End;
  std::string text = {};
};

/// Reads lines, with whatever help the terminal is good for. Used by one thread, but for interrupt().
class LineEditor {
 public:
  virtual ~LineEditor() = default;
  /// Shows `prompt` and waits for a line.
  virtual TypedLine readLine(const std::string& prompt) = 0;
  /// Has the line that is being typed dropped; nothing when none is. May be called from any thread.
  virtual void interrupt() = 0;
};

/// What helps a person to type.
struct TypingHelp {
  const QuestionHistory& history;
  Words words;
};

/// For a person at the terminal that the standard input is. `in` and `err` stand for the standard streams. Borrows all
/// of it.
std::unique_ptr<LineEditor> makeLineEditor(const TypingHelp& help, std::istream& in, std::ostream& err);
