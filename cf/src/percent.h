// %XX in texts.
#pragma once

#include <cstddef>
#include <string_view>

/// The value of a hexadecimal digit; -1 for anything else.
constexpr int hexValue(char digit) noexcept {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

/// The number that `count` hexadecimal digits at `at` make; -1 when they are not all there.
constexpr int hexNumber(std::string_view text, std::size_t at, std::size_t count) noexcept {
  if (text.size() < at + count) return -1;
  int number = 0;
  for (const char digit : text.substr(at, count)) {
    if (hexValue(digit) < 0) return -1;
    number = number * 16 + hexValue(digit);
  }
  return number;
}

/// Calls `give(byte, begin, end)` for each byte of `text`, with %XX taken for what it stands for; `begin` and `end` are
/// where it was read from. A '%' without two hexadecimal digits stands for itself.
template <class Give>
void readPercentEncoded(std::string_view text, Give give) {
  for (std::size_t at = 0; at < text.size();) {
    const int byte = text[at] == '%' ? hexNumber(text, at + 1, 2) : -1;
    const std::size_t end = at + (byte < 0 ? 1 : 3);
    give(byte < 0 ? text[at] : static_cast<char>(byte), at, end);
    at = end;
  }
}
