#include "sql/literals.h"

#include <gtest/gtest.h>

namespace {

struct LiteralCase {
  const char* name;
  std::string sql;
  std::vector<std::string> literals;  // "qualifier.column comparison value"
};

class TextLiterals : public testing::TestWithParam<LiteralCase> {};

TEST_P(TextLiterals, AreFoundWithWhatTheyAreComparedWith) {
  std::vector<std::string> found;
  for (const TextLiteral& literal : findTextLiterals(GetParam().sql)) {
    const std::string column = literal.qualifier.empty() ? literal.column : literal.qualifier + "." + literal.column;
    found.push_back(column + " " + literal.comparison + " " + literal.value);
    EXPECT_EQ(GetParam().sql.at(literal.begin), '\'');
    EXPECT_LE(literal.begin + literal.size, GetParam().sql.size());
  }
  EXPECT_EQ(found, GetParam().literals);
}

INSTANTIATE_TEST_SUITE_P(
    Statements, TextLiterals,
    testing::Values(LiteralCase{"none", "SELECT \"a\" FROM b -- 'c'", {}},
                    LiteralCase{"equal", "SELECT * FROM a WHERE country = 'Germany'", {"country = Germany"}},
                    LiteralCase{"qualified", "WHERE c.\"home country\"='it''s'", {"c.home country = it's"}},
                    LiteralCase{"turned_round", "WHERE 'x' <> t.c AND 'y' = d", {"t.c <> x", "d = y"}},
                    LiteralCase{"in", "WHERE c IN ('a', 'b') OR d = 'e'", {"c IN a", "c IN b", "d = e"}},
                    LiteralCase{"not_in", "WHERE t.c NOT IN ('a')", {"t.c NOT IN a"}},
                    LiteralCase{"in_a_subquery", "WHERE c IN (SELECT 'a' UNION SELECT 'b')", {"  a", "  b"}},
                    LiteralCase{"like", "WHERE c LIKE 'a%' AND d not like 'b%'", {"c LIKE a%", "d NOT LIKE b%"}},
                    LiteralCase{"like_with_escape", "WHERE c LIKE 'a' ESCAPE '\\'", {"c LIKE a", "  \\"}},
                    LiteralCase{"is", "WHERE c IS 'a' OR d IS NOT 'b'", {"c IS a", "d IS NOT b"}},
                    LiteralCase{"between",
                                "WHERE d BETWEEN '2024-01-01' AND '2024-12-31' AND c = 'x'",
                                {"d BETWEEN 2024-01-01", "d BETWEEN 2024-12-31", "c = x"}},
                    LiteralCase{
                        "function_of_a_column", "WHERE lower(t.c) = 'a' AND trim(d) LIKE 'b'", {"t.c = a", "d LIKE b"}},
                    LiteralCase{"function_of_more", "WHERE substr(c, 1) = 'a'", {"  a"}},
                    LiteralCase{"function_turned_round", "WHERE 'a' = lower(c)", {"  a"}},
                    LiteralCase{"argument", "SELECT strftime('%Y', d)", {"  %Y"}},
                    LiteralCase{"no_column_before", "SELECT CASE WHEN 1 THEN 'a' ELSE 'b' END", {"  a", "  b"}},
                    LiteralCase{"keyword_is_no_column", "WHERE NOT = 'a'", {"  a"}},
                    LiteralCase{"name_of_a_column", "SELECT a AS 'b', 'c'", {"  c"}},
                    LiteralCase{"bytes", "SELECT x'00', X'01', y'a'", {"  a"}},
                    LiteralCase{"first_token", "'a' = b", {"b = a"}}, LiteralCase{"text_alone", "'a'", {"  a"}},
                    LiteralCase{"unclosed", "WHERE a = 'b", {"a = b"}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(TextLiterals, TellTheirPlace) {
  const auto literals = findTextLiterals("SELECT 'it''s'");
  ASSERT_EQ(literals.size(), 1U);
  EXPECT_EQ(literals[0].begin, 7U);
  EXPECT_EQ(literals[0].size, 7U);
}

TEST(TextLiterals, OfALongListAreReadOnce) {
  std::string sql = "SELECT * FROM a WHERE b IN ('0'";
  constexpr std::size_t kTimes = 200000;
  for (std::size_t i = 1; i < kTimes; ++i) sql += ",'x'";
  const auto literals = findTextLiterals(sql + ")");
  ASSERT_EQ(literals.size(), kTimes);
  EXPECT_EQ(literals.back().column, "b");
}

}  // namespace
