#include "terminal/pasted_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct PasteCase {
  const char* name;
  const char* pasted;
  const char* entered;
};
class Paste : public testing::TestWithParam<PasteCase> {};

TEST_P(Paste, EntersWhatMayBeTyped) { EXPECT_EQ(tidyPaste(GetParam().pasted), GetParam().entered); }

INSTANTIATE_TEST_SUITE_P(Texts, Paste,
                         testing::Values(PasteCase{"nothing", "", ""}, PasteCase{"a_word", "word", "word"},
                                         PasteCase{"lines_ended_as_enter_does", "a\rb", "a\nb"},
                                         PasteCase{"lines_ended_by_pairs", "a\r\nb", "a\nb"},
                                         PasteCase{"empty_lines", "a\r\r\n\n\rb", "a\n\n\n\nb"},
                                         PasteCase{"ends_of_the_last_line", "a\n\r\n\r", "a"},
                                         PasteCase{"ends_alone", "\r\n\r", ""},
                                         PasteCase{"blanks_stay", "  a\n\tb ", "  a\n\tb "},
                                         PasteCase{"what_a_terminal_would_obey", "a\x1b[2J\x07", "a\uFFFD[2J\uFFFD"}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
