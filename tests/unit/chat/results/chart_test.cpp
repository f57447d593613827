#include "results/chart.h"

#include "results/display_width.h"
#include "terminal/rendering.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

namespace {

constexpr std::int64_t operator""_i(unsigned long long value) { return static_cast<std::int64_t>(value); }
std::string operator""_t(const char* text, std::size_t size) { return {text, size}; }
const std::monostate kNull;
constexpr double kMax = std::numeric_limits<double>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct ChartCase {
  const char* name;
  std::vector<std::string> columns;
  std::vector<std::vector<Value>> rows;
  ResultLayout layout;
  std::string drawn;
};
class DrawnChart : public testing::TestWithParam<ChartCase> {};

TEST_P(DrawnChart, LooksSo) {
  const Chart chart = drawChart({GetParam().columns, GetParam().rows, false, {}}, GetParam().layout);
  EXPECT_TRUE(chart.isDrawn);
  EXPECT_EQ("\n" + chart.text, GetParam().drawn);
  EXPECT_EQ(terminalSafe(chart.text), chart.text);
}

INSTANTIATE_TEST_SUITE_P(
    Results, DrawnChart,
    testing::Values(
        ChartCase{"bars",
                  {"name", "total"},
                  {{"Tea"_t, 16_i}, {"日本"_t, 7_i}, {kNull, 1_i}, {"none"_t, 0_i}},
                  {24, 0},
                  R"(
total by name
Tea   16  ██████████████
日本   7  ██████▏
NULL   1  ▉
none   0
)"},
        ChartCase{"bars_below_zero",
                  {"name", "total"},
                  {{"a"_t, 10.0}, {"b"_t, -5.0}, {"c"_t, -0.1}, {"d"_t, kNull}},
                  {30, 0},
                  R"(
total by name
a  10.0         │█████████████
b  -5.0  ▐██████│
c  -0.1        ▐│
d  NULL
)"},
        ChartCase{"all_below_zero", {"name", "total"}, {{"a"_t, -10_i}, {"b"_t, -5_i}}, {20, 0}, R"(
total by name
a  -10  ███████████│
b   -5       ▐█████│
)"},
        ChartCase{"all_zero", {"name", "total"}, {{"a"_t, 0_i}, {"b"_t, 0_i}}, {20, 0}, R"(
total by name
a  0
b  0
)"},
        ChartCase{"key_before_the_label", {"id", "name", "n"}, {{1_i, "a"_t, 2_i}, {2_i, "b"_t, 1_i}}, {16, 0}, R"(
n by name
a  2  ██████████
b  1  █████
)"},
        ChartCase{"numbers_as_labels", {"year", "n"}, {{2023_i, 2_i}, {2024_i, 1_i}}, {20, 0}, R"(
n by year
2023  2  ███████████
2024  1  █████▌
)"},
        ChartCase{"some_of_the_rows", {"name", "n"}, {{"a"_t, 1_i}, {"b"_t, 2_i}, {"c"_t, 3_i}}, {20, 1}, R"(
n by name
a  1  ██████████████
… 2 more rows
)"},
        ChartCase{
            "numbers_without_bars", {"name", "n"}, {{"a"_t, kInfinity}, {"b"_t, kMax}, {"c"_t, -kMax}}, {60, 0}, R"(
n by name
a                       inf
b   1.7976931348623157e+308                 │███████████████
c  -1.7976931348623157e+308  ███████████████│
)"},
        ChartCase{"one_date_is_a_bar", {"day", "n"}, {{"2024-01-01"_t, 1_i}}, {25, 0}, R"(
n by day
2024-01-01  1  ██████████
)"},
        ChartCase{"line",
                  {"day", "n"},
                  {{"2024-01-01"_t, 0_i}, {"2024-01-11"_t, 10_i}, {"2024-01-31"_t, -10_i}},
                  {34, 0},
                  R"(
n by day
 10 ┤        ⡠⠊⠢⡀
    │      ⡠⠊   ⠈⠢⡀
    │    ⢀⠎       ⠈⠢⡀
    │  ⢀⠔⠁          ⠈⠢⡀
    │⢀⠔⠁              ⠈⠢⡀
    │⠁                  ⠑⢄
    │                     ⠑⢄
    │                       ⠑⢄
    │                         ⠑⢄
-10 ┤                           ⠑⢄
    └─────────────────────────────
     2024-01-01         2024-01-31
)"},
        ChartCase{"line_of_dates_in_disorder_with_a_gap",
                  {"n", "month"},
                  {{4.5, "2024-04"_t}, {1.5, "2024-01"_t}, {kNull, "2024-03"_t}, {1.5, "2024-02"_t}},
                  {30, 0},
                  R"(
n by month
4.5 ┤                        ⠈
    │
    │
    │
    │
    │
    │
    │
    │
1.5 ┤⣀⣀⣀⣀⣀⣀⣀⣀⣀
    └─────────────────────────
     2024-01           2024-04
)"},
        ChartCase{"line_of_one_value",
                  {"day", "n"},
                  {{"2024-01-01T10:00:00Z"_t, 5_i}, {"2024-01-01T12:00:00Z"_t, 5_i}},
                  {20, 0},
                  R"(
n by day
  │
  │
  │
  │
  │
5 ┤⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉
  │
  │
  │
  │
  └────────────────────────
   2024-01-01    2024-01-01
)"},
        ChartCase{"line_of_extremes", {"day", "n"}, {{"2024-01-01"_t, kMax}, {"2024-01-02"_t, -kMax}}, {52, 0}, R"(
n by day
 1.7976931348623157e+308 ┤⠑⠤⡀
                         │  ⠈⠒⢄
                         │     ⠉⠢⣀
                         │        ⠑⢄⡀
                         │          ⠈⠢⢄
                         │             ⠑⠢⡀
                         │               ⠈⠑⢄
                         │                  ⠉⠢⣀
                         │                     ⠑⠤⡀
-1.7976931348623157e+308 ┤                       ⠈⠒⢄
                         └──────────────────────────
                          2024-01-01      2024-01-02
)"}),
    [](const auto& row) { return std::string(row.param.name); });

struct UndrawnCase {
  const char* name;
  std::vector<std::string> columns;
  std::vector<std::vector<Value>> rows;
  std::string sentence;
};
class UndrawnChart : public testing::TestWithParam<UndrawnCase> {};

TEST_P(UndrawnChart, SaysWhy) {
  const Chart chart = drawChart({GetParam().columns, GetParam().rows, false, {}}, {80, 0});
  EXPECT_FALSE(chart.isDrawn);
  EXPECT_EQ(chart.text, GetParam().sentence);
}

const std::string kNoColumns = "A chart needs a column of numbers and one of labels or dates beside it.";

INSTANTIATE_TEST_SUITE_P(
    Results, UndrawnChart,
    testing::Values(UndrawnCase{"no_rows", {"a", "b"}, {}, "There are no rows to draw a chart of."},
                    UndrawnCase{"no_columns", {}, {}, "There are no rows to draw a chart of."},
                    UndrawnCase{"one_column", {"n"}, {{1_i}}, kNoColumns},
                    UndrawnCase{"no_numbers", {"a", "b"}, {{"x"_t, "1"_t}}, kNoColumns},
                    UndrawnCase{"numbers_mixed_with_texts", {"a", "b"}, {{"x"_t, 1_i}, {"y"_t, "z"_t}}, kNoColumns},
                    UndrawnCase{"nothing_but_null", {"a", "b"}, {{"x"_t, kNull}}, kNoColumns}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(DrawnChart, KeepsToTheWidth) {
  Result bars{{"name", "n"}, {}, false, {}};
  Result line{{"day", "n"}, {}, false, {}};
  for (int i = 0; i < 28; ++i) {
    bars.rows.push_back({"label " + std::to_string(i), std::int64_t{i * i} - 300});
    line.rows.push_back(
        {"2024-02-" + std::string(i < 9 ? "0" : "") + std::to_string(i + 1), std::int64_t{i * i} - 300});
  }
  for (std::size_t width = 32; width < 150; ++width) {
    for (const Result& result : {bars, line}) {
      std::istringstream lines(drawChart(result, {width, 0}).text);
      for (std::string text; std::getline(lines, text);) EXPECT_LE(displayWidth(text), width) << text;
    }
  }
}

TEST(DrawnChart, TakesTenThousandRows) {
  Result line{{"day", "n"}, {}, false, {}};
  for (int i = 0; i < 10000; ++i)
    line.rows.push_back({"2024-01-01T00:00:00." + std::to_string(i % 1000), std::int64_t{i % 7}});
  const std::string drawn = drawChart(line, {80, 0}).text;
  EXPECT_EQ(std::count(drawn.begin(), drawn.end(), '\n'), 13);
}

}  // namespace
