#include <cf/json.h>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t index = 0; index < count; ++index) result += text;
  return result;
}

/// A text, and how it is written again; "" when it is not valid.
struct TextCase {
  const char* name;
  std::string text;
  std::string written;
};

std::string caseName(const testing::TestParamInfo<TextCase>& row) { return row.param.name; }

class ValidJson : public testing::TestWithParam<TextCase> {};

TEST_P(ValidJson, IsReadAndWrittenAgain) {
  const COJson document(GetParam().text);
  EXPECT_TRUE(document.getIsValidJson());
  EXPECT_EQ(document.obtainJsonString(), GetParam().written);
}

TEST_P(ValidJson, IsStableOnceWritten) {
  const COJson document(GetParam().written);
  EXPECT_TRUE(document.getIsValidJson());
  EXPECT_EQ(document.obtainJsonString(), GetParam().written);
}

INSTANTIATE_TEST_SUITE_P(
    Structure, ValidJson,
    testing::Values(
        TextCase{"null_", "null", "null"}, TextCase{"true_", "true", "true"}, TextCase{"false_", "false", "false"},
        TextCase{"empty_object", "{}", "{}"}, TextCase{"empty_array", "[]", "[]"},
        TextCase{"empty_inside", "[[],{},[{}],{\"a\":[]}]", "[[],{},[{}],{\"a\":[]}]"},
        TextCase{"space_around", " \t\r\n[ ] \t\r\n", "[]"},
        TextCase{"space_inside", "{ \"a\" : [ 1 , true , null ] , \"b\" :\n{ } }", R"({"a":[1,true,null],"b":{}})"},
        TextCase{"byte_order_mark", "\xEF\xBB\xBF{}", "{}"}, TextCase{"mark_then_space", "\xEF\xBB\xBF {}", "{}"},
        TextCase{"order_kept", R"({"z":1,"a":2,"m":3})", R"({"z":1,"a":2,"m":3})"},
        TextCase{"repeated_keys_kept", R"({"a":1,"a":2})", R"({"a":1,"a":2})"},
        TextCase{"empty_key", R"({"":0})", R"({"":0})"}, TextCase{"escaped_key", R"({"\u0061\n":0})", R"({"a\n":0})"},
        TextCase{"arrays_256_deep", repeated("[", 256) + repeated("]", 256), repeated("[", 256) + repeated("]", 256)},
        TextCase{"objects_256_deep", repeated("{\"a\":", 255) + "{}" + repeated("}", 255),
                 repeated("{\"a\":", 255) + "{}" + repeated("}", 255)},
        TextCase{"deep_twice", "[" + repeated("[", 255) + repeated("]", 255) + ",[]]",
                 "[" + repeated("[", 255) + repeated("]", 255) + ",[]]"},
        TextCase{"long_array", "[" + repeated("1,", 5000) + "1]", "[" + repeated("1,", 5000) + "1]"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Strings, ValidJson,
    testing::Values(
        TextCase{"empty", R"("")", R"("")"}, TextCase{"slash_not_escaped", R"("a\/b/c")", R"("a/b/c")"},
        TextCase{"short_escapes", R"("\"\\\b\f\n\r\t")", R"("\"\\\b\f\n\r\t")"},
        TextCase{"nul_escape", R"("a\u0000b")", R"("a\u0000b")"},
        TextCase{"control_escapes", R"("\u0001\u001F\u001a\u007F")", "\"\\u0001\\u001f\\u001a\x7F\""},
        TextCase{"letter_escape", R"("\u0041\u00e9\u20AC")", "\"A\xC3\xA9\xE2\x82\xAC\""},
        TextCase{"surrogate_pair", R"("\ud83d\uDE00")", "\"\xF0\x9F\x98\x80\""},
        TextCase{"first_pair", R"("\uD800\uDC00")", "\"\xF0\x90\x80\x80\""},
        TextCase{"last_pair", R"("\uDBFF\uDFFF")", "\"\xF4\x8F\xBF\xBF\""},
        TextCase{"around_surrogates", R"("\uD7FF\uE000\uFFFF")", "\"\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF\""},
        TextCase{"non_ascii", "\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\"", "\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\""},
        TextCase{"last_code_point", "\"\xF4\x8F\xBF\xBF\"", "\"\xF4\x8F\xBF\xBF\""},
        TextCase{"delete_character", "\"\x7F\"", "\"\x7F\""},
        TextCase{"mark_inside", "\"\xEF\xBB\xBF\"", "\"\xEF\xBB\xBF\""},
        TextCase{"long_text", "\"" + std::string(100000, 'x') + "\"", "\"" + std::string(100000, 'x') + "\""}),
    caseName);

constexpr const char* kLargest = "1.7976931348623157e+308";

INSTANTIATE_TEST_SUITE_P(
    Numbers, ValidJson,
    testing::Values(
        TextCase{"zero", "0", "0"}, TextCase{"minus_zero", "-0", "-0"}, TextCase{"minus_zero_point", "-0.0", "-0.0"},
        TextCase{"integer", "123456789", "123456789"}, TextCase{"negative", "-1", "-1"},
        TextCase{"whole_with_point", "1.0", "1.0"}, TextCase{"whole_with_exponent", "1e2", "100.0"},
        TextCase{"fraction", "0.7", "0.7"}, TextCase{"exponents", "[1E+2,1e-2,1E2]", "[100.0,0.01,100.0]"},
        TextCase{"beyond_2_to_53", "9007199254740993", "9007199254740992"},
        TextCase{"two_to_64", "18446744073709551616", "18446744073709551616"}, TextCase{"smallest", "5e-324", "5e-324"},
        TextCase{"largest", "1.7976931348623157e308", kLargest}, TextCase{"ten_to_21", "1e21", "1e+21"},
        TextCase{"integer_of_22_digits", "1000000000000000000000", "1e+21"}, TextCase{"too_large", "1e400", kLargest},
        TextCase{"too_large_negative", "[-1e400]", "[-"s + kLargest + "]"}, TextCase{"too_small", "1e-400", "0.0"},
        TextCase{"too_small_negative", "-1e-400", "-0.0"}, TextCase{"zero_with_large_exponent", "0e400", "0.0"},
        TextCase{"exponent_near_int_min", "1.23456789012345678e-2147483639", "0.0"},
        TextCase{"exponent_beyond_int_min", "[1.23456789012345678e-2147483649]", "[0.0]"},
        TextCase{"long_exponent", "1e" + repeated("9", 5000), kLargest},
        TextCase{"long_negative_exponent", "[1e-" + repeated("9", 5000) + "]", "[0.0]"},
        TextCase{"zeros_in_exponent", "1e" + repeated("0", 400) + "2", "100.0"},
        TextCase{"long_integer", "1" + repeated("0", 400), kLargest},
        TextCase{"long_integer_made_up", "1" + repeated("0", 400) + "e-400", "1.0"},
        TextCase{"309_digits_in_range", "1" + std::string(308, '0'), "1e+308"},
        TextCase{"long_fraction", "0." + repeated("0", 400) + "1e401", "1.0"},
        TextCase{"too_large_among_others", R"([1,2.50,1e400,"1e400","\"1e400",{"1e400":-0}])",
                 "[1,2.5,"s + kLargest + R"(,"1e400","\"1e400",{"1e400":-0}])"},
        TextCase{"space_after_number", "1e400 \n", kLargest}),
    caseName);

