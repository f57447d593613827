#include "results/value_text.h"

#include "results/display_width.h"
#include "terminal/rendering.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

struct CellCase {
  const char* name;
  Value value;
  std::string shown;
};
class Cell : public testing::TestWithParam<CellCase> {};

TEST_P(Cell, ShowsWhatTheValueIs) {
  const std::string shown = cellText(GetParam().value, 24);
  EXPECT_EQ(shown, GetParam().shown);
  EXPECT_EQ(terminalSafe(shown), shown);
}

std::string repeat(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

INSTANTIATE_TEST_SUITE_P(
    Values, Cell,
    testing::Values(
        CellCase{"null", std::monostate(), "NULL"}, CellCase{"text_that_reads_null", std::string("NULL"), "'NULL'"},
        CellCase{"text_that_reads_quoted_null", std::string("'NULL'"), "'''NULL'''"},
        CellCase{"text_in_small_letters", std::string("null"), "null"}, CellCase{"empty_text", std::string(), "''"},
        CellCase{"quote_alone", std::string("'"), "''''"}, CellCase{"quote_within", std::string("it's"), "it's"},
        CellCase{"quote_first", std::string("'t is"), "'t is"}, CellCase{"blank_first", std::string(" a"), "' a'"},
        CellCase{"blank_last", std::string("a "), "'a '"}, CellCase{"blank_within", std::string("a b"), "a b"},
        CellCase{"text_that_reads_as_bytes", std::string("x'00' (1 byte)"), "'x''00'' (1 byte)'"},
        CellCase{"integer", std::int64_t{-42}, "-42"},
        CellCase{"largest_integer", std::numeric_limits<std::int64_t>::max(), "9223372036854775807"},
        CellCase{"smallest_integer", std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
        CellCase{"whole_real", 75.0, "75.0"}, CellCase{"real", 0.1, "0.1"}, CellCase{"large_real", 1e22, "1e+22"},
        CellCase{"longest_real", -1.7976931348623157e+308, "-1.7976931348623157e+308"},
        CellCase{"infinite", std::numeric_limits<double>::infinity(), "inf"},
        CellCase{"no_number", std::numeric_limits<double>::quiet_NaN(), "nan"},
        CellCase{"no_bytes", Blob{""}, "x'' (0 bytes)"}, CellCase{"a_byte", Blob{"\n"}, "x'0A' (1 byte)"},
        CellCase{"bytes", Blob{std::string("\0\xff", 2)}, "x'00FF' (2 bytes)"},
        CellCase{"lines", std::string("a\nb\r\nc\td\re"), "a↵b↵c⇥d⟨U+000D⟩e"},
        CellCase{"reordered", std::string("a\u202Eb"), "a⟨U+202E⟩b"},
        CellCase{"escape", std::string("\x1b[2J"), "⟨U+001B⟩[2J"},
        CellCase{"nul", std::string("a\0b", 3), "a⟨U+0000⟩b"}, CellCase{"ill_formed", std::string("\xff"), "⟨0xFF⟩"},
        CellCase{"right_to_left", std::string("שלום"), "שלום"},
        CellCase{"long_text", std::string(25, 'a'), std::string(23, 'a') + "…"},
        CellCase{"just_fitting", std::string(24, 'a'), std::string(24, 'a')},
        CellCase{"very_long_text", std::string(5000000, 'a'), std::string(23, 'a') + "…"},
        CellCase{"very_long_of_wide", repeat("日", 100000), repeat("日", 11) + "…"},
        CellCase{"long_quoted", " " + std::string(30, 'a'), "' " + std::string(21, 'a') + "…"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Cell, ShowsTheFirstOfManyBytes) {
  EXPECT_EQ(cellText(Blob{std::string(1000, '\x01')}, 60), "x'0101010101010101…' (1000 bytes)");
}

TEST(Cell, IsShortHoweverManyAccentsALetterHas) {
  const std::string shown = cellText("a" + repeat("\u0301", 100000), 24);
  EXPECT_LT(shown.size(), 1000U);
  EXPECT_TRUE(shown.ends_with("…"));
  EXPECT_EQ(displayWidth(shown), 2U);
}

TEST(Head, ShowsNamesAsTheyAre) {
  EXPECT_EQ(headText("", 10), "");
  EXPECT_EQ(headText("NULL", 10), "NULL");
  EXPECT_EQ(headText("a\nb", 10), "a↵b");
  EXPECT_EQ(headText("count(distinct x)", 10), "count(dis…");
}

}  // namespace
