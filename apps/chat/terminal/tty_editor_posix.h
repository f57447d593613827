// Lines at a terminal that can do little: whole, whatever their length, and with the keys of the system's own lines.
#pragma once

#include "terminal/key_source_posix.h"
#include "terminal/line_editor.h"
#include "terminal/utf8_locale_posix.h"

#include <termios.h>

#include <string>
#include <string_view>

/// For the terminal that the standard input is. The system would cut a line at 4,095 bytes.
class TtyEditor final : public LineEditor {
 public:
  /// Borrows `err`.
  explicit TtyEditor(std::ostream& err);
  ~TtyEditor() override;

  TypedLine readLine(const std::string& prompt) override;
  void interrupt() override { keys_.interrupt(); }

 private:
  bool prepare() const;
  void restore() const;
  void echo(std::string_view text) const;
  void eraseLast();
  void eraseWord();
  void enter(wchar_t character);
  /// @return whether the line is at its end
  bool take(wchar_t character);
  [[noreturn]] void endBySignal() const;

  std::ostream& err_;
  KeySource keys_;
  UTF8Locale locale_;
  int terminal_ = -1;  // to show what is typed
  termios before_{};
  std::wstring text_;
  TypedLine::Kind end_ = TypedLine::Kind::Text;
};
