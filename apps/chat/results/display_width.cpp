#include "results/display_width.h"

#include <utf8proc.h>

#include <algorithm>

namespace {

constexpr std::string_view kEllipsis = "\u2026";

struct Character {
  utf8proc_int32_t code = 0;
  std::size_t size = 0;
};

Character readCharacter(std::string_view text) {
  constexpr std::size_t kLongest = 4;
  Character character;
  const utf8proc_ssize_t size =
      utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                       static_cast<utf8proc_ssize_t>(std::min(text.size(), kLongest)), &character.code);
  if (size <= 0) return {0xFFFD, 1};
  character.size = static_cast<std::size_t>(size);
  return character;
}

bool isPictograph(utf8proc_int32_t code) {
  return utf8proc_get_property(code)->boundclass == UTF8PROC_BOUNDCLASS_EXTENDED_PICTOGRAPHIC;
}

/// What people see as one character.
struct Cluster {
  std::size_t size = 0;  // in bytes
  std::size_t width = 0;
};

/// Adds up the width of a cluster. None takes more than two columns, however many it is joined of.
class ClusterWidth {
 public:
  void add(utf8proc_int32_t code) {
    constexpr utf8proc_int32_t kEmojiSelector = 0xFE0F;
    constexpr utf8proc_int32_t kKeycap = 0x20E3;
    if (code == kKeycap || (code == kEmojiSelector && isPictograph(last_))) width_ = kWide;
    width_ = std::min(width_ + static_cast<std::size_t>(std::max(utf8proc_charwidth(code), 0)), kWide);
    last_ = code;
  }
  std::size_t width() const { return width_; }

 private:
  static constexpr std::size_t kWide = 2;

  std::size_t width_ = 0;
  utf8proc_int32_t last_ = 0;
};

bool isASCII(char c) { return static_cast<unsigned char>(c) < 0x80U; }

/// What `text`, which is not empty, begins with.
Cluster readCluster(std::string_view text) {
  if (isASCII(text.front()) && (text.size() == 1 || isASCII(text[1]))) return {1, 1};  // most texts are of these alone
  Character character = readCharacter(text);
  ClusterWidth width;
  width.add(character.code);
  std::size_t size = character.size;
  for (utf8proc_int32_t state = 0; size < text.size(); size += character.size) {
    const Character next = readCharacter(text.substr(size));
    if (utf8proc_grapheme_break_stateful(character.code, next.code, &state) != 0) break;
    width.add(next.code);
    character = next;
  }
  return {size, width.width()};
}

/// A joiner without the character behind it would be taken for something hidden.
std::string_view withoutJoiners(std::string_view text) {
  for (;;) {
    const bool ends = text.ends_with("\u200C") || text.ends_with("\u200D");
    if (!ends) return text;
    text.remove_suffix(std::string_view("\u200D").size());
  }
}

}  // namespace

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const Cluster cluster = readCluster(text);
    width += cluster.width;
    text.remove_prefix(cluster.size);
  }
  return width;
}

std::string fitText(std::string_view text, std::size_t width) {
  std::size_t used = 0;
  std::size_t kept = 0;  // bytes that leave room for the ellipsis
  for (std::size_t at = 0; at < text.size();) {
    const Cluster cluster = readCluster(text.substr(at));
    used += cluster.width;
    if (used > width) return width == 0 ? "" : std::string(withoutJoiners(text.substr(0, kept))).append(kEllipsis);
    at += cluster.size;
    if (used < width) kept = at;
  }
  return std::string(text);
}

std::string padText(std::string_view text, std::size_t width, Alignment alignment) {
  const std::size_t own = displayWidth(text);
  const std::string blanks(width > own ? width - own : 0, ' ');
  return alignment == Alignment::Right ? blanks + std::string(text) : std::string(text) + blanks;
}
