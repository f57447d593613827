// Statements that read: all that SQLite has for that works, and nothing about the file changes.
#include "database_fixture.h"

#include <algorithm>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

struct ReadCase {
  const char* name;
  const char* sql;
  std::size_t rows;
  const char* needs = "";  // an option that SQLite was compiled with
};

class StatementThatReads : public DatabaseFile, public testing::WithParamInterface<ReadCase> {};

TEST_P(StatementThatReads, RunsAndChangesNothing) {
  const std::string needed = GetParam().needs;
  if (!needed.empty() && sqlite3_compileoption_used(GetParam().needs) == 0)
    GTEST_SKIP() << "SQLite was compiled without the option " << needed;
  open(std::string(kShop) + (needed.empty() ? "" : kVirtualTables));
  const auto before = contents();
  const StatementCheck check = database().check(GetParam().sql);
  EXPECT_EQ(check.effect, Effect::Reads) << check.reason;
  EXPECT_TRUE(check.isSingle);
  EXPECT_EQ(check.reason, "");
  const Result result = run(GetParam().sql);
  EXPECT_EQ(result.rows.size(), GetParam().rows);
  EXPECT_FALSE(result.isCut);
  EXPECT_EQ(contents(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, StatementThatReads,
    testing::Values(
        ReadCase{"plain", "SELECT * FROM customers", 3}, ReadCase{"constant", "SELECT 1", 1},
        ReadCase{"values", "VALUES (1), (2)", 2},
        ReadCase{"semicolon_and_comments", " /* a */ SELECT 1; -- b ;\n ;", 1},
        ReadCase{"join", "SELECT c.name FROM customers c JOIN orders o ON o.customer = c.id", 3},
        ReadCase{"left_join", "SELECT c.name, o.id FROM customers c LEFT JOIN orders o ON o.customer = c.id", 4},
        ReadCase{"full_join", "SELECT * FROM customers c FULL JOIN orders o ON o.customer = c.id", 4},
        ReadCase{"group", "SELECT country, count(*) FROM customers GROUP BY 1 HAVING count(*) > 1", 1},
        ReadCase{"subquery", "SELECT name FROM customers WHERE id IN (SELECT customer FROM orders)", 2},
        ReadCase{"exists", "SELECT 1 FROM customers c WHERE EXISTS (SELECT 1 FROM orders WHERE customer = c.id)", 2},
        ReadCase{"cte", "WITH a AS MATERIALIZED (SELECT * FROM customers) SELECT * FROM a, a b", 9},
        ReadCase{"recursive", "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<5) SELECT * FROM n",
                 5},
        ReadCase{"window", "SELECT name, row_number() OVER (PARTITION BY country ORDER BY name) FROM customers", 3},
        ReadCase{"compound", "SELECT 1 UNION SELECT 2 EXCEPT SELECT 2 ORDER BY 1", 1},
        ReadCase{"view", "SELECT * FROM totals", 2}, ReadCase{"without_rowid", "SELECT * FROM keyed", 1},
        ReadCase{"functions", "SELECT upper(name), strftime('%Y', 'now'), printf('%d', 1), abs(-1) FROM customers", 3},
        ReadCase{"like_and_glob", "SELECT 1 FROM customers WHERE name LIKE 'a%' OR name GLOB 'B*'", 2},
        ReadCase{"json_each", "SELECT j.value FROM customers c, json_each(c.data, '$.a') j", 2},
        ReadCase{"json_tree", "SELECT fullkey FROM json_tree('{\"a\":[1,2]}')", 4},
        ReadCase{"json_arrow", "SELECT data ->> '$.a[0]' FROM customers", 3},
        ReadCase{"schema_table", "SELECT name FROM sqlite_schema WHERE type = 'view'", 1},
        ReadCase{"table_info", "SELECT name FROM pragma_table_info('orders')", 3},
        ReadCase{"table_xinfo_of_all",
                 "SELECT m.name, x.name FROM sqlite_schema m, pragma_table_xinfo(m.name) x WHERE m.type='table'", 12},
        ReadCase{"table_list", "SELECT 1 FROM pragma_table_list WHERE schema = 'main' AND type = 'table'", 5},
        ReadCase{"foreign_key_list", "SELECT * FROM pragma_foreign_key_list('orders')", 1},
        ReadCase{"foreign_key_check", "SELECT * FROM pragma_foreign_key_check", 0},
        ReadCase{"index_list", "SELECT * FROM pragma_index_list('customers')", 1},
        ReadCase{"pragma_statement", "PRAGMA table_info(orders)", 3},
        ReadCase{"user_version", "PRAGMA user_version", 1},
        ReadCase{"explain_plan", "EXPLAIN QUERY PLAN SELECT * FROM keyed", 1},
        ReadCase{"fts5", "SELECT text FROM notes WHERE notes MATCH 'red' ORDER BY rank", 1, "ENABLE_FTS5"},
        ReadCase{
            "fts5_functions",
            "SELECT snippet(notes, 0, '[', ']', '', 5), bm25(notes), highlight(notes, 0, '<', '>') FROM notes('ink')",
            1, "ENABLE_FTS5"},
        ReadCase{"fts4", "SELECT snippet(old) FROM old WHERE text MATCH 'pen'", 1, "ENABLE_FTS4"},
        ReadCase{"rtree", "SELECT id FROM boxes WHERE x0 < 0.5 AND y1 > 0.5", 1, "ENABLE_RTREE"},
        ReadCase{"rtree_with_fts5", "SELECT * FROM boxes, notes", 2, "ENABLE_RTREE"},
        ReadCase{"dbstat", "SELECT count(*) FROM dbstat", 1, "ENABLE_DBSTAT_VTAB"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(DatabaseFile, CheckTellsTheColumnsThatAreRead) {
  open();
  EXPECT_THAT(database()
                  .check("SELECT c.name, count(*) FROM customers c JOIN orders o ON o.customer = c.id "
                         "WHERE c.country = 'Germany' GROUP BY c.name")
                  .columnsRead,
              UnorderedElementsAre(ColumnName{"customers", "name"}, ColumnName{"customers", "country"},
                                   ColumnName{"customers", "id"}, ColumnName{"orders", "customer"}));
}

TEST_F(DatabaseFile, CheckTellsTheColumnsBehindAView) {
  open();
  EXPECT_THAT(database().check("SELECT total FROM totals").columnsRead,
              testing::IsSupersetOf({ColumnName{"orders", "customer"}, ColumnName{"orders", "total"}}));
}

TEST_F(DatabaseFile, CheckTellsNoColumnsOfTheTablesBehindVirtualOnes) {
  if (sqlite3_compileoption_used("ENABLE_FTS5") == 0 || sqlite3_compileoption_used("ENABLE_RTREE") == 0)
    GTEST_SKIP() << "SQLite was compiled without FTS5 or R-Tree";
  open(std::string(kShop) + kVirtualTables);
  EXPECT_THAT(database().check("SELECT n.text FROM notes n, boxes b").columnsRead,
              ElementsAre(ColumnName{"notes", "text"}));
}

TEST_F(DatabaseFile, CheckRunsNothing) {
  open();
  // It would take for ever.
  EXPECT_EQ(
      database().check("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT max(i) FROM n").effect,
      Effect::Reads);
}

TEST_F(DatabaseFile, ValuesComeAsTheyStand) {
  open();
  const Result result = run("SELECT 1 AS a, 2.5 AS b, 'ü' AS a, x'00ff' AS d, NULL AS e, '' AS f, x'' AS g");
  EXPECT_THAT(result.columns, ElementsAre("a", "b", "a", "d", "e", "f", "g"));
  ASSERT_EQ(result.rows.size(), 1U);
  EXPECT_THAT(result.rows.front(), ElementsAre(Value(std::int64_t{1}), Value(2.5), Value(std::string("ü")),
                                               Value(Blob{std::string("\0\xff", 2)}), Value(std::monostate()),
                                               Value(std::string()), Value(Blob{})));
}

TEST_F(DatabaseFile, TextsOfUtf16DatabasesComeAsUtf8) {
  open("PRAGMA encoding='UTF-16le'; CREATE TABLE t(a); INSERT INTO t VALUES('ü€')");
  EXPECT_EQ(run("SELECT a FROM t").rows.front().front(), Value(std::string("ü€")));
}

TEST_F(DatabaseFile, ExplainTellsThePlanAndRunsNothing) {
  open();
  const Result plan = database().explain("SELECT * FROM (SELECT name FROM customers UNION SELECT product FROM lines)");
  EXPECT_THAT(plan.columns, ElementsAre("plan"));
  ASSERT_GT(plan.rows.size(), 2U);
  EXPECT_TRUE(std::any_of(plan.rows.begin(), plan.rows.end(),
                          [](const auto& row) { return std::get<std::string>(row.front()).starts_with("  "); }));
  EXPECT_THAT(database().explain("DELETE FROM customers WHERE id > 1").rows, testing::Not(IsEmpty()));
  EXPECT_EQ(run("SELECT 1 FROM customers").rows.size(), 3U);
}

TEST_F(DatabaseFile, InWriteAheadModeNothingIsLeftBesideTheFile) {
  open(std::string("PRAGMA journal_mode=WAL;") + kShop);
  const auto before = contents();
  ASSERT_EQ(before.size(), 1U);
  EXPECT_EQ(run("SELECT 1 FROM customers").rows.size(), 3U);
  EXPECT_EQ(contents(), before);
}

TEST_F(DatabaseFile, WhatAnotherProgramWritesInWriteAheadModeIsSeen) {
  open(std::string("PRAGMA journal_mode=WAL;") + kShop);
  EXPECT_EQ(run("SELECT 1 FROM customers").rows.size(), 3U);
  {
    const SqliteConnection other = writer("a.db", "DELETE FROM customers WHERE id = 3");
    EXPECT_EQ(run("SELECT 1 FROM customers").rows.size(), 2U) << "from its log";
  }
  EXPECT_EQ(run("SELECT 1 FROM customers").rows.size(), 2U) << "from the file";
}

}  // namespace
