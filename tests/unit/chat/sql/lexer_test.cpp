#include "sql/lexer.h"

#include <gtest/gtest.h>

namespace {

struct TokenCase {
  const char* name;
  std::string text;
  std::vector<std::string> solid;  // each with a letter for its kind
};

std::string describe(const SqlToken& token) {
  return "bctqnw;s"[static_cast<int>(token.kind)] + (":" + std::string(token.text));
}

class SqlTokens : public testing::TestWithParam<TokenCase> {};

TEST_P(SqlTokens, AreTakenApart) {
  SqlLexer lexer(GetParam().text);
  std::vector<std::string> solid;
  for (SqlToken token; lexer.nextSolid(token);) solid.push_back(describe(token));
  EXPECT_EQ(solid, GetParam().solid);
}

TEST_P(SqlTokens, AreTheWholeTextWhenJoined) {
  SqlLexer lexer(GetParam().text);
  std::string joined;
  for (SqlToken token; lexer.next(token);) {
    EXPECT_EQ(token.begin, joined.size());
    EXPECT_FALSE(token.text.empty());
    joined += token.text;
  }
  EXPECT_EQ(joined, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, SqlTokens,
    testing::Values(
        TokenCase{"nothing", "", {}}, TokenCase{"words", "SELECT a_1,größe", {"w:SELECT", "w:a_1", "s:,", "w:größe"}},
        TokenCase{"doubled_quotes", "'it''s;' \"a\"\"b\" `c``d`", {"t:'it''s;'", "q:\"a\"\"b\"", "q:`c``d`"}},
        TokenCase{"brackets", "[a;b]]", {"q:[a;b]", "s:]"}},
        TokenCase{"comments", "a--b;'\nc/*;'\n*/d", {"w:a", "w:c", "w:d"}},
        TokenCase{"comment_at_the_end", "a -- b", {"w:a"}}, TokenCase{"unclosed_comment", "a /* b ;", {"w:a"}},
        TokenCase{"unclosed_text", "a 'b ;", {"w:a", "t:'b ;"}}, TokenCase{"lone_quote", "'", {"t:'"}},
        TokenCase{"unclosed_bracket", "[a ;", {"q:[a ;"}},
        TokenCase{"numbers", "1 2.5e-3 .5 1e+9 0x1E+5", {"n:1", "n:2.5e-3", "n:.5", "n:1e+9", "n:0x1E", "s:+", "n:5"}},
        TokenCase{"operators", "a<>b->>'c'||d;", {"w:a", "s:<>", "w:b", "s:->>", "t:'c'", "s:||", "w:d", ";:;"}},
        TokenCase{"minus_is_no_comment", "a - -b", {"w:a", "s:-", "s:-", "w:b"}},
        TokenCase{"blanks_that_are_none", "a\u00a0b", {"w:a\u00a0b"}}),
    [](const auto& row) { return std::string(row.param.name); });

struct QuotedCase {
  const char* name;
  std::string token;
  std::string plain;
};
class QuotedSql : public testing::TestWithParam<QuotedCase> {};

TEST_P(QuotedSql, StandsForItsContent) {
  SqlToken token;
  ASSERT_TRUE(SqlLexer(GetParam().token).next(token));
  EXPECT_EQ(unquoteSql(token), GetParam().plain);
}

INSTANTIATE_TEST_SUITE_P(Tokens, QuotedSql,
                         testing::Values(QuotedCase{"text", "'it''s'", "it's"}, QuotedCase{"empty", "''", ""},
                                         QuotedCase{"quotes_alone", "''''''", "''"},
                                         QuotedCase{"name", "\"a\"\"b\"", "a\"b"},
                                         QuotedCase{"backticks", "`a``b`", "a`b"},
                                         QuotedCase{"brackets", "[a b]", "a b"}, QuotedCase{"unclosed", "'a", "a"},
                                         QuotedCase{"word", "abc", "abc"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(SqlWords, AreTheSameInAnyCase) {
  SqlToken token;
  ASSERT_TRUE(SqlLexer("SeLeCt").next(token));
  EXPECT_TRUE(token.isWord("SELECT"));
  EXPECT_FALSE(token.isWord("SELECTS"));
}

TEST(SolidSqlTokens, TellWhereTheyStand) {
  const std::vector<SqlToken> tokens = readSolidTokens(" a ='b'");
  ASSERT_EQ(tokens.size(), 3U);
  EXPECT_EQ(tokens[2].kind, SqlTokenKind::Text);
  EXPECT_EQ(tokens[2].begin, 4U);
  EXPECT_EQ(tokens[2].end(), 7U);
}

}  // namespace
