// Functions whose time two sizes multiply.
#include "database_fixture.h"

#include <chrono>

namespace {

using namespace std::chrono_literals;

struct CallCase {
  const char* name;
  std::string call;
  QueryProblem problem = QueryProblem::TooLarge;
};

class EndlessCall : public DatabaseFile, public testing::WithParamInterface<CallCase> {};

/// Each would take from minutes up to hours.
TEST_P(EndlessCall, IsRefusedAtOnce) {
  open();
  const auto start = std::chrono::steady_clock::now();
  const auto error = fail("SELECT " + GetParam().call);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->problem, GetParam().problem) << error->what();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 30s);
}

INSTANTIATE_TEST_SUITE_P(
    Functions, EndlessCall,
    testing::Values(
        CallCase{"instr", "instr(zeroblob(4000000), zeroblob(2000000) || x'01')"},
        CallCase{"replace", "length(replace(hex(zeroblob(2000000)), hex(zeroblob(1000000)) || '1', ''))"},
        CallCase{"trim", "length(trim(hex(zeroblob(400000)), replace(hex(zeroblob(200000)), '0', 'a') || '0'))"},
        CallCase{"ltrim", "length(ltrim(hex(zeroblob(400000)), replace(hex(zeroblob(200000)), '0', 'a') || '0'))"},
        CallCase{"rtrim", "length(rtrim(hex(zeroblob(400000)), replace(hex(zeroblob(200000)), '0', 'a') || '0'))"},
        CallCase{"json_patch",
                 "length(json_patch('{' || replace(hex(zeroblob(100000)), '0', '\"a\":1,') || '\"b\":1}', "
                 "'{' || replace(hex(zeroblob(100000)), '0', '\"c\":1,') || '\"b\":1}'))"},
        CallCase{"like", "hex(zeroblob(2000000)) LIKE '%' || hex(zeroblob(20000)) || '1'", QueryProblem::TooComplex},
        CallCase{"glob", "hex(zeroblob(2000000)) GLOB '*' || replace(hex(zeroblob(5000)), '0', '[^x]')",
                 QueryProblem::TooComplex}),
    [](const auto& row) { return std::string(row.param.name); });

struct SameCase {
  const char* name;
  const char* calls;
};

class BoundFunction : public DatabaseFile, public testing::WithParamInterface<SameCase> {};

/// What SQLite's shell would give.
TEST_P(BoundFunction, GivesWhatSqlitesOwnDoes) {
  open();
  sqlite3* opened = nullptr;
  ASSERT_EQ(sqlite3_open(":memory:", &opened), SQLITE_OK);
  const SqliteConnection plain(opened);
  const std::string sql = std::string("SELECT quote(x) || typeof(x) FROM (SELECT ") + GetParam().calls + " AS x)";
  SqliteQuery expected(plain.get(), sql.c_str());
  ASSERT_TRUE(expected.nextRow());
  EXPECT_EQ(std::get<std::string>(run(sql).rows.at(0).at(0)), expected.text(0));
}

INSTANTIATE_TEST_SUITE_P(
    Calls, BoundFunction,
    testing::Values(
        SameCase{"instr_of_texts", "instr('äbc', 'c')"}, SameCase{"instr_of_bytes", "instr(x'c3a463', x'63')"},
        SameCase{"instr_of_numbers", "instr(12345, 34)"}, SameCase{"instr_of_null", "instr(NULL, 'a')"},
        SameCase{"instr_of_zeros", "instr(zeroblob(3), x'00')"}, SameCase{"replace", "replace('aXbX', 'X', 'yy')"},
        SameCase{"replace_nothing", "replace('a', '', 'b')"}, SameCase{"replace_null", "replace('a', 'a', NULL)"},
        SameCase{"replace_in_a_number", "replace(121, 1, 3)"}, SameCase{"trim", "trim('xyaxy', 'yx')"},
        SameCase{"trim_of_one", "trim(' a ')"}, SameCase{"ltrim", "ltrim('xyaxy', 'yx')"},
        SameCase{"rtrim", "rtrim('äaää', 'ä')"},
        SameCase{"json_patch", "json_patch('{\"a\":1,\"b\":2}', '{\"a\":null}')"},
        SameCase{"json_patch_is_json", "json_object('x', json_patch('{}', '{\"a\":1}'))"},
        SameCase{"json_patch_from_json", "json_patch(json('{}'), json_object('a', json('[1]')))"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(DatabaseFile, AFunctionsOwnErrorIsTold) {
  open();
  const auto error = fail("SELECT json_patch('{', '{}')");
  ASSERT_TRUE(error);
  EXPECT_EQ(error->problem, QueryProblem::BadJson);
  EXPECT_EQ(fail("SELECT replace(hex(zeroblob(10000)), '0', hex(zeroblob(10000)))").value().problem,
            QueryProblem::TooLarge);
}

TEST_F(DatabaseFile, ABoundFunctionReadsTextsInUtf16) {
  open("PRAGMA encoding='UTF-16le'; CREATE TABLE t(a TEXT); INSERT INTO t VALUES('äxb')");
  const Result result = run("SELECT instr(a, 'b'), replace(a, 'ä', 'ö'), trim(a, 'äb') FROM t");
  EXPECT_THAT(result.rows.at(0), testing::ElementsAre(Value(std::int64_t{3}), Value("öxb"), Value("x")));
}

TEST_F(DatabaseFile, AnIndexAndAViewMayHaveABoundFunction) {
  open(
      "CREATE TABLE t(a TEXT, b AS (trim(a, '-'))); CREATE INDEX i ON t(instr(a, 'x'));"
      "CREATE VIEW v AS SELECT replace(a, 'x', 'y') AS c FROM t; INSERT INTO t VALUES('-x-');",
      Access::Write);
  EXPECT_EQ(run("SELECT b, c FROM t, v WHERE instr(a, 'x') = 2").rows.size(), 1U);
  const Confirm agree = [](std::int64_t /*rows*/) { return true; };
  EXPECT_TRUE(database().runWriting("INSERT INTO t VALUES('x')", RunLimits(), agree).isKept);
  EXPECT_EQ(run("SELECT 1 FROM t WHERE instr(a, 'x') = 1").rows.size(), 1U);
}

}  // namespace
