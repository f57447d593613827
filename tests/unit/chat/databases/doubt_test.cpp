// What speaks against results: values that are not there, rows that are added up repeatedly.
#include "database_fixture.h"

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class Doubt : public DatabaseFile {
 protected:
  NearValues findNear(const std::string& table, const std::string& column, const std::string& literal) {
    return database().findNearValues({table, column}, literal, 10s);
  }
};

TEST_F(Doubt, AValueThatIsThereIsFound) {
  open();
  const NearValues near = findNear("customers", "country", "AT");
  EXPECT_EQ(near.presence, Presence::There);
  EXPECT_THAT(near.others, IsEmpty());
  EXPECT_EQ(findNear("lines", "quantity", "2").presence, Presence::There) << "a number, too";
}

TEST_F(Doubt, OthersThanAMissingValueComeMostFrequentFirst) {
  open();
  const NearValues near = findNear("customers", "country", "Germany");
  EXPECT_EQ(near.presence, Presence::Absent);
  EXPECT_THAT(near.others, ElementsAre("AT", "CH"));
}

TEST_F(Doubt, OthersThanAMissingValueComeNearestFirst) {
  open(
      "CREATE TABLE t(value); INSERT INTO t VALUES('x'), ('x'), ('x'), ('Alice Smith'), (' alice'), (NULL), (x'00'), "
      "('')");
  EXPECT_THAT(findNear("t", "value", "Alice").others, ElementsAre(" alice", "Alice Smith", "x"));
}

TEST_F(Doubt, AtMostFiveOthersAreTold) {
  open(
      "CREATE TABLE t(a); INSERT INTO t SELECT value FROM json_each('[1,2,3,4,5,6,7,8]');"
      "INSERT INTO t VALUES(printf('%.*c', 81, 'x'))");
  EXPECT_THAT(findNear("t", "a", "nine").others, ElementsAre("1", "2", "3", "4", "5"));
}

TEST_F(Doubt, NamesAndLiteralsAreTakenAsTheyStand) {
  open("CREATE TABLE \"a \"\"b\"(\"c \"\"d\"); INSERT INTO \"a \"\"b\" VALUES('it''s')");
  EXPECT_EQ(findNear("a \"b", "c \"d", "it's").presence, Presence::There);
  EXPECT_EQ(findNear("a \"b", "c \"d", "' OR 1 --").presence, Presence::Absent);
  EXPECT_THROW(findNear("a \"b", "nothing", "x"), QueryError);
  EXPECT_THROW(findNear("nothing", "x", "x"), QueryError);
}

TEST_F(Doubt, WhatTakesTooLongStaysUnknown) {
  open("CREATE VIEW endless AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT i FROM n");
  const NearValues near = database().findNearValues({"endless", "i"}, "x", 50ms);
  EXPECT_EQ(near.presence, Presence::Unknown);
  EXPECT_THAT(database().findRepeatedRows("SELECT sum(o.i) FROM endless o", 50ms), IsEmpty());
}

struct RepeatedCase {
  const char* name;
  const char* sql;
  std::vector<RepeatedRows> told;
};

class SumOverAJoin : public DatabaseFile, public testing::WithParamInterface<RepeatedCase> {};

TEST_P(SumOverAJoin, IsDoubtedWhenItTakesRowsRepeatedly) {
  open();
  EXPECT_EQ(database().findRepeatedRows(GetParam().sql, 10s), GetParam().told);
  EXPECT_FALSE(fail(GetParam().sql)) << "the statement is a good one";
}

