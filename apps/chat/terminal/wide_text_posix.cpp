#include "terminal/wide_text_posix.h"

#include <cf/text.h>

#include <cstdint>
#include <cwchar>

std::wstring toWide(std::string_view text) {
  const std::string wellFormed = cfToUTF8(text);
  std::wstring wide;
  wide.reserve(wellFormed.size());
  for (std::size_t at = 0; at < wellFormed.size();) {
    const auto byte = [&](std::size_t i) -> std::uint32_t { return static_cast<unsigned char>(wellFormed[i]); };
    const std::size_t size = sizeOfSequence(wellFormed[at]);
    std::uint32_t character = size == 1 ? byte(at) : byte(at) & (0x7FU >> size);
    for (std::size_t i = 1; i < size; ++i) character = (character << 6U) | (byte(at + i) & 0x3FU);
    wide += static_cast<wchar_t>(character);
    at += size;
  }
  return wide;
}

std::string toUTF8(std::wstring_view text) {
  std::string narrow;
  narrow.reserve(text.size());
  for (const wchar_t wide : text) {
    // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c): a wide character is no byte
    const auto character = static_cast<std::uint32_t>(wide);
    const auto put = [&narrow](std::uint32_t byte) { narrow += static_cast<char>(byte); };
    const auto putRest = [&](unsigned shift) { put(0x80U | ((character >> shift) & 0x3FU)); };
    if (character < 0x80U) {
      put(character);
    } else if (character < 0x800U) {
      put(0xC0U | (character >> 6U));
      putRest(0);
    } else if (character < 0x10000U) {
      put(0xE0U | (character >> 12U));
      putRest(6);
      putRest(0);
    } else {
      put(0xF0U | (character >> 18U));
      putRest(12);
      putRest(6);
      putRest(0);
    }
  }
  return cfToUTF8(narrow);
}

std::size_t countRowsAbove(std::wstring_view text, std::size_t columns) {
  constexpr std::size_t kTab = 8;
  std::size_t rows = 0;
  std::size_t column = 0;
  const auto endRow = [&] {
    ++rows;
    column = 0;
  };
  for (const wchar_t character : text) {
    if (character == L'\n') {
      endRow();
      continue;
    }
    const int known = wcwidth(character);
    const std::size_t width = character == L'\t' ? kTab - column % kTab
                              : known < 0        ? 2  // a control character, as ^A
                                                 : static_cast<std::size_t>(known);
    if (column + width > columns && character != L'\t') endRow();
    column += width;
    if (column >= columns) endRow();
  }
  return rows;
}
