// Between UTF-8 and the wide characters, Unicode's numbers, in which an editor of lines thinks.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// What is ill-formed becomes U+FFFD.
std::wstring toWide(std::string_view text);
std::string toUTF8(std::wstring_view text);

/// The number of bytes of a character that begins with `first`; 1 where none does.
constexpr std::size_t sizeOfSequence(char first) {
  const auto byte = static_cast<unsigned char>(first);
  return byte < 0xC2U || byte > 0xF4U ? 1 : byte < 0xE0U ? 2 : byte < 0xF0U ? 3 : 4;
}

/// The rows above the one in which `text` ends, from the first column of a screen with `columns` on, as libedit draws
/// it: a character goes to the next row where it does not fit. For a thread whose characters are UTF-8's.
std::size_t countRowsAbove(std::wstring_view text, std::size_t columns);
