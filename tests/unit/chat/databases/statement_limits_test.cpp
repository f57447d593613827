// What would take for ever, or all memory, ends soon and says why.
#include "database_fixture.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr const char* kEndless = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT max(i) FROM n";
constexpr std::chrono::seconds kSoon{30};  // on machines that may be slow and checked by a sanitizer

RunLimits within(std::chrono::milliseconds deadline) {
  RunLimits limits;
  limits.deadline = deadline;
  return limits;
}

class StatementLimits : public DatabaseFile {};

TEST_F(StatementLimits, ADeadlineEndsAnEndlessQuery) {
  open();
  EXPECT_EQ(fail(kEndless, within(50ms)).value().problem, QueryProblem::TooLong);
  EXPECT_EQ(run("SELECT 1").rows.size(), 1U) << "the next one runs";
}

TEST_F(StatementLimits, AnInterruptFromAnotherThreadEndsAnEndlessQuery) {
  open();
  std::thread other([&] {
    std::this_thread::sleep_for(50ms);
    database().interrupt();
  });
  EXPECT_EQ(fail(kEndless, within(10min)).value().problem, QueryProblem::Interrupted);
  other.join();
}

TEST_F(StatementLimits, AnInterruptThatComesEarlyIsNotLost) {
  open();
  database().interrupt();
  EXPECT_EQ(fail(kEndless, within(10min)).value().problem, QueryProblem::Interrupted);
  EXPECT_THROW(database().check("SELECT 1"), QueryError);
  EXPECT_THROW(database().findNearValues({"customers", "country"}, "x", 1s), QueryError);
}

TEST_F(StatementLimits, AnInterruptThatComesLateDoesNotEndTheNext) {
  open();
  run("SELECT 1");
  database().interrupt();
  database().dropLateInterrupt();
  EXPECT_EQ(run("SELECT 1 FROM customers").rows.size(), 3U);
}

TEST_F(StatementLimits, RowsAreCutAtTheirNumber) {
  open();
  RunLimits limits;
  limits.rows = 2;
  const Result result = database().run("SELECT id FROM customers", limits);
  EXPECT_EQ(result.rows.size(), 2U);
  EXPECT_TRUE(result.isCut);
  EXPECT_FALSE(database().run("SELECT id FROM customers LIMIT 2", limits).isCut);
}

TEST_F(StatementLimits, RowsWithoutAnEndAreCut) {
  open();
  const Result result = run("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i FROM n");
  EXPECT_EQ(result.rows.size(), RunLimits().rows);
  EXPECT_TRUE(result.isCut);
}

TEST_F(StatementLimits, RowsAreCutAtTheirBytes) {
  open();
  RunLimits limits;
  limits.bytes = 10'000;
  const Result result = database().run("SELECT zeroblob(1000) FROM customers a, customers b, customers c", limits);
  EXPECT_EQ(result.rows.size(), 9U);
  EXPECT_TRUE(result.isCut);
}

TEST_F(StatementLimits, RowsOfManySmallValuesAreCutAtTheirBytes) {
  open();
  std::string sql = "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i";
  for (int column = 1; column < 1000; ++column) sql += ", i";
  RunLimits limits;
  limits.bytes = 1 << 20;
  EXPECT_LT(database().run(sql + " FROM n", limits).rows.size(), 100U);
}

struct BombCase {
  const char* name;
  const char* sql;
};

class Bomb : public DatabaseFile, public testing::WithParamInterface<BombCase> {};

TEST_P(Bomb, EndsSoonWithinItsMemory) {
  open();
  const sqlite3_int64 before = sqlite3_memory_used();
  sqlite3_memory_highwater(1);
  const auto start = std::chrono::steady_clock::now();
  const auto error = fail(GetParam().sql, within(2s));
  ASSERT_TRUE(error);
  EXPECT_THAT(error->problem,
              testing::AnyOf(QueryProblem::TooLarge, QueryProblem::TooMuchMemory, QueryProblem::TooLong));
  EXPECT_LT(std::chrono::steady_clock::now() - start, kSoon);
  EXPECT_LE(sqlite3_memory_highwater(0) - before, RunLimits().heap);
  EXPECT_EQ(run("SELECT 1 FROM customers").rows.size(), 3U) << "the next one runs";
}

