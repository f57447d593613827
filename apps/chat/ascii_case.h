// ASCII letters in one case, whatever the locale; all other bytes stay.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

inline char toLowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

inline char toCapitalAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

inline std::string toLowerAscii(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) { return toLowerAscii(c); });
  return lower;
}

inline std::string toCapitalsAscii(std::string_view text) {
  std::string capitals(text);
  std::transform(capitals.begin(), capitals.end(), capitals.begin(), toCapitalAscii);
  return capitals;
}
