#include "rendering.h"

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
                    SafeCase{"ill_formed", "a\xffz", "a\uFFFDz"}),
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

TEST(Complain, WritesOneLineUnderTheProgramsName) {
  std::ostringstream err;
  complain(err, "first\nsecond");
  EXPECT_EQ(err.str(), "qai-chat: first second\n");
}

}  // namespace
