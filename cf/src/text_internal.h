// Forms of the text helpers that do not allocate.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

/// `text` without the ASCII white space at its two ends.
std::string_view trimmedView(std::string_view text) noexcept;

/// Holds any finite or other double in the form that `formatNumber` gives.
using NumberBuffer = std::array<char, 32>;

/// What cfNumberToText gives, in `buffer`.
std::string_view formatNumber(double value, NumberBuffer& buffer) noexcept;

/// The start of a text: one character, or the longest start of one that something else follows.
struct UTF8Sequence {
  std::size_t size;
  bool wellFormed;
};

/// What may follow a lead byte. Only the second byte's range varies; it is what keeps overlong forms, surrogates and
/// values above U+10FFFF out.
struct UTF8LeadByte {
  std::size_t size;
  unsigned char secondLow;
  unsigned char secondHigh;
};

constexpr UTF8LeadByte describeUTF8(unsigned char lead) noexcept {
  if (lead < 0x80) return {1, 0, 0};
  if (lead < 0xC2) return {0, 0, 0};
  if (lead < 0xE0) return {2, 0x80, 0xBF};
  if (lead == 0xE0) return {3, 0xA0, 0xBF};
  if (lead == 0xED) return {3, 0x80, 0x9F};
  if (lead < 0xF0) return {3, 0x80, 0xBF};
  if (lead == 0xF0) return {4, 0x90, 0xBF};
  if (lead < 0xF4) return {4, 0x80, 0xBF};
  if (lead == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

inline UTF8Sequence firstUTF8Sequence(std::string_view text) noexcept {
  const auto byteAt = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const UTF8LeadByte lead = describeUTF8(byteAt(0));
  if (lead.size == 0) return {1, false};
  for (std::size_t index = 1; index < lead.size; ++index) {
    const unsigned char low = index == 1 ? lead.secondLow : 0x80;
    const unsigned char high = index == 1 ? lead.secondHigh : 0xBF;
    if (index == text.size() || byteAt(index) < low || byteAt(index) > high) return {index, false};
  }
  return {lead.size, true};
}
