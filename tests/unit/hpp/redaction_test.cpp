// Secrets taken out of texts that quote them.
#include "support/canary.h"

#include <qai/redaction.hpp>

#include <gtest/gtest.h>

#include <ctime>
#include <initializer_list>
#include <string>

namespace {

using qai::redacted;

const std::string kSecret = canary::kKey;

TEST(Redaction, TakesEveryFormOut) {
  for (const std::string& form : canaryForms(kSecret)) {
    const std::string text = "\"Wrong key '" + form + "' was given.";
    const std::string result = redacted(text, kSecret);
    EXPECT_EQ(appearsIn(result, kSecret), "") << form << " in " << result;
    EXPECT_EQ(result.find("\"Wrong key '"), 0U) << result;
    EXPECT_NE(result.find("was given."), std::string::npos) << result;
  }
}

/// Texts that only seem to hold a secret.
TEST(Redaction, LeavesWhatOnlyResemblesASecret) {
  // What begins anew within a beginning of it.
  EXPECT_EQ(redacted("aababsecret", "aabsecret"), "aababsecret");
  EXPECT_EQ(redacted("aaabsecret", "aabsecret"), "a[redacted]");
  // Base64 of "password1234" and "password1231", which differ in the last digit alone.
  EXPECT_EQ(redacted("cGFzc3dvcmQxMjM0", "password1234"), "[redacted]");
  EXPECT_EQ(redacted("cGFzc3dvcmQxMjMx", "password1234"), "cGFzc3dvcmQxMjMx");
}

struct Row {
  const char* name;
  std::string text;
  std::string expected;
};

class RedactionOf : public testing::TestWithParam<Row> {};

TEST_P(RedactionOf, LeavesTheRest) { EXPECT_EQ(redacted(GetParam().text, "s/cr\"t"), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(
    Texts, RedactionOf,
    testing::Values(Row{"nothing", "", ""}, Row{"other", "no s/cr", "no s/cr"}, Row{"whole", "s/cr\"t", "[redacted]"},
                    Row{"first", "s/cr\"t!", "[redacted]!"}, Row{"last", "is s/cr\"t", "is [redacted]"},
                    Row{"twice", "s/cr\"ts/cr\"t", "[redacted][redacted]"},
                    Row{"all_but_its_first_letter", "/cr\"t", "/cr\"t"},
                    Row{"behind_a_false_start", "s/cs/cr\"t", "s/c[redacted]"},
                    Row{"percent", "key=s%2Fcr%22t&x", "key=[redacted]&x"},
                    Row{"percent_lower", "key=s%2fcr%22t&x", "key=[redacted]&x"},
                    Row{"percent_of_all", "%73%2F%63%72%22%74", "[redacted]"},
                    Row{"json", R"({"k":"s/cr\"t"})", R"({"k":"[redacted]"})"},
                    Row{"json_slash", R"({"k":"s\/cr\"t"})", R"({"k":"[redacted]"})"},
                    Row{"json_hex", R"({"k":"\u0073/cr\u0022t"})", R"({"k":"[redacted]"})"},
                    Row{"json_backslash_before", R"("\\s/cr\"t")", R"("\\[redacted]")"},
                    Row{"base64", "key " + canary::base64("s/cr\"t") + ".", "key [redacted]."},
                    Row{"base64_of_user_and_password", "Basic " + canary::base64("me:s/cr\"t"), "Basic [redacted]"},
                    Row{"base64_behind_one", "Basic " + canary::base64("u:s/cr\"t!") + ",", "Basic [redacted],"},
                    Row{"base64_first", canary::base64("s/cr\"t") + ".", "[redacted]."},
                    Row{"base64_behind_two_first", canary::base64("u:s/cr\"t") + ".", "[redacted]."},
                    Row{"base64_in_braces", "{" + canary::base64("s/cr\"t") + "}", "{[redacted]}"},
                    Row{"base64_between_colons", ":" + canary::base64("s/cr\"t") + ":", ":[redacted]:"},
                    Row{"base64_among_all_signs", "[+/-_z0" + canary::base64("s/cr\"t") + "9AZa_-/+]", "[[redacted]]"},
                    Row{"percent_that_is_none", "100%, s%2", "100%, s%2"},
                    Row{"escape_that_is_none", "a\\q\\u12", "a\\q\\u12"},
                    Row{"escape_without_its_end", "s/cr\"t\\", "[redacted]\\"},
                    Row{"half_a_pair_before", R"(\ud83ds/cr\"t)", R"(\ud83d[redacted])"},
                    Row{"half_a_pair_before_an_escape", R"(\ud83d\u0073/cr\"t)", R"(\ud83d[redacted])"},
                    Row{"half_a_pair_before_no_escape", R"(\ud83d\u00,s/cr\"t)", R"(\ud83d\u00,[redacted])"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Redaction, FindsASecretThatIsItselfAnEncodedText) {
  EXPECT_EQ(redacted("a%41b%42c%43 and a%2541b%2542c%2543", "a%41b%42c%43"), "[redacted] and [redacted]");
  EXPECT_EQ(redacted("a%41b%42c%43", "aAbBcC"), "[redacted]");
  EXPECT_EQ(redacted(R"(is a%41b\nc!)", R"(a%41b\nc)"), "is [redacted]!");
}

TEST(Redaction, FindsCharactersBeyondASCIIInTheirEscapes) {
  EXPECT_EQ(redacted(R"(key: \u043a\u043b\u044e\u0447\ud83d\udd11!)", "ключ\U0001F511"), "key: [redacted]!");
  EXPECT_EQ(redacted(R"(key: \u20ac\u20ac\u20ac!)", "€€€"), "key: [redacted]!");
  EXPECT_EQ(redacted("key=%D0%BA%D0%BB%D1%8E%D1%87", "ключ"), "key=[redacted]");
}

TEST(Redaction, FindsNULInItsEscapes) {
  const std::string secret("one\0two", 7);
  EXPECT_EQ(redacted(R"(key: one\u0000two!)", secret), "key: [redacted]!");
  EXPECT_EQ(redacted("key=one%00two", secret), "key=[redacted]");
}

TEST(Redaction, FindsBase64WhoseSignsAreEncodedAgain) {
  const std::string secret =
      ">>>?"
      "??~~~?"
      "??";
  ASSERT_EQ(canary::base64(secret), "Pj4+Pz8/fn5+Pz8/");
  EXPECT_EQ(redacted(R"("Pj4+Pz8\/fn5+Pz8\/")", secret).find("z8"), std::string::npos);
  EXPECT_EQ(redacted("k=Pj4%2BPz8%2Ffn5%2BPz8%2F", secret).find("z8"), std::string::npos);
  EXPECT_EQ(redacted("k=Pj4-Pz8_fn5-Pz8_", secret), "k=[redacted]");
  // The second begins with an encoded '+', right where the first ends.
  EXPECT_EQ(redacted("Pj4+Pz8/fn5+Pz8/%2BPj4/Pz9+fn4/Pz8=", secret), "[redacted][redacted]");
}

TEST(Redaction, TakesOverlappingOccurrencesAsOne) {
  EXPECT_EQ(redacted("xabababay", "abababa"), "x[redacted]y");
  EXPECT_EQ(redacted("xababababay", "abababa"), "x[redacted]y");
}

TEST(Redaction, LeavesASecretThatIsTooShortToBeTold) {
  for (const std::string secret : {"", "a", "short"}) EXPECT_EQ(redacted("a short text", secret), "a short text");
  EXPECT_EQ(redacted("a longer text", "longer"), "a [redacted] text");
}

// Processor time in proportion to the text, also where every place looks like the secret's beginning: a search that
// begins again at each place takes minutes.
TEST(Redaction, TakesLinearTime) {
  const std::string secret = std::string(20'000, 'a') + "b";
  const std::string text(std::size_t{4} << 20, 'a');
  const std::clock_t begin = std::clock();
  EXPECT_EQ(redacted(text, secret), text);
  EXPECT_LT(std::clock() - begin, 20 * CLOCKS_PER_SEC);
}

}  // namespace
