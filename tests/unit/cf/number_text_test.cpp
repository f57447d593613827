#include <cf/text.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <locale>
#include <random>
#include <string_view>
#include <utility>

namespace {

constexpr double kMax = std::numeric_limits<double>::max();

struct WriteCase {
  const char* name;
  double number;
  std::string text;
};

class NumberToText : public testing::TestWithParam<WriteCase> {};

TEST_P(NumberToText, IsShortest) { EXPECT_EQ(cfNumberToText(GetParam().number), GetParam().text); }

INSTANTIATE_TEST_SUITE_P(
    Values, NumberToText,
    testing::Values(WriteCase{"zero", 0.0, "0"}, WriteCase{"minus_zero", -0.0, "-0"}, WriteCase{"one", 1.0, "1"},
                    WriteCase{"minus_two", -2.0, "-2"}, WriteCase{"tenths", 0.7, "0.7"},
                    WriteCase{"rounding_shows", 0.1 + 0.2, "0.30000000000000004"},
                    WriteCase{"integer", 123456789.0, "123456789"},
                    WriteCase{"two_to_64", 18446744073709551616.0, "18446744073709551616"},
                    WriteCase{"last_plain", 999999999999999868928.0, "999999999999999868928"},
                    WriteCase{"first_large_scientific", 1e21, "1e+21"}, WriteCase{"large", 1e22, "1e+22"},
                    WriteCase{"first_plain", 1e-6, "0.000001"}, WriteCase{"small_scientific", 9.5e-7, "9.5e-07"},
                    WriteCase{"many_digits_small", 1.2345678901234567e-6, "0.0000012345678901234567"},
                    WriteCase{"largest", kMax, "1.7976931348623157e+308"}, WriteCase{"smallest", 5e-324, "5e-324"},
                    WriteCase{"infinite", std::numeric_limits<double>::infinity(), "inf"},
                    WriteCase{"minus_infinite", -std::numeric_limits<double>::infinity(), "-inf"},
                    WriteCase{"not_a_number", std::numeric_limits<double>::quiet_NaN(), "nan"},
                    WriteCase{"negative_nan", -std::numeric_limits<double>::quiet_NaN(), "nan"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(NumberText, ReadsBackAsTheSameNumber) {
  std::mt19937_64 random(20240607);  // NOLINT(cert-msc32-c,cert-msc51-cpp): each run the same
  for (int round = 0; round < 20000; ++round) {
    const std::uint64_t bits = random();
    double number = 0.0;
    std::memcpy(&number, &bits, sizeof number);
    if (!std::isfinite(number)) continue;
    const std::string text = cfNumberToText(number);
    ASSERT_EQ(cfTextToNumber(text), number) << text;
  }
}

struct ReadCase {
  const char* name;
  std::string text;
  std::optional<double> number;
};

class TextToNumber : public testing::TestWithParam<ReadCase> {};

TEST_P(TextToNumber, ReadsTheWholeText) {
  const std::optional<double> number = cfTextToNumber(GetParam().text);
  ASSERT_EQ(number, GetParam().number);
  if (number) {
    EXPECT_EQ(std::signbit(*number), std::signbit(*GetParam().number));
  }
}

std::string zeros(std::size_t count) { return std::string().append(count, '0'); }
std::string nines(std::size_t count) { return std::string().append(count, '9'); }

INSTANTIATE_TEST_SUITE_P(
    Numbers, TextToNumber,
    testing::Values(ReadCase{"integer", "42", 42.0}, ReadCase{"negative", "-42", -42.0}, ReadCase{"plus", "+42", 42.0},
                    ReadCase{"fraction", "0.7", 0.7}, ReadCase{"no_integer_digits", ".5", 0.5},
                    ReadCase{"no_fraction_digits", "1.", 1.0}, ReadCase{"leading_zeros", "007", 7.0},
                    ReadCase{"exponent", "1e3", 1000.0}, ReadCase{"capital_exponent", "1E+3", 1000.0},
                    ReadCase{"negative_exponent", "5e-1", 0.5}, ReadCase{"minus_zero", "-0", -0.0},
                    ReadCase{"smallest", "5e-324", 5e-324}, ReadCase{"below_normal", "1e-310", 1e-310},
                    ReadCase{"largest", "1.7976931348623157e308", kMax}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    BeyondRange, TextToNumber,
    testing::Values(ReadCase{"too_large", "1e400", kMax}, ReadCase{"too_large_negative", "-1e400", -kMax},
                    ReadCase{"just_too_large", "1.8e308", kMax}, ReadCase{"too_small", "1e-400", 0.0},
                    ReadCase{"too_small_negative", "-1e-400", -0.0}, ReadCase{"just_too_small", "2e-324", 0.0},
                    ReadCase{"zeros_before_a_digit", "0." + zeros(400) + "1", 0.0},
                    ReadCase{"zeros_before_a_digit_made_up", "0." + zeros(400) + "1e401", 1.0},
                    ReadCase{"zeros_before_a_digit_outdone", "0." + zeros(400) + "1e800", kMax},
                    ReadCase{"many_digits", "1" + zeros(400), kMax},
                    ReadCase{"many_digits_one_less", "1" + zeros(400) + "e-1", kMax},
                    ReadCase{"many_digits_made_up", "1" + zeros(400) + "e-400", 1.0},
                    ReadCase{"many_digits_outdone", "1" + zeros(400) + "e-800", 0.0},
                    ReadCase{"many_digits_not_outdone", "1" + zeros(800) + "e-400", kMax},
                    ReadCase{"zeros_before_a_digit_not_made_up", "0." + zeros(800) + "1e400", 0.0},
                    ReadCase{"leading_zeros_do_not_count", zeros(400) + "1e-400", 0.0},
                    ReadCase{"zero_stays_zero", "0e999999999999", 0.0},
                    ReadCase{"long_exponent", "1e" + nines(5000), kMax},
                    ReadCase{"long_negative_exponent", "-1e-" + nines(5000), -0.0},
                    ReadCase{"exponent_with_leading_zeros", "1e" + zeros(400) + "2", 100.0},
                    ReadCase{"exponent_near_int_min", "1.23456789012345678e-2147483639", 0.0},
                    ReadCase{"exponent_near_int64", "1e9223372036854775808", kMax}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(NoNumbers, TextToNumber,
                         testing::Values(ReadCase{"empty", "", {}}, ReadCase{"minus", "-", {}},
                                         ReadCase{"plus", "+", {}}, ReadCase{"two_signs", "+-1", {}},
                                         ReadCase{"two_plus", "++1", {}}, ReadCase{"point", ".", {}},
                                         ReadCase{"space_before", " 1", {}}, ReadCase{"space_after", "1 ", {}},
                                         ReadCase{"text", "one", {}}, ReadCase{"garbage_after", "1x", {}},
                                         ReadCase{"no_exponent_digits", "1e", {}}, ReadCase{"exponent_alone", "e1", {}},
                                         ReadCase{"comma", "0,7", {}}, ReadCase{"infinity", "inf", {}},
                                         ReadCase{"minus_infinity", "-infinity", {}}, ReadCase{"nan", "nan", {}},
                                         ReadCase{"hexadecimal", "0x10", {}}, ReadCase{"two_points", "1.2.3", {}},
                                         ReadCase{"nul_after", std::string("1\0", 2), {}}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(NumberText, IsReadToItsEndAndNoFurther) {
  const std::string_view longer = "12.5e3";
  for (const auto& [size, number] : {std::pair{1U, 1.0}, {2U, 12.0}, {3U, 12.0}, {4U, 12.5}, {6U, 12500.0}}) {
    EXPECT_EQ(cfTextToNumber(longer.substr(0, size)), number) << size;
  }
}

/// Writes numbers as no decimal of ours may look.
struct CommaNumbers : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(NumberText, DoesNotDependOnTheLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaNumbers));
  const std::string text = cfNumberToText(12345.75);
  const std::string large = cfNumberToText(123456789012345683968.0);
  const std::optional<double> number = cfTextToNumber("12345.75");
  const std::optional<double> comma = cfTextToNumber("12345,75");
  std::locale::global(before);
  EXPECT_EQ(text, "12345.75");
  EXPECT_EQ(large, "123456789012345683968");
  EXPECT_EQ(number, 12345.75);
  EXPECT_EQ(comma, std::nullopt);
}

}  // namespace
