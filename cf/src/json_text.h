// The characters of a string that stand in JSON text as they are.
#pragma once

#include "text_internal.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#endif

/// Whether a byte is an ASCII character that needs no escape.
inline constexpr std::array<bool, 256> kPlainJsonBytes = [] {
  std::array<bool, 256> plain{};
  for (std::size_t byte = 0x20; byte < 0x80; ++byte) plain[byte] = byte != '"' && byte != '\\';
  return plain;
}();

inline bool isPlainJson(char character) noexcept { return kPlainJsonBytes[static_cast<unsigned char>(character)]; }

#if defined(__SSE2__) || defined(_M_X64)

inline constexpr std::ptrdiff_t kJsonStep = 16;

/// The number of plain ASCII characters at the start of the next kJsonStep.
inline int plainJsonStart(const char* text) noexcept {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
  const __m128i special =
      _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('"')), _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'))),
                   _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)));  // signed: what is beyond ASCII is negative
  return std::countr_zero(static_cast<std::uint32_t>(_mm_movemask_epi8(special)) | 0x10000U);
}

#else

inline constexpr std::ptrdiff_t kJsonStep = 8;

/// The number of plain ASCII characters at the start of the next kJsonStep.
inline int plainJsonStart(const char* text) noexcept {
  constexpr std::uint64_t kOnes = 0x0101010101010101U;
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::uint64_t word = 0;
  for (std::size_t index = 8; index-- > 0;) word = word << 8U | static_cast<unsigned char>(text[index]);
  // In each of these differences the lowest byte with its high bit set, and it alone, is sure to be one looked for.
  const std::uint64_t quote = word ^ (kOnes * '"');
  const std::uint64_t backslash = word ^ (kOnes * '\\');
  const std::uint64_t special =
      (((quote - kOnes) & ~quote) | ((backslash - kOnes) & ~backslash) | (word - kOnes * 0x20) | word) & kHighBits;
  return std::countr_zero(special) / 8;
}

#endif

/// The end of the plain ASCII characters at the start of a text. Never reads beyond `end`.
inline const char* plainJsonASCIIEnd(const char* text, const char* end) noexcept {
  if (end - text >= kJsonStep) {
    for (; end - text > kJsonStep; text += kJsonStep) {
      const int size = plainJsonStart(text);
      if (size != kJsonStep) return text + size;
    }
    text = end - kJsonStep;  // the last step goes over characters again that are known to be plain
    return text + plainJsonStart(text);
  }
  while (text != end && isPlainJson(*text)) ++text;
  return text;
}

/// The end of the characters at the start of a text that are well-formed UTF-8 and need no escape.
inline const char* plainJsonEnd(const char* text, const char* end) noexcept {
  for (;;) {
    text = plainJsonASCIIEnd(text, end);
    if (text == end || static_cast<unsigned char>(*text) < 0x80) return text;
    const UTF8Sequence next = firstUTF8Sequence({text, static_cast<std::size_t>(end - text)});
    if (!next.wellFormed) return text;
    text += next.size;
  }
}

/// As plainJsonASCIIEnd, for mostly short texts with a NUL at their end. Going on from a predicted branch takes less
/// time than from a place that had to be computed, so the first characters are looked at one by one; three instructions
/// each, which are five where the function is inlined.
const char* plainJsonASCIIEndOfShort(const char* text, const char* end) noexcept;
