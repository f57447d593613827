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

/// As terminalSafe, for what must stay on one line: newlines and tabs become spaces.
std::string terminalSafeLine(std::string_view text);

/// Standard output can't be written; the code is what the system says.
class OutputError : public std::system_error {
 public:
  using std::system_error::system_error;
};

/// Writes `text`, made safe and ended by one newline, and flushes. @throw OutputError
void printText(std::ostream& out, std::string_view text);

/// Writes one line of complaint or notice, made safe, under the program's name.
void complain(std::ostream& err, std::string_view text);
