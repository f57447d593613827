#include "rendering.h"

#include <cf/text.h>

#include <algorithm>
#include <cerrno>
#include <ostream>

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

// C0 but newline and tab, and DEL.
bool isControl(unsigned char byte) { return (byte < 0x20 && byte != '\n' && byte != '\t') || byte == 0x7F; }

// C1 controls, some of which terminals obey as they do ESC: U+0080 to U+009F, two bytes each.
bool isHighControl(std::string_view text, std::size_t at) {
  return text[at] == '\xC2' && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0;
}

}  // namespace

std::string terminalSafe(std::string_view text) {
  const std::string wellFormed = cfToUTF8(text);
  std::string safe;
  safe.reserve(wellFormed.size());
  for (std::size_t at = 0; at < wellFormed.size(); ++at) {
    if (wellFormed.compare(at, 2, "\r\n") == 0) continue;
    if (isHighControl(wellFormed, at)) {
      safe += kReplacement;
      ++at;
    } else if (isControl(static_cast<unsigned char>(wellFormed[at]))) {
      safe += kReplacement;
    } else {
      safe += wellFormed[at];
    }
  }
  return safe;
}

std::string terminalSafeLine(std::string_view text) {
  std::string safe = terminalSafe(text);
  std::replace_if(
      safe.begin(), safe.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
  return safe;
}

void printText(std::ostream& out, std::string_view text) {
  std::string safe = terminalSafe(text);
  if (!safe.ends_with('\n')) safe += '\n';
  errno = 0;
  out << safe << std::flush;
  if (!out) throw OutputError(errno, std::generic_category(), "The answer can't be written");
}

void complain(std::ostream& err, std::string_view text) { err << "qai-chat: " << terminalSafeLine(text) << std::endl; }
