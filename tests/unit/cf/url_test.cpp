#include <cf/url.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>

namespace {

struct URLCase {
  const char* name;
  std::vector<std::string> parts;
  std::string address;
};

class ConcatURL : public testing::TestWithParam<URLCase> {};

TEST_P(ConcatURL, Joins) { EXPECT_EQ(cfConcatURL(GetParam().parts), GetParam().address); }

INSTANTIATE_TEST_SUITE_P(
    Parts, ConcatURL,
    testing::Values(
        URLCase{"no_parts", {}, ""}, URLCase{"host_alone", {"https://host"}, "https://host"},
        URLCase{"host_loses_trailing_slashes", {"https://host//"}, "https://host"},
        URLCase{"host_with_path", {"https://host/base/", "x"}, "https://host/base/x"},
        URLCase{"segments", {"https://host:80", "v1", "chat", "completions"}, "https://host:80/v1/chat/completions"},
        URLCase{"host_is_not_encoded", {"http://[::1]:8080", "a"}, "http://[::1]:8080/a"},
        URLCase{"empty_host", {"", "a"}, "/a"}, URLCase{"empty_segment", {"h", "", "a"}, "h//a"},
        URLCase{"slash_in_segment", {"h", "a/b"}, "h/a%2Fb"},
        URLCase{"query_in_segment", {"h", "a?b#c"}, "h/a%3Fb%23c"},
        URLCase{"unreserved_stay", {"h", "AZaz09-._~"}, "h/AZaz09-._~"},
        URLCase{"sub_delims_colon_at_stay", {"h", "!$&'()*+,;=:@"}, "h/!$&'()*+,;=:@"},
        URLCase{"verb_after_colon", {"h", "models", "gemini:generateContent"}, "h/models/gemini:generateContent"},
        URLCase{"percent_is_encoded", {"h", "100%41"}, "h/100%2541"}, URLCase{"space", {"h", "a b"}, "h/a%20b"},
        URLCase{"non_ascii", {"h", "\xC3\xA9"}, "h/%C3%A9"},
        URLCase{"control_characters", {"h", std::string("\0\r\n\x7F", 4)}, "h/%00%0D%0A%7F"},
        URLCase{"backslash", {"h", "a\\b"}, "h/a%5Cb"}, URLCase{"one_dot", {"h", ".", "a"}, "h/%2E/a"},
        URLCase{"two_dots", {"h", "..", "a"}, "h/%2E%2E/a"}, URLCase{"three_dots", {"h", "..."}, "h/..."},
        URLCase{"dots_within", {"h", "..a"}, "h/..a"}, URLCase{"dots_with_slash", {"h", "../x"}, "h/..%2Fx"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(EncodeQueryText, KeepsUnreservedOnly) {
  EXPECT_EQ(cfEncodeQueryText("AZaz09-._~"), "AZaz09-._~");
  EXPECT_EQ(cfEncodeQueryText("a b&c=d+e/f?g"), "a%20b%26c%3Dd%2Be%2Ff%3Fg");
  EXPECT_EQ(cfEncodeQueryText("!$'()*,;:@%#"), "%21%24%27%28%29%2A%2C%3B%3A%40%25%23");
  EXPECT_EQ(cfEncodeQueryText("\xE2\x82\xAC"), "%E2%82%AC");
  EXPECT_EQ(cfEncodeQueryText(std::string_view("\0", 1)), "%00");
  EXPECT_EQ(cfEncodeQueryText(""), "");
}

/// Whichever bytes `plain` lists stand for themselves, and %XX for each other one; all of them come back.
void expectEncoding(const std::function<std::string(const std::string& byte)>& encode, std::string_view plain) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  for (unsigned byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    const std::string encoded{'%', kHexDigits[byte >> 4U], kHexDigits[byte & 15U]};
    const bool isPlain = plain.find(text) != std::string_view::npos;
    EXPECT_EQ(encode(text), isPlain ? text : encoded) << byte;
    EXPECT_EQ(cfDecodePercent(encode(text)), text) << byte;
  }
}

constexpr std::string_view kUnreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

TEST(EncodeQueryText, EncodesEachByteThatIsNotUnreserved) { expectEncoding(cfEncodeQueryText, kUnreserved); }

// Behind a letter, since a dot that stands alone is encoded.
TEST(Segment, EncodesEachByteThatHasAMeaningInAPath) {
  expectEncoding(
      [](const std::string& byte) {
        return cfConcatURL({"h", "a" + byte}).substr(3);
      },
      std::string(kUnreserved) + "!$&'()*+,;=:@");
}

struct DecodeCase {
  const char* name;
  std::string given;
  std::string decoded;
};
class DecodePercent : public testing::TestWithParam<DecodeCase> {};

TEST_P(DecodePercent, TakesWhatIsEncodedAlone) { EXPECT_EQ(cfDecodePercent(GetParam().given), GetParam().decoded); }

INSTANTIATE_TEST_SUITE_P(Texts, DecodePercent,
                         testing::Values(DecodeCase{"empty", "", ""}, DecodeCase{"plain", "a+b", "a+b"},
                                         DecodeCase{"both_cases", "%2f%2F", "//"},
                                         DecodeCase{"nul", "a%00b", std::string("a\0b", 3)},
                                         DecodeCase{"once", "%2541", "%41"}, DecodeCase{"cut", "a%4", "a%4"},
                                         DecodeCase{"percent_alone", "100%", "100%"},
                                         DecodeCase{"no_digits", "%zz%4g%-1% 1", "%zz%4g%-1% 1"},
                                         DecodeCase{"behind_a_percent", "%%41", "%A"}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
