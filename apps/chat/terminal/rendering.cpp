#include "terminal/rendering.h"

#include <cf/text.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ostream>
#include <utility>

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

struct Range {
  char32_t first, last;
};

// What a terminal obeys, and what shows nothing or moves other characters about: the control characters but newline and
// tab; of Unicode 15, the default-ignorable characters, the separators of lines and paragraphs, the controls of
// direction and the anchors of annotations.
constexpr std::array kUnseen{
    Range{0x0000, 0x0008}, Range{0x000B, 0x001F},   Range{0x007F, 0x009F},   Range{0x00AD, 0x00AD},
    Range{0x034F, 0x034F}, Range{0x061C, 0x061C},   Range{0x115F, 0x1160},   Range{0x17B4, 0x17B5},
    Range{0x180B, 0x180F}, Range{0x200B, 0x200F},   Range{0x2028, 0x202E},   Range{0x2060, 0x206F},
    Range{0x3164, 0x3164}, Range{0xFE00, 0xFE0F},   Range{0xFEFF, 0xFEFF},   Range{0xFFA0, 0xFFA0},
    Range{0xFFF0, 0xFFFB}, Range{0x1BCA0, 0x1BCA3}, Range{0x1D173, 0x1D17A}, Range{0xE0000, 0xE0FFF}};

// The scripts whose words hold joiners, from Arabic and Persian to those of India and beyond, and emoji, which are
// often joined of several.
constexpr std::array kJoined{Range{0x0600, 0x1CFF}, Range{0x2190, 0x2BFF}, Range{0xA800, 0xABFF},
                             Range{0xFB50, 0xFDFF}, Range{0xFE0E, 0xFE0F}, Range{0x1F000, 0x1FAFF}};

template <std::size_t Count>
bool isIn(const std::array<Range, Count>& ranges, char32_t character) {
  return std::any_of(ranges.begin(), ranges.end(),
                     [=](const Range& range) { return range.first <= character && character <= range.last; });
}

/// The number of bytes of the character that begins with `first`, in well-formed UTF-8.
std::size_t sizeOfCharacter(char first) {
  const auto byte = static_cast<unsigned char>(first);
  return byte < 0x80U ? 1 : byte < 0xE0U ? 2 : byte < 0xF0U ? 3 : 4;
}

/// The character at the front of `text`, which is well-formed UTF-8; 0 at its end.
char32_t readCharacter(std::string_view text) {
  if (text.empty()) return 0;
  const auto byte = [&](std::size_t at) { return static_cast<char32_t>(static_cast<unsigned char>(text[at])); };
  const std::size_t size = sizeOfCharacter(text.front());
  char32_t character = size == 1 ? byte(0) : byte(0) & (0x7FU >> size);
  for (std::size_t at = 1; at < size; ++at) character = (character << 6U) | (byte(at) & 0x3FU);
  return character;
}

constexpr bool isJoiner(char32_t character) {
  constexpr char32_t kNonJoiner = 0x200C;
  constexpr char32_t kJoiner = 0x200D;
  return character == kNonJoiner || character == kJoiner;
}

/// Whether what becomes of `character` is up to the one behind it.
constexpr bool needsNext(char32_t character) { return character == U'\r' || isJoiner(character); }

/// Whether `character` is shown as it is between these two; 0 stands for none, or for one that is not shown.
bool isShown(char32_t before, char32_t character, char32_t after) {
  constexpr char32_t kTextSelector = 0xFE0E;
  constexpr char32_t kEmojiSelector = 0xFE0F;
  if (isJoiner(character)) return isIn(kJoined, before) && isIn(kJoined, after) && !isIn(kUnseen, after);
  if (character == kTextSelector || character == kEmojiSelector) return before > U' ' && !isIn(kUnseen, before);
  return !isIn(kUnseen, character);
}

}  // namespace

std::string terminalSafe(std::string_view text) {
  SafeText whole;
  std::string safe = whole.add(text);
  return safe += whole.finish();
}

std::string SafeText::add(std::string_view piece) {
  return render(std::exchange(held_, {}).append(cfToUTF8(piece)), false);
}

std::string SafeText::finish() { return render(std::exchange(held_, {}), true); }

std::string SafeText::render(std::string_view wellFormed, bool isLast) {
  std::string safe;
  safe.reserve(wellFormed.size());
  for (std::string_view rest = wellFormed; !rest.empty();) {
    const std::size_t size = sizeOfCharacter(rest.front());
    const char32_t character = readCharacter(rest);
    if (size == rest.size() && !isLast && needsNext(character)) {
      held_ = rest;
      break;
    }
    const bool endsLine = rest.starts_with("\r\n");  // the newline will do
    const bool shown = isShown(before_, character, readCharacter(rest.substr(size)));
    if (!endsLine) safe += shown ? rest.substr(0, size) : kReplacement;
    before_ = shown ? character : 0;
    rest.remove_prefix(size);
  }
  return safe;
}

std::string terminalSafeLine(std::string_view text) {
  std::string safe = terminalSafe(text);
  std::replace_if(
      safe.begin(), safe.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
  return safe;
}

void TextWriter::add(std::string_view piece) { write(text_.add(piece)); }

void TextWriter::finish(std::string_view piece) {
  std::string rest = text_.add(piece);
  rest += text_.finish();
  if (!rest.ends_with('\n') && (last_ != '\n' || !rest.empty())) rest += '\n';
  write(rest);
}

void TextWriter::breakOff() {
  if (last_ != '\0' && last_ != '\n') write("\n");
}

void TextWriter::write(std::string_view safe) {
  if (safe.empty()) return;
  printBytes(out_, safe);
  last_ = safe.back();
}

void printText(std::ostream& out, std::string_view text) { TextWriter(out).finish(text); }

void printBytes(std::ostream& out, std::string_view bytes) {
  errno = 0;
  out << bytes << std::flush;
  if (!out) throw OutputError(errno, std::generic_category(), "The answer can't be written");
}

void complain(std::ostream& err, std::string_view text) { err << "qai-chat: " << terminalSafeLine(text) << std::endl; }
