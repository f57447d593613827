#include "terminal/wide_text_posix.h"

#include "terminal/utf8_locale_posix.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(WideText, ComesBackAsItWas) {
  const std::string text = "a\n\u00e4\u4e2d\U0001F600";
  EXPECT_EQ(toWide(text), L"a\n\u00e4\u4e2d\U0001F600");
  EXPECT_EQ(toUTF8(toWide(text)), text);
  EXPECT_EQ(toUTF8(toWide("a\xff")), "a\uFFFD");
}

struct RowsCase {
  const char* name;
  std::wstring text;
  std::size_t rows;
};
class Rows : public testing::TestWithParam<RowsCase> {};

TEST_P(Rows, OfATextAreCounted) {
  const UTF8Locale locale;
  ASSERT_TRUE(locale.isThere());
  const UTF8Locale::Use utf8(locale);
  EXPECT_EQ(countRowsAbove(GetParam().text, 10), GetParam().rows);
}

INSTANTIATE_TEST_SUITE_P(Texts, Rows,
                         testing::Values(RowsCase{"none", L"", 0}, RowsCase{"short", L"123456789", 0},
                                         RowsCase{"full", L"1234567890", 1}, RowsCase{"lines", L"a\nb\nc", 2},
                                         RowsCase{"full_line", L"1234567890\na", 2},
                                         RowsCase{"wide_at_the_edge", L"123456789\u4e2d", 1},
                                         RowsCase{"wide", L"\u4e2d\u4e2d\u4e2d\u4e2d\U0001F600a", 1},
                                         RowsCase{"without_width", L"12345678e\u0301", 0},
                                         RowsCase{"control", L"12345678\x01", 1}, RowsCase{"tab", L"\t1", 0},
                                         RowsCase{"tab_over_the_edge", L"\t\t", 1}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