INSTANTIATE_TEST_SUITE_P(
    Repeated, SumOverAJoin,
    testing::Values(
        RepeatedCase{
            "alias", "SELECT SUM(o.total) FROM orders o JOIN lines l ON l.ord = o.id", {{"SUM(o.total)", "o"}}},
        RepeatedCase{"table_name",
                     "SELECT sum(orders.total) FROM orders JOIN lines ON ord = id",
                     {{"sum(orders.total)", "orders"}}},
        RepeatedCase{
            "no_name", "SELECT sum(total) FROM orders JOIN lines ON ord = orders.id", {{"sum(total)", "orders"}}},
        RepeatedCase{"in_an_expression",
                     "SELECT round(avg( o.total * 1.2 ), 2) FROM orders o, lines l WHERE l.ord = o.id",
                     {{"avg( o.total * 1.2 )", "o"}}},
        RepeatedCase{"in_groups",
                     "SELECT c.name, sum(o.total), count(l.product) FROM customers c JOIN orders o ON o.customer = "
                     "c.id JOIN lines l ON l.ord = o.id GROUP BY 1 HAVING sum(o.total) > 1 ORDER BY 2",
                     {{"sum(o.total)", "o"}}},
        RepeatedCase{
            "counted", "SELECT count(o.id) FROM orders o JOIN lines l ON l.ord = o.id", {{"count(o.id)", "o"}}},
        RepeatedCase{"in_a_cte",
                     "WITH a AS (SELECT sum(o.total) AS s FROM orders o JOIN lines l ON l.ord = o.id) SELECT s FROM a",
                     {{"sum(o.total)", "o"}}},
        RepeatedCase{"left_join",
                     "SELECT total(o.total) FROM orders o LEFT JOIN lines l ON l.ord = o.id",
                     {{"total(o.total)", "o"}}}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Once, SumOverAJoin,
    testing::Values(
        RepeatedCase{"one_table", "SELECT sum(total) FROM orders", {}},
        RepeatedCase{"the_many_side", "SELECT sum(l.quantity) FROM orders o JOIN lines l ON l.ord = o.id", {}},
        RepeatedCase{
            "one_line_each", "SELECT sum(o.total) FROM orders o JOIN lines l ON l.ord = o.id WHERE o.id > 10", {}},
        RepeatedCase{"once_in_each_group",
                     "SELECT l.product, sum(o.total) FROM orders o JOIN lines l ON l.ord = o.id GROUP BY l.rowid",
                     {}},
        RepeatedCase{
            "of_both_tables", "SELECT sum(o.total * l.quantity) FROM orders o JOIN lines l ON l.ord = o.id", {}},
        RepeatedCase{"distinct", "SELECT count(DISTINCT o.id) FROM orders o JOIN lines l ON l.ord = o.id", {}},
        RepeatedCase{"rows", "SELECT count(*) FROM orders o JOIN lines l ON l.ord = o.id", {}},
        RepeatedCase{"least", "SELECT min(o.total) FROM orders o JOIN lines l ON l.ord = o.id", {}},
        RepeatedCase{"running_total", "SELECT sum(o.total) OVER () FROM orders o JOIN lines l ON l.ord = o.id", {}},
        RepeatedCase{"in_a_text", "SELECT 'sum(o.total)' FROM orders o JOIN lines l ON l.ord = o.id", {}},
        RepeatedCase{"without_rowid", "SELECT sum(k.amount) FROM keyed k, lines l", {}},
        RepeatedCase{"of_a_subquery", "SELECT sum(o.t) FROM (SELECT total AS t FROM orders) o, lines l", {}},
        RepeatedCase{"only_nothing", "SELECT sum(c.data) FROM customers c JOIN lines l ON c.id = 3", {}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Doubt, ColumnsThatAreCalledRowidAreNotTakenForIt) {
  open(
      "CREATE TABLE a(rowid INT, x INT); INSERT INTO a VALUES(1, 1), (1, 2); CREATE TABLE b(y); INSERT INTO b "
      "VALUES(1)");
  EXPECT_THAT(database().findRepeatedRows("SELECT sum(a.x) FROM a, b", 10s), IsEmpty());
}

TEST_F(Doubt, OnlyStatementsThatReadAreLookedAt) {
  open();
  EXPECT_THAT(
      database().findRepeatedRows("DELETE FROM lines WHERE 1 = (SELECT sum(o.total) FROM orders o, lines l)", 10s),
      IsEmpty());
}

}  // namespace
