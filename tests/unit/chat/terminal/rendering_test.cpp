#include "terminal/rendering.h"

#include <cf/text.h>

#include <gtest/gtest.h>

#include <sstream>

namespace {

struct SafeCase {
  const char* name;
  std::string given;
  std::string shown;
};

class TerminalSafe : public testing::TestWithParam<SafeCase> {};

TEST_P(TerminalSafe, KeepsTextAndDisarmsControls) { EXPECT_EQ(terminalSafe(GetParam().given), GetParam().shown); }

TEST_P(TerminalSafe, IsTheSameOfATextInPieces) {
  const std::string whole = cfToUTF8(GetParam().given);
  SafeText single;
  std::string shownSingly;
  for (std::size_t cut = 0; cut <= whole.size(); ++cut) {
    std::size_t next = cut + 1;
    while (next < whole.size() && (static_cast<unsigned char>(whole[next]) & 0xC0U) == 0x80U) ++next;
    SafeText text;
    std::string shown = text.add(whole.substr(0, cut));
    shown += text.add(whole.substr(cut));
    EXPECT_EQ(shown + text.finish(), GetParam().shown) << cut;
    if (cut < whole.size()) shownSingly += single.add(whole.substr(cut, next - cut));
    cut = next - 1;
  }
  EXPECT_EQ(shownSingly + single.finish(), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TerminalSafe,
    testing::Values(SafeCase{"plain", "SELECT 1;", "SELECT 1;"}, SafeCase{"empty", "", ""},
                    SafeCase{"newline_and_tab_stay", "a\n\tb", "a\n\tb"},
                    SafeCase{"utf8_stays", "Z\u00fcrich \u20ac \U0001F600", "Z\u00fcrich \u20ac \U0001F600"},
                    SafeCase{"no_break_space_stays", "a\u00a0b", "a\u00a0b"},
                    SafeCase{"escape_sequence", "\x1b[2Jx", "\uFFFD[2Jx"},
                    SafeCase{"title_sequence", "\x1b]0;t\x07", "\uFFFD]0;t\uFFFD"},
                    SafeCase{"nul", std::string("a\0b", 3), "a\uFFFDb"}, SafeCase{"backspace", "a\bb", "a\uFFFDb"},
                    SafeCase{"delete", "a\x7f", "a\uFFFD"}, SafeCase{"lone_carriage_return", "a\rb", "a\uFFFDb"},
                    SafeCase{"line_ends_of_windows", "a\r\nb", "a\nb"},
                    SafeCase{"eight_bit_control_sequence", "a\xC2\x9B[2J", "a\uFFFD[2J"},
                    SafeCase{"last_c1_control", "\xC2\x9F", "\uFFFD"}, SafeCase{"raw_c1_byte", "\x9b", "\uFFFD"},
                    SafeCase{"ill_formed", "a\xffz", "a\uFFFDz"},
                    SafeCase{"bidi_override", "a\u202Egnp.exe\u202C", "a\uFFFDgnp.exe\uFFFD"},
                    SafeCase{"bidi_embeddings", "\u202A\u202B\u202D", "\uFFFD\uFFFD\uFFFD"},
                    SafeCase{"bidi_isolates", "\u2066a\u2067b\u2068c\u2069", "\uFFFDa\uFFFDb\uFFFDc\uFFFD"},
                    SafeCase{"bidi_marks", "\u200Ea\u200F\u061C", "\uFFFDa\uFFFD\uFFFD"},
                    SafeCase{"right_to_left_text_stays", "\u05E9\u05DC\u05D5\u05DD \u0645\u0631\u062D\u0628\u0627 1",
                             "\u05E9\u05DC\u05D5\u05DD \u0645\u0631\u062D\u0628\u0627 1"},
                    SafeCase{"line_and_paragraph_separator", "a\u2028b\u2029c", "a\uFFFDb\uFFFDc"},
                    SafeCase{"zero_width", "a\u200Bb\u2060c\uFEFFd\u00ADe", "a\uFFFDb\uFFFDc\uFFFDd\uFFFDe"},
                    SafeCase{"fillers", "\u115F\u3164\uFFA0\u2800", "\uFFFD\uFFFD\uFFFD\u2800"},
                    SafeCase{"letters_around_the_marked_ones_stay", "\u2010\u2027\u202F\u2065\u2070",
                             "\u2010\u2027\u202F\uFFFD\u2070"},
                    SafeCase{"invisible_letters_of_tags", "a\U000E0041\U000E007F", "a\uFFFD\uFFFD"},
                    SafeCase{"emoji_of_several_stay",
                             "\U0001F469\U0001F3FD\u200D\U0001F4BB \u2764\uFE0F\u200D\U0001F525",
                             "\U0001F469\U0001F3FD\u200D\U0001F4BB \u2764\uFE0F\u200D\U0001F525"},
                    SafeCase{"joiners_within_words_that_need_them_stay",
                             "\u0645\u06CC\u200C\u062E\u0648\u0627 \u0915\u094D\u200D\u0937",
                             "\u0645\u06CC\u200C\u062E\u0648\u0627 \u0915\u094D\u200D\u0937"},
                    SafeCase{"joiners_elsewhere", "pass\u200Dword \u200C\u0645 \u0645\u200D\u200D\u0645\u200C",
                             "pass\uFFFDword \uFFFD\u0645 \u0645\uFFFD\uFFFD\u0645\uFFFD"},
                    SafeCase{"selectors_of_emoji_stay_once", "1\uFE0F\u20E3 \u2764\uFE0F\uFE0F \uFE0F",
                             "1\uFE0F\u20E3 \u2764\uFE0F\uFFFD \uFFFD"},
                    SafeCase{"other_selectors", "a\uFE00\U000E0100", "a\uFFFD\uFFFD"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(TerminalSafeLine, StaysOnOneLine) { EXPECT_EQ(terminalSafeLine("a\nb\tc\x1b"), "a b c\uFFFD"); }

TEST(PrintText, EndsWithOneNewline) {
  std::ostringstream out;
  printText(out, "a");
  printText(out, "b\n");
  EXPECT_EQ(out.str(), "a\nb\n");
}

TEST(PrintText, TellsThatNothingCanBeWritten) {
  std::ostringstream out;
  out.setstate(std::ios::badbit);
  EXPECT_THROW(printText(out, "a"), OutputError);
}

TEST(TextWriter, WritesPiecesAsTheyComeAndEndsWithOneNewline) {
  std::ostringstream out;
  TextWriter writer(out);
  writer.add("a\r");
  EXPECT_EQ(out.str(), "a");
  writer.add("\nb\x1b");
  EXPECT_EQ(out.str(), "a\nb\uFFFD");
  writer.finish("c");
  EXPECT_EQ(out.str(), "a\nb\uFFFDc\n");
  writer.add("d\n");
  writer.finish();
  EXPECT_EQ(out.str(), "a\nb\uFFFDc\nd\n");
}

TEST(TextWriter, EndsAnEmptyTextWithANewlineToo) {
  std::ostringstream out;
  TextWriter(out).finish();
  EXPECT_EQ(out.str(), "\n");
}

TEST(TextWriter, BreaksOffBelowWhatWasWritten) {
  std::ostringstream out;
  TextWriter(out).breakOff();
  EXPECT_EQ(out.str(), "");
  TextWriter writer(out);
  writer.add("a");
  writer.breakOff();
  writer.breakOff();
  EXPECT_EQ(out.str(), "a\n");
}

TEST(TextWriter, TellsThatNothingCanBeWritten) {
  std::ostringstream out;
  out.setstate(std::ios::badbit);
  EXPECT_THROW(TextWriter(out).add("a"), OutputError);
}

TEST(Complain, WritesOneLineUnderTheProgramsName) {
  std::ostringstream err;
  complain(err, "first\nsecond");
  EXPECT_EQ(err.str(), "qai-chat: first second\n");
}

}  // namespace
