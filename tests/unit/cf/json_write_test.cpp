#include <cf/json_shortcuts.h>

#include <gtest/gtest.h>

#include <limits>
#include <locale>

namespace {

using namespace std::string_literals;

struct NumberCase {
  const char* name;
  double number;
  std::string text;
};

class JsonNumberWriting : public testing::TestWithParam<NumberCase> {};

TEST_P(JsonNumberWriting, IsShortestWithPointOrExponent) {
  COJson document;
  document.setNumber(GetParam().number);
  EXPECT_EQ(document.obtainJsonString(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Values, JsonNumberWriting,
    testing::Values(NumberCase{"zero", 0.0, "0.0"}, NumberCase{"minus_zero", -0.0, "-0.0"},
                    NumberCase{"one", 1.0, "1.0"}, NumberCase{"tenths", 0.7, "0.7"},
                    NumberCase{"rounding_shows", 0.1 + 0.2, "0.30000000000000004"},
                    NumberCase{"whole", 123456789.0, "123456789.0"}, NumberCase{"large", 1e22, "1e+22"},
                    NumberCase{"first_with_exponent", 1e21, "1e+21"}, NumberCase{"small", 1e-7, "1e-07"},
                    NumberCase{"two_to_64", 18446744073709551616.0, "18446744073709551616.0"},
                    NumberCase{"smallest", 5e-324, "5e-324"},
                    NumberCase{"largest", std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
                    NumberCase{"infinite", std::numeric_limits<double>::infinity(), "null"},
                    NumberCase{"minus_infinite", -std::numeric_limits<double>::infinity(), "null"},
                    NumberCase{"not_a_number", std::numeric_limits<double>::quiet_NaN(), "null"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(JsonIntegerWriting, HasNoPoint) {
  COJson document;
  document.addArrayItem()->setInteger(0);
  document.addArrayItem()->setInteger(-42);
  document.addArrayItem()->setInteger(std::int64_t{1} << 53);
  document.addArrayItem()->setInteger(std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(document.obtainJsonString(), "[0,-42,9007199254740992,-9223372036854775808]");
}

struct StringCase {
  const char* name;
  std::string text;
  std::string written;
};

class JsonStringWriting : public testing::TestWithParam<StringCase> {};

TEST_P(JsonStringWriting, EscapesInValuesAndKeys) {
  COJson document;
  document.addKeyValue(GetParam().text)->setStringReference(GetParam().text);
  EXPECT_EQ(document.obtainJsonString(), "{" + GetParam().written + ":" + GetParam().written + "}");
}

TEST_P(JsonStringWriting, GivesAValidText) {
  COJson document;
  document.setString(GetParam().text);
  EXPECT_TRUE(COJson(document.obtainJsonString()).getIsValidJson());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, JsonStringWriting,
    testing::Values(StringCase{"empty", "", R"("")"}, StringCase{"plain", "a/b 'c'", R"("a/b 'c'")"},
                    StringCase{"short_escapes", "\"\\\b\f\n\r\t", R"("\"\\\b\f\n\r\t")"},
                    StringCase{"other_controls", "\0\x01\x0B\x1F\x7F"s, "\"\\u0000\\u0001\\u000b\\u001f\x7F\""},
                    StringCase{"escapes_at_the_ends", "\nab\n", R"("\nab\n")"},
                    StringCase{"non_ascii", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
                               "\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\""},
                    StringCase{"line_separators", "\xE2\x80\xA8\xE2\x80\xA9", "\"\xE2\x80\xA8\xE2\x80\xA9\""},
                    StringCase{"ill_formed", "a\xFF\nb\xC3", "\"a\xEF\xBF\xBD\\nb\xEF\xBF\xBD\""},
                    StringCase{"surrogate_bytes", "\xED\xA0\x80", "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(JsonWriting, WritesAPartOfADocument) {
  const COJson document(R"({"a":{"b":[1,{"c":"d"}]},"e":true})");
  EXPECT_EQ(document.obtainJsonValue("a")->obtainJsonString(), R"({"b":[1,{"c":"d"}]})");
  EXPECT_EQ(document.obtainJsonValue("e")->obtainJsonString(), "true");
}

TEST(JsonWriting, DoesNotRecurseIntoDeepDocuments) {
  constexpr std::size_t kDepth = 1000000;
  COJson document;
  COJsonValue* value = &document;
  for (std::size_t level = 0; level < kDepth; ++level) value = value->addArrayItem();
  EXPECT_EQ(document.obtainJsonString(), std::string(kDepth, '[') + "null" + std::string(kDepth, ']'));
}

TEST(JsonWriting, ReadsBackAsTheSameDocument) {
  COJson document;
  for (int index = 0; index < 300; ++index) {
    COJsonValue* const item = document.addKeyValue("items")->addArrayItem();
    item->addKeyValue("number")->setNumber(1.0 / (index + 1));
    item->addKeyValue("integer")->setInteger(index);
    item->addKeyValue("text")->setString(std::string(static_cast<std::size_t>(index), '\n'));
  }
  const std::string text = document.obtainJsonString();
  const COJson again(text);
  EXPECT_TRUE(again.getIsValidJson());
  EXPECT_EQ(again.obtainJsonString(), text);
  EXPECT_EQ(again.obtainJsonKeys(), document.obtainJsonKeys());
}

/// Writes numbers as no JSON text may.
struct CommaNumbers : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(JsonWriting, DoesNotDependOnTheLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaNumbers));
  const std::string written = COJson("[1234567.5,1234567,123456789012345683968,1e400]").obtainJsonString();
  std::locale::global(before);
  EXPECT_EQ(written, "[1234567.5,1234567,123456789012345683968,1.7976931348623157e+308]");
}

TEST(JsonString, IsAppendedAsADocumentWritesIt) {
  for (const std::string text :
       {"", "plain", "a \"quoted\" \\ \n\t\x01 text", "ünïcödé 漢字 😀", "ill-formed \xff\xc3", "/"}) {
    COJson document;
    document.setString(text);
    std::string json = "before";
    cfAppendJsonString(json, text);
    EXPECT_EQ(json, "before" + document.obtainJsonString());
  }
}

}  // namespace
