#include "sql/marking.h"

#include "terminal/rendering.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // what terminalSafe puts in place of a character

struct Character {
  utf8proc_int32_t code = 0;
  std::size_t size = 0;  // 0: the text begins with a byte that is no UTF-8
};

Character readCharacter(std::string_view text) {
  constexpr std::size_t kLongest = 4;
  utf8proc_int32_t code = 0;
  const utf8proc_ssize_t size = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                                 static_cast<utf8proc_ssize_t>(std::min(text.size(), kLongest)), &code);
  return size > 0 ? Character{code, static_cast<std::size_t>(size)} : Character{};
}

/// Whether it looks like a space, or like nothing, and is none to an engine.
bool isOtherBlank(utf8proc_int32_t code) {
  constexpr utf8proc_int32_t kBrailleBlank = 0x2800;
  return code == kBrailleBlank || (code != ' ' && utf8proc_category(code) == UTF8PROC_CATEGORY_ZS);
}

/// Whether it stays as it is without a look at what else the character has.
bool isPlain(char c) { return (c >= ' ' && c <= '~') || c == '\n' || c == '\t'; }

std::string format(const char* form, unsigned value) {
  std::array<char, 24> text{};
  const int size = std::snprintf(text.data(), text.size(), form, value);
  return {text.data(), static_cast<std::size_t>(size)};
}

class Marker {
 public:
  /// Adds text that is well-formed.
  void addWellFormed(std::string_view text) {
    const std::string safe = terminalSafe(text);
    for (std::string_view left = safe; !text.empty();) {
      const Character character = readCharacter(text);
      const bool stays = left.starts_with(text.substr(0, character.size));
      if (text.starts_with("\r\n")) {
        // One newline is left of the two.
      } else if (!stays || isOtherBlank(character.code)) {
        mark("\u27E8U+%04X\u27E9", static_cast<unsigned>(character.code));
        left.remove_prefix(stays ? character.size : kReplacement.size());
      } else {
        marked_.text += text.substr(0, character.size);
        left.remove_prefix(character.size);
      }
      text.remove_prefix(character.size);
    }
  }

  void addByte(char byte) { mark("\u27E80x%02X\u27E9", static_cast<unsigned char>(byte)); }

  MarkedText finish() { return std::move(marked_); }

 private:
  void mark(const char* form, unsigned value) {
    marked_.text += format(form, value);
    marked_.hasMarks = true;
  }

  MarkedText marked_;
};

}  // namespace

MarkedText markHidden(std::string_view text) {
  if (std::all_of(text.begin(), text.end(), isPlain)) return {std::string(text), false};
  Marker marker;
  while (!text.empty()) {
    std::size_t size = 0;
    while (size < text.size()) {
      const std::size_t next = readCharacter(text.substr(size)).size;
      if (next == 0) break;
      size += next;
    }
    marker.addWellFormed(text.substr(0, size));
    text.remove_prefix(size);
    if (text.empty()) break;
    marker.addByte(text.front());
    text.remove_prefix(1);
  }
  return marker.finish();
}
