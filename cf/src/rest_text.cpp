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
}  // namespace

bool holdsControlCharacter(std::string_view text) noexcept { return std::any_of(text.begin(), text.end(), isControl); }

bool isToken(std::string_view text) noexcept {
  return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
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
