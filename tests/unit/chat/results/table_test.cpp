#include "results/table.h"

#include "results/display_width.h"
#include "terminal/rendering.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using std::chrono::milliseconds;
using Rows = std::vector<std::vector<Value>>;

constexpr std::int64_t operator""_i(unsigned long long value) { return static_cast<std::int64_t>(value); }
std::string operator""_t(const char* text, std::size_t size) { return {text, size}; }
const std::monostate kNull;

struct TableCase {
  const char* name;
  Result result;
  ResultLayout layout;
  std::string shown;
};
class Table : public testing::TestWithParam<TableCase> {};

TEST_P(Table, IsShownSo) {
  const std::string shown = formatTable(GetParam().result, GetParam().layout);
  EXPECT_EQ("\n" + shown, GetParam().shown);
  EXPECT_EQ(terminalSafe(shown), shown);
}

Result makeResult(std::vector<std::string> columns, Rows rows, bool isCut = false) {
  return {std::move(columns), std::move(rows), isCut, milliseconds(7)};
}

INSTANTIATE_TEST_SUITE_P(
    Results, Table,
    testing::Values(
        TableCase{
            "numbers_and_texts",
            makeResult({"id", "name", "total"}, {{1_i, "Ada"_t, 2.5}, {10_i, "Blaise"_t, 75.0}, {3_i, kNull, kNull}}),
            {80, 0},
            R"(
id  name    total
──  ──────  ─────
 1  Ada       2.5
10  Blaise   75.0
 3  NULL     NULL
3 rows, 7 ms
)"},
        TableCase{"one_row", makeResult({"n"}, {{3_i}}), {80, 0}, "\nn\n─\n3\n1 row, 7 ms\n"},
        TableCase{"no_rows", makeResult({"id", "name"}, {}), {80, 0}, "\nid  name\n──  ────\n0 rows, 7 ms\n"},
        TableCase{"no_columns", makeResult({}, {}), {80, 0}, "\n0 rows, 7 ms\n"},
        TableCase{"more_rows_than_were_read",
                  makeResult({"n"}, {{1_i}, {2_i}}, true),
                  {80, 0},
                  "\nn\n─\n1\n2\nfirst 2 rows, 7 ms\n"},
        TableCase{"more_rows_than_are_shown",
                  makeResult({"n"}, {{1_i}, {20_i}, {300_i}}),
                  {80, 1},
                  "\nn\n─\n1\n… 2 more rows\n3 rows, 7 ms\n"},
        TableCase{"one_more_row",
                  makeResult({"n"}, {{1_i}, {2_i}}, true),
                  {80, 1},
                  "\nn\n─\n1\n… 1 more row\nfirst 2 rows, 7 ms\n"},
        TableCase{"numbers_among_texts",
                  makeResult({"value"}, {{"12345678"_t}, {42_i}, {kNull}, {"42"_t}}),
                  {80, 0},
                  R"(
value
────────
12345678
      42
NULL
42
4 rows, 7 ms
)"},
        TableCase{
            "wide_characters",
            makeResult({"名前", "n"},
                       {{"日本"_t, 1_i}, {"👩🏽‍💻"_t, 2_i}, {"e\u0301t"_t, 3_i}, {"שלום"_t, 4_i}}),
            {80, 0},
            "\n名前  n\n────  ─\n日本  1\n👩🏽‍💻    2\ne\u0301t    3\nשלום  4\n4 rows, 7 "
            "ms\n"},
        TableCase{"long_cell",
                  makeResult({"a", "b"}, {{std::string(3000, 'x'), 1_i}}),
                  {0, 0},
                  "\na" + std::string(61, ' ') + "b\n" +
                      [] {
                        std::string rule;
                        for (int i = 0; i < 60; ++i) rule += "─";
                        return rule;
                      }() +
                      "  ─\n" + std::string(59, 'x') + "…  1\n1 row, 7 ms\n"},
        TableCase{
            "texts_are_cut_to_fit",
            makeResult({"id", "a long name", "note"}, {{1234567890_i, "abcdefghijklmnopqrstuvwxyz"_t, "short"_t}}),
            {32, 0},
            R"(
        id  a long name    note
──────────  ─────────────  ─────
1234567890  abcdefghijkl…  short
1 row, 7 ms
)"},
        TableCase{
            "too_wide",
            makeResult({"id", "name", "größe"}, {{1_i, "abcdefghijklmnopqrstuvwxyz"_t, 1.5}, {2_i, "日本"_t, kNull}}),
            {18, 0},
            R"(
── row 1
id:    1
name:  abcdefghijklmnopqrs…
größe: 1.5
── row 2
id:    2
name:  日本
größe: NULL
2 rows, 7 ms
)"},
        TableCase{
            "same_names", makeResult({"id", "id"}, {{1_i, 2_i}}), {80, 0}, "\nid  id\n──  ──\n 1   2\n1 row, 7 ms\n"},
        TableCase{"line_breaks_stay_on_the_line",
                  makeResult({"a\nb"}, {{"c\nd"_t}}),
                  {80, 0},
                  "\na↵b\n───\nc↵d\n1 row, 7 ms\n"},
        TableCase{"hidden_characters",
                  makeResult({"a"}, {{"x\u200By"_t}}),
                  {80, 0},
                  "\na\n──────────\nx⟨U+200B⟩y\n1 row, 7 ms\n"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Table, KeepsToTheWidth) {
  Result result;
  result.columns = {"name", "note", "n"};
  result.rows = {
      {"日本語日本語日本語日本語日本語"_t, std::string(100, 'a'), 1234567_i},
      {kNull,
       "👩🏽‍💻👩🏽‍💻👩🏽‍💻👩🏽‍💻👩🏽‍💻👩🏽‍💻👩🏽‍💻👩🏽‍💻"_t,
       1.5}};
  for (std::size_t width = 27; width < 200; ++width) {
    std::istringstream lines(formatTable(result, {width, 0}));
    for (std::string line; std::getline(lines, line);) EXPECT_LE(displayWidth(line), width) << line;
  }
}

TEST(Table, TakesNoMoreOfAValueThanItShows) {
  Result result;
  result.columns = {"a", "b"};
  const std::string large(2000, 'x');
  for (int i = 0; i < 10000; ++i) result.rows.push_back({large, std::int64_t{i}});
  const std::string shown = formatTable(result, {80, 0});
  EXPECT_EQ(static_cast<std::size_t>(std::count(shown.begin(), shown.end(), '\n')), 10000U + 3U);
  EXPECT_LT(shown.size(), 10003U * 80U);
}

}  // namespace
