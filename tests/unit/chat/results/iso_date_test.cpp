#include "results/iso_date.h"

#include <gtest/gtest.h>

namespace {

struct DateCase {
  const char* name;
  std::string text;
  std::optional<std::int64_t> time;
};
class IsoDate : public testing::TestWithParam<DateCase> {};

TEST_P(IsoDate, IsRead) { EXPECT_EQ(readIsoDate(GetParam().text), GetParam().time); }

constexpr std::int64_t kDay = 86400000;
constexpr std::int64_t kHour = 3600000;
const std::optional<std::int64_t> kNone;

INSTANTIATE_TEST_SUITE_P(
    Texts, IsoDate,
    testing::Values(DateCase{"day", "1970-01-02", kDay}, DateCase{"month", "1970-02", 31 * kDay},
                    DateCase{"before_1970", "1969-12-31", -kDay}, DateCase{"leap_day", "1972-02-29", 789 * kDay},
                    DateCase{"minutes", "1970-01-02T01:30", kDay + kHour * 3 / 2},
                    DateCase{"seconds", "1970-01-02 01:00:01", kDay + kHour + 1000},
                    DateCase{"fraction", "1970-01-01 00:00:00.25", 250},
                    DateCase{"long_fraction", "1970-01-01 00:00:00.123456789", 123},
                    DateCase{"utc", "1970-01-01T01:00:00Z", kHour}, DateCase{"zone", "1970-01-01T01:00:00+01:00", 0},
                    DateCase{"zone_without_colon", "1970-01-01T01:00-0130", kHour * 5 / 2},
                    DateCase{"zone_of_hours", "1970-01-01T01:00+01", 0}, DateCase{"empty", "", kNone},
                    DateCase{"year", "1970", kNone}, DateCase{"number", "19700101", kNone},
                    DateCase{"month_13", "1970-13-01", kNone}, DateCase{"day_30_of_february", "1970-02-30", kNone},
                    DateCase{"hour_25", "1970-01-01T25:00", kNone}, DateCase{"cut", "1970-01-", kNone},
                    DateCase{"cut_time", "1970-01-01T01", kNone}, DateCase{"more_behind", "1970-01-01x", kNone},
                    DateCase{"time_of_a_month", "1970-01T01:00", kNone}, DateCase{"words", "yesterday", kNone}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
