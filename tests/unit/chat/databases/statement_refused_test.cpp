// Statements that do more than read: each is told from others, and none has any effect when it is run.
#include "database_fixture.h"

namespace {

using testing::HasSubstr;

struct RefusedCase {
  const char* name;
  const char* sql;
  Effect effect;
  const char* reason;
};

class StatementThatDoesMore : public DatabaseFile, public testing::WithParamInterface<RefusedCase> {};

TEST_P(StatementThatDoesMore, IsToldAndNotRun) {
  open();
  const auto before = contents();
  const StatementCheck check = database().check(GetParam().sql);
  EXPECT_EQ(check.effect, GetParam().effect);
  EXPECT_THAT(check.reason, HasSubstr(GetParam().reason));
  const auto error = fail(GetParam().sql);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->problem, QueryProblem::NotAllowed);
  EXPECT_THAT(error->what(), HasSubstr(GetParam().reason));
  EXPECT_EQ(contents(), before);
  EXPECT_EQ(std::get<std::int64_t>(run("PRAGMA user_version").rows.front().front()), 0);
}

constexpr Effect kWrites = Effect::Writes;
constexpr Effect kRefused = Effect::Refused;

INSTANTIATE_TEST_SUITE_P(
    Rows, StatementThatDoesMore,
    testing::Values(
        RefusedCase{"insert", "INSERT INTO lines VALUES(1, 'a', 1)", kWrites, "would insert rows into lines"},
        RefusedCase{"insert_returning", "INSERT INTO lines VALUES(1, 'a', 1) RETURNING *", kWrites,
                    "insert rows into lines"},
        RefusedCase{"replace", "REPLACE INTO customers(id) VALUES(1)", kWrites, "insert rows into customers"},
        RefusedCase{"upsert", "INSERT INTO keyed VALUES('x', 2) ON CONFLICT DO UPDATE SET amount = 3", kWrites,
                    "insert rows into keyed"},
        RefusedCase{"update", "UPDATE customers SET name = 'x'", kWrites, "would update rows of customers"},
        RefusedCase{"update_from", "UPDATE customers SET name = 'x' FROM orders WHERE customer = customers.id", kWrites,
                    "update rows of customers"},
        RefusedCase{"delete", "DELETE FROM customers", kWrites, "would delete rows of customers"},
        RefusedCase{"delete_after_cte", "WITH a AS (SELECT 1) DELETE FROM orders WHERE id IN a", kWrites,
                    "delete rows of orders"},
        RefusedCase{"delete_none", "DELETE FROM customers WHERE 0", kWrites, "delete rows of customers"},
        RefusedCase{"commented", "/* SELECT */ -- x\n DELETE FROM customers", kWrites, "delete rows of customers"}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Structure, StatementThatDoesMore,
    testing::Values(
        RefusedCase{"create_table", "CREATE TABLE n(a)", kWrites, "would create the table n"},
        RefusedCase{"create_table_as", "CREATE TABLE n AS SELECT * FROM orders", kWrites, "create the table n"},
        RefusedCase{"create_temporary_table", "CREATE TEMP TABLE n(a)", kWrites, "create the table n"},
        RefusedCase{"create_virtual_table", "CREATE VIRTUAL TABLE n USING fts4(a)", kWrites, "create the table n"},
        RefusedCase{"create_view", "CREATE VIEW n AS SELECT 1", kWrites, "create the view n"},
        RefusedCase{"create_index", "CREATE INDEX n ON orders(total)", kWrites, "create the index n"},
        RefusedCase{"create_trigger", "CREATE TRIGGER n AFTER DELETE ON orders BEGIN SELECT 1; END", kWrites,
                    "create the trigger n"},
        RefusedCase{"drop_table", "DROP TABLE orders", kWrites, "drop the table orders"},
        RefusedCase{"drop_view", "DROP VIEW totals", kWrites, "drop the view totals"},
        RefusedCase{"drop_index", "DROP INDEX by_country", kWrites, "drop the index by_country"},
        RefusedCase{"rename", "ALTER TABLE orders RENAME TO o2", kWrites, "alter the table orders"},
        RefusedCase{"add_column", "ALTER TABLE orders ADD COLUMN x", kWrites, "alter the table orders"},
        RefusedCase{"drop_column", "ALTER TABLE lines DROP COLUMN product", kWrites, "alter the table lines"},
        RefusedCase{"reindex", "REINDEX", kWrites, "rebuild the index"},
        RefusedCase{"analyze", "ANALYZE", kWrites, "gather statistics"}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Beyond, StatementThatDoesMore,
    testing::Values(
        RefusedCase{"attach", "ATTACH 'b.db' AS b", kRefused, "attach another database file"},
        RefusedCase{"detach", "DETACH main", kRefused, "detach a database file"},
        RefusedCase{"vacuum", "VACUUM", kRefused, "can't be taken back"},
        RefusedCase{"vacuum_into", "VACUUM INTO 'copy.db'", kRefused, "can't be taken back"},
        RefusedCase{"begin", "BEGIN", kRefused, "begin or end a transaction"},
        RefusedCase{"commit", "COMMIT", kRefused, "begin or end a transaction"},
        RefusedCase{"rollback", "ROLLBACK", kRefused, "begin or end a transaction"},
        RefusedCase{"savepoint", "SAVEPOINT a", kRefused, "begin or end a transaction"},
        RefusedCase{"release", "RELEASE a", kRefused, "begin or end a transaction"},
        RefusedCase{"writable_schema", "PRAGMA writable_schema=1", kRefused, "PRAGMA writable_schema is not one"},
        RefusedCase{"user_version", "PRAGMA user_version=7", kRefused, "PRAGMA user_version is not one"},
        RefusedCase{"query_only", "PRAGMA main.query_only(0)", kRefused, "PRAGMA query_only"},
        RefusedCase{"journal_mode", "PRAGMA journal_mode=WAL", kRefused, "PRAGMA journal_mode"},
        RefusedCase{"checkpoint", "PRAGMA wal_checkpoint(TRUNCATE)", kRefused, "PRAGMA wal_checkpoint"},
        RefusedCase{"temp_store_directory", "PRAGMA temp_store_directory='/'", kRefused, "PRAGMA temp_store_directory"},
        RefusedCase{"optimize", "PRAGMA optimize", kRefused, "PRAGMA optimize"},
        RefusedCase{"heap_limit", "PRAGMA hard_heap_limit=1", kRefused, "PRAGMA hard_heap_limit"},
        RefusedCase{"integrity_check", "PRAGMA integrity_check", kRefused, "PRAGMA integrity_check"},
        RefusedCase{"explained_pragma", "EXPLAIN PRAGMA writable_schema=1", kRefused, "PRAGMA writable_schema"},
        RefusedCase{"load_extension", "SELECT load_extension('x.so')", kRefused,
                    "function load_extension reaches beyond"},
        RefusedCase{"several", "SELECT 1; DELETE FROM customers", kRefused, "more than one statement"},
        RefusedCase{"several_with_bad", "SELECT 1; nonsense", kRefused, "more than one statement"},
        RefusedCase{"none", " -- nothing\n;", kRefused, "There is no statement"},
        RefusedCase{"empty", "", kRefused, "There is no statement"},
        RefusedCase{"parameters", "SELECT * FROM orders WHERE id = :id", kRefused, "It has parameters"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(DatabaseFile, TheTokenizersOfFullTextSearchAreOutOfReach) {
  if (sqlite3_compileoption_used("ENABLE_FTS3_TOKENIZER") == 0) GTEST_SKIP() << "this SQLite has no fts3_tokenizer";
  open();
  for (const char* sql : {"SELECT fts3_tokenizer('x', x'00')", "SELECT hex(FTS3_Tokenizer('simple'))"})
    EXPECT_THAT(database().check(sql).reason, HasSubstr("The function fts3_tokenizer reaches beyond")) << sql;
}

TEST_F(DatabaseFile, WhatFollowsANullByteIsAStatementOfItsOwn) {
  open();
  const std::string sql("SELECT 1\0; DELETE FROM customers", 33);
  EXPECT_EQ(database().check(sql).effect, Effect::Refused);
}

TEST_F(DatabaseFile, ViewsCannotReachBeyondTheDatabase) {
  open("CREATE VIEW v AS SELECT load_extension('x.so')");
  EXPECT_TRUE(fail("SELECT * FROM v"));
  EXPECT_THROW(database().check("SELECT * FROM v"), QueryError);
}

TEST_F(DatabaseFile, RunningAWriterOnAReaderIsRefused) {
  open();
  const Confirm confirm = [](std::int64_t) {
    ADD_FAILURE() << "it was asked";
    return true;
  };
  EXPECT_THROW(database().runWriting("DELETE FROM customers", RunLimits(), confirm), QueryError);
}

}  // namespace
