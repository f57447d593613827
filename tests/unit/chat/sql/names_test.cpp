#include "sql/names.h"

#include "sql/lexer.h"

#include <gtest/gtest.h>

namespace {

struct NamesCase {
  const char* name;
  std::string sql;
  std::vector<std::string> names;
};
class SqlNames : public testing::TestWithParam<NamesCase> {};

TEST_P(SqlNames, AreFoundOutsideOfTextsAndComments) { EXPECT_EQ(listSqlNames(GetParam().sql), GetParam().names); }

INSTANTIATE_TEST_SUITE_P(
    Texts, SqlNames,
    testing::Values(NamesCase{"of_all_kinds",
                              "SELECT a1, 'b', \"c \"\"d\", [e f], `g` -- h\n FROM/* i */t WHERE x$1 = 1e5 AND ü",
                              {"select", "a1", "c \"d", "e f", "g", "from", "t", "where", "x$1", "and", "ü"}},
                    NamesCase{"capitals_beyond_ascii_stay", "\"Größe\", ÄB", {"größe", "Äb"}},
                    NamesCase{"unclosed_text", "'a", {}}, NamesCase{"unclosed_comment", "/* a", {}},
                    NamesCase{"comment_at_the_end", "-- a", {}}, NamesCase{"unclosed_name", "\"a", {"a"}},
                    NamesCase{"bracket_alone", "[", {""}}, NamesCase{"doubled_quote_alone", "\"\"\"", {"\""}},
                    NamesCase{"bracket_closed_once", "[a]]b", {"a", "b"}},
                    NamesCase{"comments_do_not_nest", "/* a /* b */ c */", {"c"}},
                    NamesCase{"parameters_are_no_columns", "$a :b @c", {"$a", "b", "c"}},
                    NamesCase{"letters_of_numbers", "1.e5 .5e1 0xab 1.5", {}}, NamesCase{"bytes", "x'00'", {"x"}}),
    [](const auto& row) { return std::string(row.param.name); });

class QuotedName : public testing::TestWithParam<std::string> {};

TEST_P(QuotedName, CanBeReadBack) {
  for (const char quote : {'"', '`', '\''}) {
    const std::string quoted = quoteSql(GetParam(), quote);
    const std::vector<SqlToken> tokens = readSolidTokens(quoted);
    ASSERT_EQ(tokens.size(), 1U) << quoted;
    EXPECT_EQ(tokens.front().end(), quoted.size());
    EXPECT_EQ(unquoteSql(tokens.front()), GetParam());
  }
}

INSTANTIATE_TEST_SUITE_P(Names, QuotedName,
                         testing::Values("", "a", "a\"b c", "\"", "''", "```", "]", "--", "/*", ";", "\n"));

TEST(QuotedNames, HaveTheirQuotesDoubled) { EXPECT_EQ(quoteSqlName("a\"b c"), "\"a\"\"b c\""); }

}  // namespace
