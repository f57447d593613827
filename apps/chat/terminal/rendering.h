// What reaches the terminal.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <system_error>

/// What is told when memory runs out.
inline constexpr const char* kNoMemory = "There is not enough memory";

/// `text` without what a terminal would obey, or would hide: control characters but newline and tab, controls of the
/// direction of writing, separators of lines, characters without a width, and ill-formed UTF-8 become U+FFFD; "\r\n"
/// becomes "\n". Text from right to left stays, as do joiners within words of the scripts that need them and within
/// emoji, and one selector behind an emoji.
std::string terminalSafe(std::string_view text);

/// terminalSafe of a text that comes in pieces: what it gives, joined, is that of the whole. Holds one character back
/// where the next one decides.
class SafeText {
 public:
  /// The next piece, of whole characters. @return what can be shown of the text now
  std::string add(std::string_view piece);
  /// The text is at its end. @return what was held back
  std::string finish();

 private:
  std::string render(std::string_view wellFormed, bool isLast);

  std::string held_;
  char32_t before_ = 0;  // the last character, when it was shown
};

/// As terminalSafe, for what must stay on one line: newlines and tabs become spaces.
std::string terminalSafeLine(std::string_view text);

/// Standard output can't be written; the code is what the system says.
class OutputError : public std::system_error {
 public:
  using std::system_error::system_error;
};

/// Writes a text while it comes, made safe. Each operation flushes. @throw OutputError
class TextWriter {
 public:
  /// Borrows `out`.
  explicit TextWriter(std::ostream& out) noexcept : out_(out) {}

  /// The next piece, of whole characters.
  void add(std::string_view piece);
  /// The last piece, ended by one newline.
  void finish(std::string_view piece = "");
  /// The text goes no further: ends its line, where one was begun.
  void breakOff();

 private:
  void write(std::string_view safe);

  std::ostream& out_;
  SafeText text_;
  char last_ = '\0';  // that was written
};

/// Writes `text`, made safe and ended by one newline, and flushes. @throw OutputError
void printText(std::ostream& out, std::string_view text);

/// Writes `bytes` as they are, for programs, and flushes. @throw OutputError
void printBytes(std::ostream& out, std::string_view bytes);

/// Writes one line of complaint or notice, made safe, under the program's name.
void complain(std::ostream& err, std::string_view text);
