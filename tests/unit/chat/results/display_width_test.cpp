#include "results/display_width.h"

#include <gtest/gtest.h>

namespace {

struct WidthCase {
  const char* name;
  std::string text;
  std::size_t width;
};
class Width : public testing::TestWithParam<WidthCase> {};

TEST_P(Width, IsWhatATerminalTakes) { EXPECT_EQ(displayWidth(GetParam().text), GetParam().width); }

INSTANTIATE_TEST_SUITE_P(
    Texts, Width,
    testing::Values(WidthCase{"empty", "", 0}, WidthCase{"letters", "Zürich", 6},
                    WidthCase{"accents_apart", "Zu\u0308rich", 6},
                    WidthCase{"many_accents", "a\u0300\u0301\u0302\u0303", 1}, WidthCase{"chinese", "日本", 4},
                    WidthCase{"korean_letters_apart", "\u1112\u1161\u11AB", 2}, WidthCase{"korean", "한", 2},
                    WidthCase{"half_width", "ｱ", 1}, WidthCase{"full_width", "Ａ", 2}, WidthCase{"emoji", "😀", 2},
                    WidthCase{"skin", "👍🏽", 2}, WidthCase{"joined", "👩🏽‍💻", 2},
                    WidthCase{"family", "👨‍👩‍👧‍👦", 2}, WidthCase{"flag", "🇩🇪", 2},
                    WidthCase{"two_flags", "🇩🇪🇫🇷", 4}, WidthCase{"text_as_emoji", "\u2764\uFE0F", 2},
                    WidthCase{"text", "\u2764", 1}, WidthCase{"keycap", "1\uFE0F\u20E3", 2},
                    WidthCase{"selector_of_a_letter", "a\uFE0F", 1}, WidthCase{"hebrew", "שלום", 4},
                    WidthCase{"persian_with_joiner", "می\u200Cخوا", 5}, WidthCase{"accent_alone", "\u0301", 0},
                    WidthCase{"unassigned", "\u0378", 1}),
    [](const auto& row) { return std::string(row.param.name); });

struct FitCase {
  const char* name;
  std::string text;
  std::size_t width;
  std::string shown;
};
class FittedText : public testing::TestWithParam<FitCase> {};

TEST_P(FittedText, IsCutBetweenWhatPeopleSeeAsCharacters) {
  const std::string shown = fitText(GetParam().text, GetParam().width);
  EXPECT_EQ(shown, GetParam().shown);
  EXPECT_LE(displayWidth(shown), GetParam().width);
}

INSTANTIATE_TEST_SUITE_P(Texts, FittedText,
                         testing::Values(FitCase{"fits", "abc", 3, "abc"}, FitCase{"cut", "abcd", 3, "ab…"},
                                         FitCase{"one_column", "abcd", 1, "…"}, FitCase{"no_column", "abcd", 0, ""},
                                         FitCase{"empty", "", 0, ""}, FitCase{"wide", "日本語", 5, "日本…"},
                                         FitCase{"half_of_a_wide_one", "日本語", 4, "日…"},
                                         FitCase{"accents_stay", "e\u0301e\u0301e\u0301", 2, "e\u0301…"},
                                         FitCase{"emoji_is_not_taken_apart", "👩🏽‍💻👩🏽‍💻", 3,
                                                 "👩🏽‍💻…"},
                                         FitCase{"emoji_without_room", "👩🏽‍💻👩🏽‍💻", 2, "…"},
                                         FitCase{"joiner_does_not_stay_behind", "می\u200Cخوا", 3, "می…"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(PaddedText, TakesTheWidth) {
  EXPECT_EQ(padText("日本", 6, Alignment::Left), "日本  ");
  EXPECT_EQ(padText("日本", 6, Alignment::Right), "  日本");
  EXPECT_EQ(padText("abc", 2, Alignment::Left), "abc");
}

}  // namespace
