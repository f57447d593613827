// Files that would keep SQLite busy for ever, and those that only look so.
#include "databases/sqlite_bounds.h"

#include "databases/sqlite_connection.h"
#include "databases/sqlite_structure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace {

using testing::Contains;
using testing::IsEmpty;

// The bound is one of these, on machines that may be slow and checked by a sanitizer.
constexpr std::chrono::seconds kAFewSeconds{12};
constexpr std::chrono::milliseconds kShortPatience{300};
constexpr std::chrono::minutes kPatienceWithout{10};  // no limit but that of memory is reached
constexpr sqlite3_int64 kSmall = sqlite3_int64{64} << 20U;

SqliteConnection open(const std::string& sql) {
  sqlite3* opened = nullptr;
  EXPECT_EQ(sqlite3_open(":memory:", &opened), SQLITE_OK);
  SqliteConnection connection(opened);
  char* error = nullptr;
  EXPECT_EQ(sqlite3_exec(opened, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK) << error;
  return connection;
}

/// As from a file: nothing is known of the views yet.
DatabaseDescription describeAnew(const std::string& sql, std::chrono::milliseconds patience = kShortPatience) {
  const SqliteConnection made = open(sql);
  sqlite3_int64 size = 0;
  unsigned char* const bytes = sqlite3_serialize(made.get(), "main", &size, 0);
  const SqliteConnection fresh = open("");
  EXPECT_EQ(sqlite3_deserialize(fresh.get(), "main", bytes, size, size, SQLITE_DESERIALIZE_FREEONCLOSE), SQLITE_OK);
  sqlite3_memory_highwater(1);
  const auto start = std::chrono::steady_clock::now();
  DatabaseDescription database = describeSqlite(fresh.get(), patience);
  EXPECT_LT(std::chrono::steady_clock::now() - start, kAFewSeconds);
  EXPECT_LT(sqlite3_memory_highwater(0), kSmall);
  return database;
}

std::string number(int i) { return std::to_string(i); }

/// View d16 stands for 65,536 others.
std::string doubledViews() {
  std::string sql = "CREATE TABLE t(a); CREATE VIEW d0 AS SELECT * FROM t;";
  for (int i = 1; i <= 16; ++i)
    sql += "CREATE VIEW d" + number(i) + " AS SELECT x.a FROM d" + number(i - 1) + " x, d" + number(i - 1) + " y;";
  return sql;
}

struct HostileCase {
  const char* name;
  std::string sql;
};

class HostileViews : public testing::TestWithParam<HostileCase> {};

TEST_P(HostileViews, TakeAFewSecondsAndKeepNoTableOut) {
  const DatabaseDescription database = describeAnew(GetParam().sql + "CREATE TABLE z(b)", kPatienceWithViews);
  ASSERT_EQ(database.schemas.size(), 1U);
  ASSERT_EQ(database.schemas.front().tables.size(), 2U);
  EXPECT_EQ(database.schemas.front().tables.back().name, "z");
  const std::size_t views = database.schemas.front().views.size();
  EXPECT_GT(views, 4U) << "those that stand for few";
}

std::string repeated(int times, const std::function<std::string(int)>& statement) {
  std::string sql;
  for (int i = 1; i <= times; ++i) sql += statement(i);
  return sql;
}

INSTANTIATE_TEST_SUITE_P(
    Files, HostileViews,
    testing::Values(
        HostileCase{"doubled_and_named_by_many",
                    doubledViews() +
                        repeated(40, [](int i) { return "CREATE VIEW w" + number(i) + " AS SELECT a FROM d16;"; })},
        HostileCase{"doubled_and_named_often_by_one",
                    doubledViews() + "CREATE VIEW w AS SELECT 1" +
                        repeated(40, [](int i) { return ", (SELECT a FROM d16) AS c" + number(i); }) + ";"},
        HostileCase{"chain_of_doubled_expressions", "CREATE TABLE t(a); CREATE VIEW e0 AS SELECT a FROM t;" +
                                                        repeated(60,
                                                                 [](int i) {
                                                                   return "CREATE VIEW e" + number(i) +
                                                                          " AS SELECT a + a AS a FROM e" +
                                                                          number(i - 1) + ";";
                                                                 })},
        HostileCase{"chain_of_doubled_questions", "CREATE TABLE t(a); CREATE VIEW q0 AS SELECT a FROM t;" +
                                                      repeated(60,
                                                               [](int i) {
                                                                 const std::string earlier = "q" + number(i - 1);
                                                                 return "CREATE VIEW q" + number(i) +
                                                                        " AS SELECT a FROM " + earlier +
                                                                        " WHERE a IN (SELECT a FROM " + earlier + ");";
                                                               })}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(HostileViewsNotes, TellWhichTakeTooMuchMemory) {
  EXPECT_THAT(describeAnew(doubledViews(), kPatienceWithout).notes,
              Contains("d16 is left out: it takes too much memory to read"));
}

TEST(HostileViewsNotes, TellOfEachThatIsLeftOut) {
  const DatabaseDescription database = describeAnew(
      doubledViews() + repeated(100, [](int i) { return "CREATE VIEW w" + number(i) + " AS SELECT a FROM d16;"; }));
  std::size_t told = database.schemas.front().views.size();
  for (const std::string& note : database.notes) {
    const std::size_t several = note.find(" tables and views are left out: views of many others take too long to read");
    told += several == std::string::npos ? 1 : std::stoul(note.substr(0, several));
  }
  EXPECT_EQ(told, 117U) << "each view is there or told of";
}

TEST(HostileViewsTargets, OfForeignKeysAreBoundedToo) {
  const DatabaseDescription database = describeAnew(
      doubledViews() + repeated(200, [](int i) { return "CREATE TABLE k" + number(i) + "(a REFERENCES d16);"; }));
  EXPECT_THAT(database.notes, testing::Not(IsEmpty()));
}

TEST(ManyObjects, AreReadToTheLast) {
  const DatabaseDescription database = describeAnew(
      "CREATE TABLE t(a); BEGIN;" +
      repeated(5000, [](int i) { return "CREATE TABLE t" + number(i) + "(a REFERENCES t, b TEXT, c INT);"; }) +
      repeated(1000, [](int i) { return "CREATE VIEW v" + number(i) + " AS SELECT * FROM t, t" + number(i) + ";"; }) +
      "COMMIT");
  EXPECT_THAT(database.notes, IsEmpty());
  EXPECT_EQ(database.schemas.front().tables.size(), 5001U);
  EXPECT_EQ(database.schemas.front().views.size(), 1000U);
}

TEST(AViewOfAHundredOthers, IsRead) {
  std::string sql = "CREATE TABLE t(a, b, c, d);";
  std::string all;
  for (int i = 1; i <= 100; ++i) {
    sql += "CREATE VIEW v" + number(i) + " AS SELECT a, b, c, d FROM t;";
    all += (i == 1 ? "" : " UNION ALL ") + ("SELECT * FROM v" + number(i));
  }
  EXPECT_THAT(describeAnew(sql + "CREATE VIEW whole AS " + all).notes, IsEmpty());
}

TEST(HeapLimits, AreAsBeforeWhenAReadingHasEnded) {
  sqlite3_soft_heap_limit64(kSmall);
  {
    SqliteBounds bounds(kShortPatience);
    const SqliteBounds::Reading reading(bounds);
    EXPECT_GT(sqlite3_hard_heap_limit64(-1), 0);
  }
  EXPECT_EQ(sqlite3_hard_heap_limit64(-1), 0);
  EXPECT_EQ(sqlite3_soft_heap_limit64(0), kSmall);
}

/// SQLite knows which tables stand behind virtual ones; the reader knows it by their names.
TEST(TablesBehindVirtualOnes, AreThoseThatSQLiteTakesForThem) {
  const SqliteConnection connection = open("CREATE TABLE plain_content(a)");
  std::size_t modules = 0;
  for (const char* declaration : {"fts3(a)", "fts4(a)", "fts5(a)", "rtree(i, x0, x1)", "geopoly(a)"}) {
    const std::string sql = "CREATE VIRTUAL TABLE Of_" + number(static_cast<int>(modules)) + " USING " + declaration;
    if (sqlite3_exec(connection.get(), sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK) ++modules;
  }
  EXPECT_GT(modules, 0U);
  std::vector<std::string> expected;
  SqliteQuery query(connection.get(),
                    "SELECT name FROM pragma_table_list WHERE type IN ('table', 'virtual') AND name NOT LIKE 'sqlite%' "
                    "ORDER BY name");
  while (query.nextRow()) expected.push_back(query.text(0));
  std::vector<std::string> names;
  const DatabaseDescription database = describeSqlite(connection.get());
  for (const TableDescription& table : database.schemas.front().tables) names.push_back(table.name);
  EXPECT_EQ(names, expected);
  EXPECT_EQ(names.size(), modules + 1);
}

}  // namespace