INSTANTIATE_TEST_SUITE_P(
    Statements, Bomb,
    testing::Values(BombCase{"zeroblob", "SELECT length(hex(zeroblob(1000000000)))"},
                    BombCase{"zeroblob_as_it_is", "SELECT zeroblob(1000000000)"},
                    BombCase{"randomblob", "SELECT randomblob(1000000000)"},
                    BombCase{"replace", "SELECT replace(hex(zeroblob(10000)), '0', hex(zeroblob(10000)))"},
                    BombCase{"group_concat",
                             "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) "
                             "SELECT group_concat(hex(zeroblob(100000))) FROM n"},
                    BombCase{"json_group_array",
                             "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) "
                             "SELECT json_group_array(hex(zeroblob(100000))) FROM n"},
                    BombCase{"doubling",
                             "WITH RECURSIVE n(i) AS (SELECT 'x' UNION ALL SELECT i||i FROM n) SELECT max(i) FROM n"},
                    BombCase{"large_values_kept",
                             "SELECT count(*) FROM (SELECT a.value, zeroblob(30000000) AS z "
                             "FROM json_each('[1,2,3,4,5,6,7,8]') a), "
                             "json_each('[' || substr(replace(hex(zeroblob(9000000)),'00','1,'),1,9000001) || ']')"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(StatementLimits, FormattedTextsStayWithinTheirBounds) {
  open();
  // SQLite gives nothing, or a shorter text, and no error.
  for (const char* sql :
       {"SELECT length(printf('%.*c', 100000000, 'x'))", "SELECT length(printf('%1000000000d', 1))"}) {
    const sqlite3_int64 before = sqlite3_memory_used();
    sqlite3_memory_highwater(1);
    fail(sql);
    EXPECT_LE(sqlite3_memory_highwater(0) - before, RunLimits().heap) << sql;
  }
}

/// View d16 stands for 65,536 others.
std::string doubledViews() {
  std::string sql = "CREATE TABLE t(a); CREATE VIEW d0 AS SELECT * FROM t;";
  for (int i = 1; i <= 16; ++i) {
    const std::string earlier = "d" + std::to_string(i - 1);
    sql += "CREATE VIEW d" + std::to_string(i) + " AS SELECT x.a FROM " + earlier + " x, " + earlier + " y;";
  }
  return sql;
}

TEST_F(StatementLimits, ViewsThatStandForMillionsOfOthersTakeTooMuchMemory) {
  open(doubledViews());
  for (const auto* sql : {"SELECT * FROM d16", "EXPLAIN SELECT * FROM d16"}) {
    const auto error = fail(sql);
    ASSERT_TRUE(error);
    EXPECT_STREQ(error->what(), "It needs too much memory");
  }
  EXPECT_THROW(database().check("SELECT * FROM d16"), QueryError);
  EXPECT_THROW(database().explain("SELECT * FROM d16"), QueryError);
  EXPECT_FALSE(fail("SELECT * FROM d3"));
  EXPECT_EQ(sqlite3_hard_heap_limit64(-1), 0) << "the limit is gone";
}

TEST_F(StatementLimits, AStatementLongerThanAMebibyteIsTooComplex) {
  open();
  EXPECT_EQ(fail("SELECT 1 --" + std::string(1 << 20, 'x')).value().problem, QueryProblem::TooComplex);
}

TEST_F(StatementLimits, DeepExpressionsAreTooComplex) {
  open();
  std::string sql = "SELECT 1";
  for (int i = 0; i < 2000; ++i) sql += "+1";
  EXPECT_EQ(fail(sql).value().problem, QueryProblem::TooComplex);
}

TEST_F(StatementLimits, TheTimeThatItTookIsTold) {
  open();
  EXPECT_GE(run("SELECT 1").time.count(), 0);
}

}  // namespace
