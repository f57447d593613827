#include "rest_text.h"

#include <cf/text.h>

#include <algorithm>

namespace {
bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }
bool isSmall(char c) { return c >= 'a' && c <= 'z'; }
bool isCapital(char c) { return c >= 'A' && c <= 'Z'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isTokenCharacter(char c) {
  constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  return isSmall(c) || isCapital(c) || isDigit(c) || kMarks.find(c) != std::string_view::npos;
}

char toSmall(char c) { return isCapital(c) ? static_cast<char>(c - 'A' + 'a') : c; }

std::string_view withoutBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  return first == std::string_view::npos ? "" : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}
}  // namespace

bool holdsControlCharacter(std::string_view text) noexcept { return std::any_of(text.begin(), text.end(), isControl); }

bool isToken(std::string_view text) noexcept {
  return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
}

bool isSameHeaderName(std::string_view one, std::string_view other) noexcept {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char left, char right) { return toSmall(left) == toSmall(right); });
}

std::string_view findHeaderField(std::string_view head, std::string_view name) noexcept {
  while (!head.empty()) {
    const std::string_view line = head.substr(0, head.find('\n'));
    const std::size_t colon = line.find(':');
    if (colon != std::string_view::npos && isSameHeaderName(line.substr(0, colon), name)) {
      return withoutBlanks(line.substr(colon + 1));
    }
    head.remove_prefix(std::min(line.size() + 1, head.size()));
  }
  return "";
}

std::string plainText(std::string_view text) {
  std::string plain = cfToUTF8(text);
  std::replace_if(plain.begin(), plain.end(), isControl, ' ');
  return plain;
}

std::string plainTextWithin(std::string_view text) {
  std::string plain = plainText(text);
  if (plain.size() > 1 && isCapital(plain[0]) && isSmall(plain[1])) plain[0] = static_cast<char>(plain[0] - 'A' + 'a');
  return plain;
}
