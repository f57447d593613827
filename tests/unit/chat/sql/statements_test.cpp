#include "sql/statements.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <array>
#include <random>

namespace {

const std::string kTrigger =
    "CREATE TEMP TRIGGER t AFTER INSERT ON a BEGIN\n"
    "  UPDATE b SET c = CASE WHEN d THEN 1 ELSE 2 END;\n"
    "  DELETE FROM e;\nEND;";

struct SplitCase {
  const char* name;
  std::string sql;
  std::vector<std::string> statements;
};
class SqlText : public testing::TestWithParam<SplitCase> {};

TEST_P(SqlText, IsSplitIntoStatements) { EXPECT_EQ(splitStatements(GetParam().sql), GetParam().statements); }

INSTANTIATE_TEST_SUITE_P(
    Texts, SqlText,
    testing::Values(SplitCase{"nothing", "", {}}, SplitCase{"blanks", " \n\t", {}},
                    SplitCase{"semicolons", ";;\n;", {}}, SplitCase{"comments_alone", "-- a;\n/* b; */", {}},
                    SplitCase{"one", "  SELECT 1\n", {"SELECT 1"}},
                    SplitCase{"semicolon_stays", "SELECT 1 ;\n", {"SELECT 1 ;"}},
                    SplitCase{"two", "SELECT 1; SELECT 2", {"SELECT 1;", "SELECT 2"}},
                    SplitCase{"semicolons_in_texts_and_names",
                              "SELECT ';''', \";\", `;`, [;]; SELECT 2;",
                              {"SELECT ';''', \";\", `;`, [;];", "SELECT 2;"}},
                    SplitCase{"semicolons_in_comments",
                              "SELECT 1 -- ;\n+ /* ; */ 2; SELECT 2",
                              {"SELECT 1 -- ;\n+ /* ; */ 2;", "SELECT 2"}},
                    SplitCase{
                        "parentheses", "SELECT (1 + (2 * (3)));SELECT 2", {"SELECT (1 + (2 * (3)));", "SELECT 2"}},
                    SplitCase{"comment_before_stays",
                              "-- the first\nSELECT 1;\n-- the second\nSELECT 2;",
                              {"-- the first\nSELECT 1;", "-- the second\nSELECT 2;"}},
                    SplitCase{"comment_behind_belongs_to_no_other",
                              "SELECT 1; -- the first\nSELECT 2; /* and\n this */ -- too\n",
                              {"SELECT 1;", "SELECT 2;"}},
                    SplitCase{"comment_behind_without_semicolon_stays", "SELECT 1 -- one", {"SELECT 1 -- one"}},
                    SplitCase{"trigger", kTrigger + "\nSELECT 1;", {kTrigger, "SELECT 1;"}},
                    SplitCase{"explained_trigger",
                              "explain query plan " + kTrigger + "SELECT 1;",
                              {"explain query plan " + kTrigger, "SELECT 1;"}},
                    SplitCase{"trigger_without_end",
                              "CREATE TRIGGER t BEGIN SELECT 1; SELECT 2;",
                              {"CREATE TRIGGER t BEGIN SELECT 1; SELECT 2;"}},
                    SplitCase{"trigger_elsewhere_is_a_word",
                              "CREATE TABLE trigger (a); DROP TRIGGER t; SELECT 1",
                              {"CREATE TABLE trigger (a);", "DROP TRIGGER t;", "SELECT 1"}},
                    SplitCase{"create_twice_begins_no_trigger",
                              "CREATE CREATE TRIGGER; SELECT 1",
                              {"CREATE CREATE TRIGGER;", "SELECT 1"}},
                    SplitCase{"transaction", "BEGIN; SELECT 1; END;", {"BEGIN;", "SELECT 1;", "END;"}},
                    SplitCase{"shell_commands", ".mode box\n.headers on\nSELECT 1;\n.quit\n", {"SELECT 1;"}},
                    SplitCase{"shell_command_between", "SELECT 1;\n.mode box\nSELECT 2;", {"SELECT 1;", "SELECT 2;"}},
                    SplitCase{"point_within_a_statement", "SELECT a\n.b FROM a", {"SELECT a\n.b FROM a"}},
                    SplitCase{"number_with_a_point_first", ".5", {".5"}},
                    SplitCase{"unclosed_text", "SELECT 'a; SELECT 2;", {"SELECT 'a; SELECT 2;"}},
                    SplitCase{"line_ends_of_windows", "SELECT 1;\r\nSELECT\r\n2;\r\n", {"SELECT 1;", "SELECT\r\n2;"}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(SqlText, IsReadOnceHoweverLongItIs) {
  // What would start over at each of these takes minutes.
  constexpr std::size_t kTimes = 100000;
  for (const std::string piece :
       {"(", "'a''", "[", "/*", "/**/", "--\n", ";", ".m\n", "CREATE TRIGGER ", "END;", "\xC2\xA0"}) {
    std::string text;
    for (std::size_t i = 0; i < kTimes; ++i) text += piece;
    std::size_t size = 0;
    for (const std::string& statement : splitStatements(text)) size += statement.size();
    EXPECT_LE(size, text.size()) << piece;
  }
}

/// One of a database's own shell as a judge: what it takes for a whole statement, its pieces are not.
TEST(SqlText, IsSplitWhereSqliteSeesAStatementEnd) {
  constexpr std::array<const char*, 24> kPieces{";",  ";",  "END",  "BEGIN", "CREATE", "TEMP",      "TRIGGER", "SELECT",
                                                "'",  "\"", "`",    "[",     "]",      "--",        "\n",      "/*",
                                                "*/", "a",  "CASE", "1.5e-", "''",     "temporary", " ",       "("};
  constexpr int kTexts = 20000;
  std::mt19937 random(1);  // the same each time
  for (int i = 0; i < kTexts; ++i) {
    std::string sql;
    for (std::size_t pieces = random() % 30; pieces > 0; --pieces) {
      sql.append(kPieces.at(random() % kPieces.size())).append(random() % 4 == 0 ? "" : " ");
    }
    const std::vector<std::string> statements = splitStatements(sql);
    for (const std::string& statement : statements) {
      const bool isLast = &statement == &statements.back();
      ASSERT_TRUE(isLast || sqlite3_complete(statement.c_str()) == 1) << sql << "\n=> " << statement;
      for (std::size_t end = 0; end + 1 < statement.size(); ++end) {
        if (statement[end] != ';') continue;
        const std::string begin = statement.substr(0, end + 1);
        ASSERT_TRUE(isEmptyStatement(begin) || sqlite3_complete(begin.c_str()) == 0) << sql << "\n=> " << statement;
      }
    }
  }
}

TEST(Statement, IsTidiedOfBlanksAroundItAlone) {
  EXPECT_EQ(tidyStatement("\n -- why\nSELECT  1 ; -- so \n"), "-- why\nSELECT  1 ; -- so");
}

struct EmptyCase {
  const char* name;
  std::string sql;
  bool isEmpty;
};
class EmptyStatement : public testing::TestWithParam<EmptyCase> {};

TEST_P(EmptyStatement, IsTold) { EXPECT_EQ(isEmptyStatement(GetParam().sql), GetParam().isEmpty); }

INSTANTIATE_TEST_SUITE_P(Texts, EmptyStatement,
                         testing::Values(EmptyCase{"nothing", "", true}, EmptyCase{"blanks", " \n", true},
                                         EmptyCase{"semicolons", " ; ;", true},
                                         EmptyCase{"comments", "-- SELECT 1\n/* x", true},
                                         EmptyCase{"a_word", "-- x\nSELECT", false}, EmptyCase{"a_text", "''", false}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
