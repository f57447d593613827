// What is told of errors: to the user all, to others no value of any row.
#include "databases/query_error.h"

#include "database_fixture.h"

#include <set>

namespace {

using testing::HasSubstr;
using testing::Not;

struct ErrorCase {
  const char* name;
  const char* sql;
  QueryProblem problem;
  const char* told;
};

class StatementWithAnError : public DatabaseFile, public testing::WithParamInterface<ErrorCase> {};

TEST_P(StatementWithAnError, IsToldByItsKindAndItsNames) {
  const ErrorCase& row = GetParam();
  open();
  const auto error = fail(row.sql);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->problem, row.problem) << error->what();
  EXPECT_NE(error->engineText, "");
  EXPECT_THAT(error->what(), HasSubstr(error->engineText));
  EXPECT_EQ(describeWithoutValues(*error, database().readDescription(), row.sql), row.told);
}

INSTANTIATE_TEST_SUITE_P(
    Prepared, StatementWithAnError,
    testing::Values(
        ErrorCase{"table", "SELECT * FROM custmers", QueryProblem::NoSuchTable,
                  "there is no such table or view: custmers"},
        ErrorCase{"column", "SELECT totl FROM orders", QueryProblem::NoSuchColumn, "there is no such column: totl"},
        ErrorCase{"column_of_alias", "SELECT o.Totl FROM orders o", QueryProblem::NoSuchColumn,
                  "there is no such column: o.Totl"},
        ErrorCase{"column_in_brackets", "SELECT [a b] FROM orders", QueryProblem::NoSuchColumn,
                  "there is no such column: a b"},
        ErrorCase{"forgotten_quotes", "SELECT 1 FROM customers WHERE name = Alice", QueryProblem::NoSuchColumn,
                  "there is no such column: Alice"},
        ErrorCase{"ambiguous", "SELECT id FROM customers, orders", QueryProblem::AmbiguousColumn,
                  "the column name is ambiguous: id"},
        ErrorCase{"function", "SELECT year(1)", QueryProblem::NoSuchFunction, "there is no such function: year"},
        ErrorCase{"arguments", "SELECT abs(1, 2)", QueryProblem::WrongArguments, "a function has wrong arguments: abs"},
        ErrorCase{"aggregate", "SELECT 1 FROM orders WHERE sum(total) > 1", QueryProblem::MisusedAggregate,
                  "an aggregate or window function stands where it can't: sum"},
        ErrorCase{"counts_of_columns", "SELECT 1 UNION SELECT 1, 2", QueryProblem::ColumnCounts,
                  "the numbers of columns do not match"},
        ErrorCase{"column_to_insert", "INSERT INTO orders(totl) VALUES(1)", QueryProblem::NoSuchColumn,
                  "there is no such column: totl"},
        ErrorCase{"syntax", "SELECT * FORM orders", QueryProblem::Syntax, "there is a syntax error: FORM"},
        ErrorCase{"syntax_at_a_literal", "SELECT 1 FROM customers WHERE name 'Alice'", QueryProblem::Syntax,
                  "there is a syntax error"},
        ErrorCase{"unfinished", "SELECT * FROM", QueryProblem::Syntax, "there is a syntax error"},
        ErrorCase{"unclosed", "SELECT 'Alice", QueryProblem::Syntax, "there is a syntax error"},
        ErrorCase{"module", "SELECT * FROM orders NATURAL JOIN generate_nothing(1)", QueryProblem::NoSuchTable,
                  "there is no such table or view: generate_nothing"},
        ErrorCase{"collation", "SELECT name FROM customers ORDER BY 1 COLLATE german", QueryProblem::NoSuchObject,
                  "there is no such index, module or collation: german"}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(Running, StatementWithAnError,
                         testing::Values(ErrorCase{"json", "SELECT json_extract(name, '$.a') FROM customers",
                                                   QueryProblem::BadJson, "a value or path is no good JSON"},
                                         ErrorCase{"json_path", "SELECT json_extract(data, name) FROM customers",
                                                   QueryProblem::BadJson, "a value or path is no good JSON"},
                                         ErrorCase{"overflow", "SELECT sum(9223372036854775807) FROM customers",
                                                   QueryProblem::Overflow, "an integer overflows"},
                                         ErrorCase{"absolute_value", "SELECT abs(-9223372036854775807 - 1)",
                                                   QueryProblem::Overflow, "an integer overflows"},
                                         ErrorCase{"pattern", "SELECT 1 LIKE printf('%.*c', 60000, 'x')",
                                                   QueryProblem::TooComplex, "the statement is too complex"}),
                         [](const auto& row) { return std::string(row.param.name); });

/// Statements that make the engine quote what stands in a row.
class ErrorThatQuotesARow : public DatabaseFile, public testing::WithParamInterface<const char*> {};

TEST_P(ErrorThatQuotesARow, IsToldWithoutItsValue) {
  const std::string sql = GetParam();
  const bool needsFullText = sql.find("MATCH") != std::string::npos;
  if (needsFullText && sqlite3_compileoption_used("ENABLE_FTS5") == 0) GTEST_SKIP() << "no FTS5";
  open("CREATE TABLE t(a); INSERT INTO t VALUES('canary'); CREATE TABLE j(a); INSERT INTO j VALUES('{}');" +
       std::string(needsFullText ? "CREATE VIRTUAL TABLE f USING fts5(x); INSERT INTO f VALUES('x');" : ""));
  const auto error = fail(sql);
  ASSERT_TRUE(error);
  EXPECT_THAT(error->engineText, HasSubstr("canary")) << "the case is none";
  EXPECT_EQ(error->name, "");
  EXPECT_THAT(describeWithoutValues(*error, database().readDescription(), sql), Not(HasSubstr("canary")));
}

INSTANTIATE_TEST_SUITE_P(Statements, ErrorThatQuotesARow,
                         testing::Values("SELECT json_extract(j.a, t.a) FROM t, j",
                                         "SELECT * FROM f WHERE f MATCH (SELECT a || ':x' FROM t)",
                                         "SELECT json_set(j.a, t.a, 1) FROM t, j"));

TEST(DescribeWithoutValues, NeverTakesTheEnginesWords) {
  const QueryError error(QueryProblem::BadJson, "", "JSON path error near 'Alice'");
  EXPECT_EQ(describeWithoutValues(error, {}, "SELECT Alice"), "a value or path is no good JSON");
}

struct NameCase {
  const char* name;
  const char* given;
  const char* sql;
  bool isTold;
};

class NameInAnError : public testing::TestWithParam<NameCase> {};

TEST_P(NameInAnError, IsToldWhenTheSchemaOrTheStatementHasIt) {
  DatabaseDescription database;
  database.schemas.push_back(
      {.name = "aux",
       .tables =
           {{.name = "Orders", .columns = {{"total", "REAL"}, {"a.b", "TEXT"}}, .primaryKey = {}, .foreignKeys = {}}},
       .views = {{.name = "sales", .columns = {}, .primaryKey = {}, .foreignKeys = {}}}});
  const QueryError error(QueryProblem::NoSuchColumn, GetParam().given, "some words");
  const std::string words = "there is no such column";
  EXPECT_EQ(describeWithoutValues(error, database, GetParam().sql),
            GetParam().isTold ? words + ": " + GetParam().given : words);
}

INSTANTIATE_TEST_SUITE_P(
    Sources, NameInAnError,
    testing::Values(NameCase{"table", "orders", "", true}, NameCase{"column", "TOTAL", "", true},
                    NameCase{"view", "sales", "", true}, NameCase{"schema", "aux.orders", "", true},
                    NameCase{"main", "main.sales", "", true}, NameCase{"column_with_a_dot", "a.b", "", true},
                    NameCase{"in_the_statement", "o.totl", "SELECT o.Totl", true},
                    NameCase{"in_the_statement_in_quotes", "Al ice", "SELECT \"Al ice\", `x`", true},
                    NameCase{"nowhere", "Alice", "SELECT 1", false},
                    NameCase{"half_of_it", "orders.Alice", "SELECT 1", false},
                    NameCase{"empty_half", "orders.", "SELECT 1", false},
                    NameCase{"in_a_text", "Alice", "SELECT 'Alice'", false},
                    NameCase{"in_a_text_with_quotes", "Alice", "SELECT 'it''s \"Alice\"'", false},
                    NameCase{"in_a_comment", "Alice", "SELECT 1 -- Alice\n /* Alice */", false},
                    NameCase{"part_of_a_word", "Ali", "SELECT Alice", false}, NameCase{"none", "", "SELECT 1", false}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(QueryProblems, HaveWordsOfTheirOwn) {
  std::set<std::string_view> all;
  for (int problem = 0; problem <= static_cast<int>(QueryProblem::Other); ++problem)
    all.insert(describe(static_cast<QueryProblem>(problem)));
  EXPECT_EQ(all.size(), static_cast<std::size_t>(QueryProblem::Other) + 1);
}

}  // namespace
