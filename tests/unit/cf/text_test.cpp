#include <cf/text.h>

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using namespace std::string_literals;

TEST(Trim, RemovesASCIIWhiteSpaceAtBothEnds) {
  EXPECT_EQ(cfTrimAsString(" \t\n\v\f\r a b \t\n\v\f\r "), "a b");
  EXPECT_EQ(cfTrimAsString("a"), "a");
  EXPECT_EQ(cfTrimAsString(""), "");
  EXPECT_EQ(cfTrimAsString(" \n "), "");
}

TEST(Trim, KeepsOtherSpaces) {
  EXPECT_EQ(cfTrimAsString("\xC2\xA0x\xC2\xA0"), "\xC2\xA0x\xC2\xA0");
  EXPECT_EQ(cfTrimAsString("\0 x"s), "\0 x"s);
}

/// A text, and what becomes of it, in which '?' stands for U+FFFD.
struct UTF8Case {
  const char* name;
  std::string text;
  std::string repaired;
};

class UTF8 : public testing::TestWithParam<UTF8Case> {};

// Each form must be seen wherever it stands in the words in which text is looked through.
TEST_P(UTF8, IsJudgedAndRepairedAtEveryOffset) {
  std::string repaired;
  for (const char character : GetParam().repaired) {
    repaired += character == '?' ? "\xEF\xBF\xBD" : std::string(1, character);
  }
  for (std::size_t offset = 0; offset < 18; ++offset) {
    for (const std::size_t rest : {0U, 1U, 17U}) {
      const std::string before(offset, 'x');
      const std::string after(rest, 'y');
      const std::string text = std::string(before).append(GetParam().text).append(after);
      EXPECT_EQ(cfIsUTF8(text), GetParam().text == repaired) << offset;
      EXPECT_EQ(cfToUTF8(text), std::string(before).append(repaired).append(after)) << offset;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(WellFormed, UTF8,
                         testing::Values(UTF8Case{"empty", "", ""}, UTF8Case{"nul", "\0"s, "\0"s},
                                         UTF8Case{"ascii", "\x7F", "\x7F"},
                                         UTF8Case{"first_of_two", "\xC2\x80", "\xC2\x80"},
                                         UTF8Case{"last_of_two", "\xDF\xBF", "\xDF\xBF"},
                                         UTF8Case{"first_of_three", "\xE0\xA0\x80", "\xE0\xA0\x80"},
                                         UTF8Case{"last_behind_e0", "\xE0\xBF\xBF", "\xE0\xBF\xBF"},
                                         UTF8Case{"first_behind_e1", "\xE1\x80\x80", "\xE1\x80\x80"},
                                         UTF8Case{"last_behind_ec", "\xEC\xBF\xBF", "\xEC\xBF\xBF"},
                                         UTF8Case{"first_behind_ed", "\xED\x80\x80", "\xED\x80\x80"},
                                         UTF8Case{"before_surrogates", "\xED\x9F\xBF", "\xED\x9F\xBF"},
                                         UTF8Case{"after_surrogates", "\xEE\x80\x80", "\xEE\x80\x80"},
                                         UTF8Case{"last_of_three", "\xEF\xBF\xBF", "\xEF\xBF\xBF"},
                                         UTF8Case{"byte_order_mark", "\xEF\xBB\xBF", "\xEF\xBB\xBF"},
                                         UTF8Case{"first_of_four", "\xF0\x90\x80\x80", "\xF0\x90\x80\x80"},
                                         UTF8Case{"last_behind_f0", "\xF0\xBF\xBF\xBF", "\xF0\xBF\xBF\xBF"},
                                         UTF8Case{"first_behind_f1", "\xF1\x80\x80\x80", "\xF1\x80\x80\x80"},
                                         UTF8Case{"last_behind_f3", "\xF3\xBF\xBF\xBF", "\xF3\xBF\xBF\xBF"},
                                         UTF8Case{"first_behind_f4", "\xF4\x80\x80\x80", "\xF4\x80\x80\x80"},
                                         UTF8Case{"last", "\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF"}),
                         [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    IllFormed, UTF8,
    testing::Values(UTF8Case{"lone_continuation", "\x80", "?"}, UTF8Case{"two_continuations", "\x80\xBF", "??"},
                    UTF8Case{"overlong_slash", "\xC0\xAF", "??"}, UTF8Case{"overlong_c1", "\xC1\xBF", "??"},
                    UTF8Case{"overlong_three", "\xE0\x9F\xBF", "???"},
                    UTF8Case{"overlong_four", "\xF0\x8F\xBF\xBF", "????"},
                    UTF8Case{"high_surrogate", "\xED\xA0\x80", "???"}, UTF8Case{"low_surrogate", "\xED\xBF\xBF", "???"},
                    UTF8Case{"above_last", "\xF4\x90\x80\x80", "????"}, UTF8Case{"f5", "\xF5\x80\x80\x80", "????"},
                    UTF8Case{"ff", "\xFF", "?"}, UTF8Case{"fe", "\xFE", "?"}, UTF8Case{"two_cut", "\xC3", "?"},
                    UTF8Case{"three_cut", "\xE2\x82", "?"}, UTF8Case{"four_cut", "\xF0\x9F\x98", "?"},
                    UTF8Case{"four_cut_early", "\xF0\x9F", "?"}, UTF8Case{"cut_by_a_letter", "\xE2\x82z", "?z"},
                    UTF8Case{"cut_by_another", "\xE2\xC3\xA9", "?\xC3\xA9"},
                    UTF8Case{"unicode_example", "\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64", "a???b?c??d"}),
    [](const auto& row) { return std::string(row.param.name); });

/// The form of a character beyond ASCII.
std::string encode(char32_t code) {
  const auto byte = [code](char32_t mark, unsigned shift, char32_t mask) {
    return static_cast<char>(mark | (code >> shift & mask));
  };
  if (code < 0x800) return {byte(0xC0, 6, 0x1F), byte(0x80, 0, 0x3F)};
  if (code < 0x10000) return {byte(0xE0, 12, 0x0F), byte(0x80, 6, 0x3F), byte(0x80, 0, 0x3F)};
  return {byte(0xF0, 18, 0x07), byte(0x80, 12, 0x3F), byte(0x80, 6, 0x3F), byte(0x80, 0, 0x3F)};
}

TEST(UTF8Forms, AreThoseOfCharactersAlone) {
  std::set<std::string> starts;  // their first two bytes
  for (char32_t code = 0x80; code <= 0x10FFFF; ++code) {
    if (code < 0xD800 || code > 0xDFFF) starts.insert(encode(code).substr(0, 2));
  }
  for (int lead = 0x80; lead < 0x100; ++lead) {
    const std::string further(lead < 0xE0 ? 0 : lead < 0xF0 ? 1 : 2, '\x80');
    for (int second = 0; second < 0x100; ++second) {
      const std::string start{static_cast<char>(lead), static_cast<char>(second)};
      EXPECT_EQ(cfIsUTF8(start + further), starts.contains(start)) << lead << ' ' << second;
    }
  }
}

TEST(UTF8Forms, EndWithContinuations) {
  for (int last = 0; last < 0x100; ++last) {
    const auto byte = static_cast<char>(last);
    EXPECT_EQ(cfIsUTF8("\xE2\x82"s + byte), last >= 0x80 && last < 0xC0) << last;
    EXPECT_EQ(cfIsUTF8("\xF0\x9F\x98"s + byte), last >= 0x80 && last < 0xC0) << last;
  }
}

TEST(UTF8Runs, MixedTextIsWellFormed) {
  std::string text;
  for (int index = 0; index < 100; ++index) text += "ab\xC3\xA9\xE2\x82\xAC cd\xF0\x9F\x98\x80 efghijklmnop";
  EXPECT_TRUE(cfIsUTF8(text));
  EXPECT_EQ(cfToUTF8(text), text);
  text.back() = '\xC3';
  EXPECT_FALSE(cfIsUTF8(text));
}

}  // namespace
