#include "sql/marking.h"

#include "terminal/rendering.h"

#include <gtest/gtest.h>
#include <utf8proc.h>

namespace {

struct MarkCase {
  const char* name;
  std::string given;
  std::string shown;
};

class MarkedTextOf : public testing::TestWithParam<MarkCase> {};

TEST_P(MarkedTextOf, ShowsWhatHidesOrReorders) {
  const MarkedText marked = markHidden(GetParam().given);
  EXPECT_EQ(marked.text, GetParam().shown);
  EXPECT_EQ(marked.hasMarks, GetParam().shown.find("\u27E8") != std::string::npos);
}

TEST_P(MarkedTextOf, IsSafeForATerminal) {
  const MarkedText marked = markHidden(GetParam().given);
  EXPECT_EQ(terminalSafe(marked.text), marked.text);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, MarkedTextOf,
    testing::Values(
        MarkCase{"empty", "", ""}, MarkCase{"plain", "SELECT 'Zürich €';\n\t1", "SELECT 'Zürich €';\n\t1"},
        MarkCase{"bidi", "a\u202Eb\u2066c\u200F", "a⟨U+202E⟩b⟨U+2066⟩c⟨U+200F⟩"},
        MarkCase{"right_to_left_text", "\u05E9\u05DC\u05D5\u05DD 1", "\u05E9\u05DC\u05D5\u05DD 1"},
        MarkCase{"zero_width", "pass\u200Bword\uFEFF\u00AD", "pass⟨U+200B⟩word⟨U+FEFF⟩⟨U+00AD⟩"},
        MarkCase{"joiner_between_letters", "pass\u200Dword", "pass⟨U+200D⟩word"},
        MarkCase{"joiner_at_the_end", "\u0645\u200C", "\u0645⟨U+200C⟩"},
        MarkCase{"joined_emoji", "\U0001F469\u200D\U0001F4BB \u2764\uFE0F", "\U0001F469\u200D\U0001F4BB \u2764\uFE0F"},
        MarkCase{"controls", std::string("a\0b\x1b[2J\x7f", 8), "a⟨U+0000⟩b⟨U+001B⟩[2J⟨U+007F⟩"},
        MarkCase{"carriage_return", "-- a\rDROP", "-- a⟨U+000D⟩DROP"},
        MarkCase{"line_end_of_windows", "a\r\nb", "a\nb"}, MarkCase{"two_carriage_returns", "a\r\r\nb", "a⟨U+000D⟩\nb"},
        MarkCase{"other_blanks", "a\u00A0b\u202Fc\u3000d\u2003e\u2800",
                 "a⟨U+00A0⟩b⟨U+202F⟩c⟨U+3000⟩d⟨U+2003⟩e⟨U+2800⟩"},
        MarkCase{"tags", "a\U000E0041", "a⟨U+E0041⟩"}, MarkCase{"replacement_character", "a\uFFFDb", "a\uFFFDb"},
        MarkCase{"ill_formed", "a\xff\xC3(\xE2\x82", "a⟨0xFF⟩⟨0xC3⟩(⟨0xE2⟩⟨0x82⟩"},
        MarkCase{"surrogate", "\xED\xA0\x80", "⟨0xED⟩⟨0xA0⟩⟨0x80⟩"}, MarkCase{"overlong", "\xC0\x80", "⟨0xC0⟩⟨0x80⟩"},
        MarkCase{"beyond_unicode", "\xF4\x90\x80\x80", "⟨0xF4⟩⟨0x90⟩⟨0x80⟩⟨0x80⟩"}),
    [](const auto& row) { return std::string(row.param.name); });

/// Of all characters of Unicode.
TEST(MarkedTextOf, AgreesWithWhatATerminalIsSpared) {
  std::size_t marks = 0;
  for (utf8proc_int32_t code = 0; code < 0x110000; ++code) {
    std::string text(4, '\0');
    text.resize(static_cast<std::size_t>(utf8proc_encode_char(code, reinterpret_cast<utf8proc_uint8_t*>(text.data()))));
    const MarkedText marked = markHidden(text);
    marks += marked.hasMarks ? 1 : 0;
    ASSERT_TRUE(marked.hasMarks || (terminalSafe(text) == text && marked.text == text)) << code;
  }
  EXPECT_GT(marks, 4000U);
  EXPECT_LT(marks, 8000U);  // the surrogates among them
}

}  // namespace
