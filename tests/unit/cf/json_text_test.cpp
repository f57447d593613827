// Where the plain characters at the start of a string end, in the form that this program is built with.
#include "json_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>

namespace {

constexpr std::size_t kSize = 40;  // several steps and a rest

bool isPlain(int byte) { return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\'; }

/// Expects each search in `text` to stop at `place`.
void expectEnd(const std::string& text, std::size_t place) {
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  EXPECT_EQ(plainJsonASCIIEnd(begin, end) - begin, static_cast<std::ptrdiff_t>(place)) << text;
  EXPECT_EQ(plainJsonEnd(begin, end) - begin, static_cast<std::ptrdiff_t>(place)) << text;
  EXPECT_EQ(plainJsonASCIIEndOfShort(begin, end) - begin, static_cast<std::ptrdiff_t>(place)) << text;
}

TEST(PlainJsonText, EndsAtAnyOtherByteWhereverItStands) {
  for (int byte = 0; byte < 256; ++byte) {
    for (std::size_t place = 0; place < kSize; ++place) {
      for (const char after : {'x', '"', '!'}) {
        std::string text(kSize, after);
        text.replace(0, place, place, 'x').replace(place, 1, 1, static_cast<char>(byte));
        expectEnd(text, isPlain(byte) ? std::min(text.find('"', place), kSize) : place);
      }
    }
  }
}

TEST(PlainJsonText, GoesOnBehindWellFormedCharacters) {
  for (std::size_t before = 0; before < kSize; ++before) {
    const std::string text =
        std::string(before, 'x') + "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x94\x91" + std::string(kSize, 'x');
    EXPECT_EQ(plainJsonEnd(text.data(), text.data() + text.size()) - text.data(), std::ssize(text));
  }
}

}  // namespace