class InvalidJson : public testing::TestWithParam<TextCase> {};

TEST_P(InvalidJson, ReadsAsNull) {
  const COJson document(GetParam().text);
  EXPECT_FALSE(document.getIsValidJson());
  EXPECT_EQ(document.obtainType(), JsonType::Null);
  EXPECT_EQ(document.obtainJsonString(), "null");
}

INSTANTIATE_TEST_SUITE_P(
    Structure, InvalidJson,
    testing::Values(
        TextCase{"empty", "", ""}, TextCase{"space_alone", " \n", ""}, TextCase{"mark_alone", "\xEF\xBB\xBF", ""},
        TextCase{"two_marks", "\xEF\xBB\xBF\xEF\xBB\xBF{}", ""}, TextCase{"mark_after_space", " \xEF\xBB\xBF{}", ""},
        TextCase{"utf16_mark", "\xFF\xFE[\0]\0"s, ""}, TextCase{"comma_after_item", "[1,]", ""},
        TextCase{"comma_after_member", R"({"a":1,})", ""}, TextCase{"comma_first", "[,1]", ""},
        TextCase{"comma_alone", "[,]", ""}, TextCase{"two_commas", "[1,,2]", ""}, TextCase{"no_comma", "[1 2]", ""},
        TextCase{"no_colon", R"({"a" 1})", ""}, TextCase{"two_colons", R"({"a"::1})", ""},
        TextCase{"colon_in_array", R"(["a":1])", ""}, TextCase{"no_value", R"({"a":})", ""},
        TextCase{"no_key", "{:1}", ""}, TextCase{"key_alone", R"({"a"})", ""}, TextCase{"number_as_key", "{1:1}", ""},
        TextCase{"bare_key", "{a:1}", ""}, TextCase{"open_array", "[", ""}, TextCase{"open_array_item", "[1", ""},
        TextCase{"open_array_comma", "[1,", ""}, TextCase{"open_object", "{", ""},
        TextCase{"open_object_key", "{\"a\"", ""}, TextCase{"open_object_member", "{\"a\":1", ""},
        TextCase{"closed_only", "]", ""}, TextCase{"closed_wrong", "[}", ""},
        TextCase{"closed_wrong_object", R"({"a":1])", ""}, TextCase{"closed_twice", "[]]", ""},
        TextCase{"two_documents", "{}{}", ""}, TextCase{"two_scalars", "1 2", ""},
        TextCase{"garbage_after", "{} x", ""}, TextCase{"comma_after", "{},", ""}, TextCase{"nul_after", "{}\0"s, ""},
        TextCase{"nul_before", "\0{}"s, ""}, TextCase{"nul_between", "[\0]"s, ""},
        TextCase{"nul_then_garbage", "{}\0}"s, ""}, TextCase{"comment", "[1/*x*/]", ""},
        TextCase{"line_comment", "[] // x", ""}, TextCase{"capital_null", "Null", ""},
        TextCase{"capital_true", "TRUE", ""}, TextCase{"cut_word", "tru", ""}, TextCase{"long_word", "nulll", ""},
        TextCase{"undefined", "undefined", ""}, TextCase{"form_feed", "[\f]", ""}, TextCase{"vertical_tab", "\v[]", ""},
        TextCase{"wide_space", "[\xC2\xA0]", ""},
        TextCase{"arrays_257_deep", repeated("[", 257) + repeated("]", 257), ""},
        TextCase{"objects_257_deep", repeated("{\"a\":", 256) + "{}" + repeated("}", 256), ""},
        TextCase{"million_brackets", std::string(1000000, '['), ""},
        TextCase{"million_closed_brackets", std::string(1000000, '[') + std::string(1000000, ']'), ""},
        TextCase{"million_objects", repeated("{\"a\":", 1000000), ""}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Strings, InvalidJson,
    testing::Values(
        TextCase{"single_quotes", "'a'", ""}, TextCase{"open", "\"a", ""}, TextCase{"quote_alone", "\"", ""},
        TextCase{"backslash_last", "\"\\", ""}, TextCase{"quote_escaped_last", "\"\\\"", ""},
        TextCase{"tab", "\"\t\"", ""}, TextCase{"line_feed", "\"a\nb\"", ""}, TextCase{"carriage_return", "\"\r\"", ""},
        TextCase{"nul", "\"a\0b\""s, ""}, TextCase{"control_01", "\"\x01\"", ""},
        TextCase{"control_19", "\"\x19\"", ""},
        TextCase{"control_1a_in_long_text",
                 "\"0123456789abcdef0123456789\x1A"
                 "0123456789abcdef\"",
                 ""},
        TextCase{"control_1f", "\"\x1F\"", ""}, TextCase{"tab_in_key", "{\"\t\":1}", ""},
        TextCase{"unknown_escape", R"("\x41")", ""}, TextCase{"quote_escape", R"("\'")", ""},
        TextCase{"capital_u_escape", R"("\U0041")", ""}, TextCase{"short_unicode", R"("\u004")", ""},
        TextCase{"no_hex", R"("\u00g0")", ""}, TextCase{"cut_unicode", "\"\\u12", ""},
        TextCase{"high_surrogate_alone", R"("\uD800")", ""}, TextCase{"low_surrogate_alone", R"("\uDC00")", ""},
        TextCase{"last_low_surrogate", R"("x\udfffy")", ""}, TextCase{"low_in_key", R"({"\uDEAD":1})", ""},
        TextCase{"two_high_surrogates", R"("\uD800\uD800")", ""}, TextCase{"high_then_letter", R"("\uD800a")", ""},
        TextCase{"high_then_escape", R"("\uD800\n")", ""}, TextCase{"pair_then_low", R"("\uD800\uDC00\uDC00")", ""},
        TextCase{"pair_swapped", R"("\uDC00\uD800")", ""}, TextCase{"lone_continuation", "\"\x80\"", ""},
        TextCase{"overlong_slash", "\"\xC0\xAF\"", ""}, TextCase{"overlong_nul", "\"\xC0\x80\"", ""},
        TextCase{"overlong_three", "\"\xE0\x80\xAF\"", ""}, TextCase{"overlong_four", "\"\xF0\x80\x80\xAF\"", ""},
        TextCase{"surrogate_bytes", "\"\xED\xA0\x80\"", ""},
        TextCase{"surrogate_pair_bytes", "\"\xED\xA0\xBD\xED\xB8\x80\"", ""},
        TextCase{"above_last", "\"\xF4\x90\x80\x80\"", ""}, TextCase{"five_bytes", "\"\xF8\x88\x80\x80\x80\"", ""},
        TextCase{"latin1", "\"\xE9\"", ""}, TextCase{"cut_character", "\"\xE2\x82\"", ""},
        TextCase{"ill_formed_key", "{\"\xFF\":1}", ""}, TextCase{"ill_formed_after", "[]\xFF", ""}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Numbers, InvalidJson,
    testing::Values(
        TextCase{"plus", "+1", ""}, TextCase{"leading_zero", "01", ""}, TextCase{"leading_zeros", "-00", ""},
        TextCase{"no_integer_digits", ".5", ""}, TextCase{"minus_point", "-.5", ""},
        TextCase{"no_fraction_digits", "1.", ""}, TextCase{"point_then_exponent", "1.e5", ""},
        TextCase{"minus_alone", "-", ""}, TextCase{"two_minus", "--1", ""}, TextCase{"space_after_minus", "- 1", ""},
        TextCase{"exponent_empty", "1e", ""}, TextCase{"exponent_sign_alone", "1e+", ""},
        TextCase{"exponent_fraction", "1e1.5", ""}, TextCase{"exponent_alone", "e5", ""},
        TextCase{"two_points", "1.2.3", ""}, TextCase{"hexadecimal", "0x1F", ""}, TextCase{"nan_", "NaN", ""},
        TextCase{"infinity", "Infinity", ""}, TextCase{"minus_infinity", "-Infinity", ""}, TextCase{"inf", "[inf]", ""},
        TextCase{"suffix", "1f", ""}, TextCase{"underscore", "1_000", ""},
        TextCase{"full_width_digit", "\xEF\xBC\x91", ""}, TextCase{"too_large_then_garbage", "1e400x", ""},
        TextCase{"too_large_with_leading_zero", "01e400", ""}, TextCase{"too_large_with_plus", "[+1e400]", ""},
        TextCase{"too_large_without_fraction", "1.e400", ""}, TextCase{"too_large_then_sign", "1e400+1", ""},
        TextCase{"too_large_then_error", "[1e400,01]", ""}, TextCase{"too_large_then_no_fraction", "[1e400,1.]", ""},
        TextCase{"too_large_then_no_exponent", "[1e400,1e+]", ""},
        TextCase{"too_large_then_open_string", "[1e400,\"\\", ""},
        TextCase{"too_large_then_lone_surrogate", R"([1e400,"\uDC00"])", ""},
        TextCase{"many_too_large_unclosed", "[" + repeated("1e400,", 100000), ""}),
    caseName);

TEST(JsonText, CanBeAnyStartOfAValidTextWithoutHarm) {
  const std::string text = R"({"a":[1,-2.5e3,"x\n\u20AC\ud83d\ude00",true,false,null],"b":{}})";
  for (std::size_t size = 0; size < text.size(); ++size) {
    const std::vector<char> start(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_FALSE(COJson(std::string_view(start.data(), start.size())).getIsValidJson()) << size;
  }
  EXPECT_TRUE(COJson(text).getIsValidJson());
}

TEST(JsonText, IsCopied) {
  std::string text = R"({"key":"value"})";
  const COJson document(text);
  text.assign(text.size(), 'x');
  EXPECT_EQ(document.obtainJsonString(), R"({"key":"value"})");
}

TEST(JsonText, NeedNotEndWithNUL) {
  const std::string text = "[12]345";
  EXPECT_EQ(COJson(std::string_view(text).substr(0, 4)).obtainJsonString(), "[12]");
  EXPECT_EQ(COJson(std::string_view(text).substr(1, 2)).obtainJsonString(), "12");
}

TEST(JsonText, ThatIsInvalidLeavesADocumentThatCanBeBuilt) {
  COJson document("[1,2");
  document.addKeyValue("a")->setInteger(1);
  EXPECT_FALSE(document.getIsValidJson());
  EXPECT_EQ(document.obtainJsonString(), R"({"a":1})");
}

}  // namespace
