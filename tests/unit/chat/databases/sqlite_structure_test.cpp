// What the reader makes of SQL: statements in, the JSON of "db_structure" out.
#include "databases/sqlite_structure.h"

#include "databases/sqlite_connection.h"

#include <qai.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

SqliteConnection openMemory() {
  sqlite3* opened = nullptr;
  EXPECT_EQ(sqlite3_open(":memory:", &opened), SQLITE_OK);
  return SqliteConnection(opened);
}

DatabaseDescription describe(const std::string& sql) {
  const SqliteConnection connection = openMemory();
  char* error = nullptr;
  EXPECT_EQ(sqlite3_exec(connection.get(), sql.c_str(), nullptr, nullptr, &error), SQLITE_OK) << error;
  return describeSqlite(connection.get());
}

/// The JSON of a database whose one schema is main.
std::string mainSchema(const std::string& members) { return R"([{"schemas":[{)" + members + "}]}]"; }

struct StructureCase {
  const char* name;
  std::string sql;
  std::string json;
};

class SqliteStructure : public testing::TestWithParam<StructureCase> {};

TEST_P(SqliteStructure, BecomesJson) {
  const DatabaseDescription database = describe(GetParam().sql);
  EXPECT_EQ(obtainStructureJson(database), GetParam().json);
  EXPECT_THAT(database.notes, IsEmpty());
}

const auto kCases = testing::Values(
    StructureCase{"empty_database", "", R"([{"schemas":[]}])"},
    StructureCase{"table", "CREATE TABLE t(a INTEGER, b TEXT)",
                  mainSchema(R"("tables":[{"name":"t","fields":[{"name":"a","type":"INTEGER"},)"
                             R"({"name":"b","type":"TEXT"}]}])")},
    StructureCase{"no_declared_type", "CREATE TABLE t(a)",
                  mainSchema(R"("tables":[{"name":"t","fields":[{"name":"a","type":"ANY"}]}])")},
    StructureCase{"type_over_several_lines", "CREATE TABLE t(a DECIMAL\n  (10,\t2))",
                  mainSchema(R"json("tables":[{"name":"t","fields":[{"name":"a","type":"DECIMAL (10, 2)"}]}])json")},
    StructureCase{"key_in_key_order", "CREATE TABLE t(a INT, b INT, c INT, PRIMARY KEY(c, a))",
                  mainSchema(R"("tables":[{"name":"t","fields":[{"name":"a","type":"INT"},{"name":"b","type":"INT"},)"
                             R"({"name":"c","type":"INT"}],"pkeys":["c","a"]}])")},
    StructureCase{"without_rowid_and_strict", "CREATE TABLE t(a ANY PRIMARY KEY, b INT) STRICT, WITHOUT ROWID",
                  mainSchema(R"("tables":[{"name":"t","fields":[{"name":"a","type":"ANY"},{"name":"b","type":"INT"}],)"
                             R"("pkeys":["a"]}])")},
    StructureCase{"generated_columns",
                  "CREATE TABLE t(a INT, b INT GENERATED ALWAYS AS (a + 1) STORED, c TEXT AS (a || '') VIRTUAL)",
                  mainSchema(R"("tables":[{"name":"t","fields":[{"name":"a","type":"INT"},{"name":"b","type":"INT"},)"
                             R"({"name":"c","type":"TEXT"}]}])")},
    StructureCase{"autoincrement_leaves_internal_tables_out",
                  "CREATE TABLE t(a INTEGER PRIMARY KEY AUTOINCREMENT); CREATE INDEX i ON t(a); ANALYZE",
                  mainSchema(R"("tables":[{"name":"t","fields":[{"name":"a","type":"INTEGER"}],"pkeys":["a"]}])")},
    StructureCase{
        "view", "CREATE TABLE t(a INT); CREATE VIEW v AS SELECT a, count(*) AS n FROM t",
        mainSchema(R"("tables":[{"name":"t","fields":[{"name":"a","type":"INT"}]}],)"
                   R"("views":[{"name":"v","fields":[{"name":"a","type":"INT"},{"name":"n","type":"ANY"}]}])")},
    StructureCase{"view_with_its_own_names", "CREATE VIEW v(x, y) AS SELECT 1, 2",
                  mainSchema(R"("views":[{"name":"v","fields":[{"name":"x","type":"ANY"},)"
                             R"({"name":"y","type":"ANY"}]}])")},
    StructureCase{"difficult_names",
                  "CREATE TABLE \"a`b\"\"c\nd\"(\"\u00dcber Gr\u00f6\u00dfe\" INT, [x'y] INT, \"\" INT)",
                  mainSchema("\"tables\":[{\"name\":\"a`b\\\"c\\nd\",\"fields\":["
                             "{\"name\":\"\u00dcber Gr\u00f6\u00dfe\",\"type\":\"INT\"},"
                             "{\"name\":\"x'y\",\"type\":\"INT\"},{\"name\":\"\",\"type\":\"INT\"}]}]")},
    StructureCase{"name_like_sql", "CREATE TABLE \"'); DROP TABLE x; --\"(a INT)",
                  mainSchema(R"("tables":[{"name":"'); DROP TABLE x; --","fields":[{"name":"a","type":"INT"}]}])")},
    StructureCase{"name_that_only_resembles_internal_ones", "CREATE TABLE sqliteX(a INT)",
                  mainSchema(R"("tables":[{"name":"sqliteX","fields":[{"name":"a","type":"INT"}]}])")},
    StructureCase{"virtual_table_without_its_shadows", "CREATE VIRTUAL TABLE f USING fts5(title, body)",
                  mainSchema(R"("tables":[{"name":"f","fields":[{"name":"title","type":"ANY"},)"
                             R"({"name":"body","type":"ANY"}]}])")},
    StructureCase{"temporary_objects", "CREATE TEMP TABLE t(a INT PRIMARY KEY); CREATE TEMP TABLE u(b REFERENCES t)",
                  R"([{"schemas":[{"schema_name":"temp","tables":[)"
                  R"({"name":"t","fields":[{"name":"a","type":"INT"}],"pkeys":["a"]},)"
                  R"({"name":"u","fields":[{"name":"b","type":"ANY"}],"fkeys":[{"fields":["b"],"ref_schema":"temp",)"
                  R"("ref_table":"t","ref_fields":["a"]}]}]}]}])"},
    StructureCase{"attached_after_main",
                  "ATTACH ':memory:' AS \"a b\"; CREATE TABLE \"a b\".t(a INT); CREATE TABLE main.t(b INT)",
                  R"([{"schemas":[{"tables":[{"name":"t","fields":[{"name":"b","type":"INT"}]}]},)"
                  R"({"schema_name":"a b","tables":[{"name":"t","fields":[{"name":"a","type":"INT"}]}]}]}])"});

INSTANTIATE_TEST_SUITE_P(Sql, SqliteStructure, kCases, [](const auto& row) { return std::string(row.param.name); });

using Columns = std::vector<std::string>;

struct ForeignKeyCase {
  const char* name;
  std::string sql;  // makes table t with the keys
  std::vector<ForeignKeyDescription> keys;
};

class SqliteForeignKeys : public testing::TestWithParam<ForeignKeyCase> {};

TEST_P(SqliteForeignKeys, AreReadInOrder) {
  const DatabaseDescription database = describe(GetParam().sql);
  std::vector<ForeignKeyDescription> keys;
  for (const TableDescription& table : database.schemas.front().tables) {
    if (table.name == "t") keys = table.foreignKeys;
  }
  ASSERT_EQ(keys.size(), GetParam().keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(keys[i].columns, GetParam().keys[i].columns);
    EXPECT_EQ(keys[i].targetTable, GetParam().keys[i].targetTable);
    EXPECT_EQ(keys[i].targetColumns, GetParam().keys[i].targetColumns);
  }
}

const auto kForeignKeyCases = testing::Values(
    ForeignKeyCase{"named_target",
                   "CREATE TABLE p(x INT UNIQUE); CREATE TABLE t(a INT REFERENCES p(x))",
                   {{Columns{"a"}, "p", Columns{"x"}}}},
    ForeignKeyCase{"implied_target",
                   "CREATE TABLE p(x INTEGER PRIMARY KEY); CREATE TABLE t(a REFERENCES p)",
                   {{Columns{"a"}, "p", Columns{"x"}}}},
    ForeignKeyCase{"composite",
                   "CREATE TABLE p(x, y, UNIQUE(y, x)); CREATE TABLE t(a, b, FOREIGN KEY(b, a) REFERENCES p(y, x))",
                   {{Columns{"b", "a"}, "p", Columns{"y", "x"}}}},
    ForeignKeyCase{"implied_composite_in_key_order",
                   "CREATE TABLE p(x, y, PRIMARY KEY(y, x)); CREATE TABLE t(a, b, FOREIGN KEY(a, b) REFERENCES p)",
                   {{Columns{"a", "b"}, "p", Columns{"y", "x"}}}},
    ForeignKeyCase{
        "several_as_declared",
        "CREATE TABLE p(x PRIMARY KEY); CREATE TABLE q(y PRIMARY KEY);"
        "CREATE TABLE t(a REFERENCES p, b REFERENCES q, c REFERENCES p)",
        {{Columns{"a"}, "p", Columns{"x"}}, {Columns{"b"}, "q", Columns{"y"}}, {Columns{"c"}, "p", Columns{"x"}}}},
    ForeignKeyCase{
        "to_itself", "CREATE TABLE t(a INTEGER PRIMARY KEY, b REFERENCES t)", {{Columns{"b"}, "t", Columns{"a"}}}},
    ForeignKeyCase{"target_in_another_case",
                   "CREATE TABLE Parent(x PRIMARY KEY); CREATE TABLE t(a REFERENCES PARENT)",
                   {{Columns{"a"}, "PARENT", Columns{"x"}}}},
    ForeignKeyCase{
        "named_target_that_is_gone", "CREATE TABLE t(a REFERENCES p(x))", {{Columns{"a"}, "p", Columns{"x"}}}},
    ForeignKeyCase{"implied_target_that_is_gone", "CREATE TABLE t(a REFERENCES p)", {}},
    ForeignKeyCase{"implied_target_without_a_key", "CREATE TABLE p(x); CREATE TABLE t(a REFERENCES p)", {}},
    ForeignKeyCase{
        "implied_key_of_another_width", "CREATE TABLE p(x, y, PRIMARY KEY(x, y)); CREATE TABLE t(a REFERENCES p)", {}});

INSTANTIATE_TEST_SUITE_P(Sql, SqliteForeignKeys, kForeignKeyCases,
                         [](const auto& row) { return std::string(row.param.name); });

TEST(SqliteStructureNotes, TellWhatCannotBeQueried) {
  const DatabaseDescription database =
      describe("CREATE TABLE t(a INT); CREATE TABLE gone(a); CREATE VIEW v AS SELECT * FROM gone; DROP TABLE gone");
  EXPECT_THAT(database.notes, ElementsAre(HasSubstr("v is left out: no such table: main.gone")));
  ASSERT_EQ(database.schemas.size(), 1U);
  EXPECT_EQ(database.schemas.front().tables.size(), 1U);
  EXPECT_THAT(database.schemas.front().views, IsEmpty());
}

TEST(SqliteStructureNotes, DoNotHideAForeignKeyOnABrokenView) {
  const DatabaseDescription database = describe(
      "CREATE TABLE gone(a); CREATE VIEW v AS SELECT * FROM gone; DROP TABLE gone; CREATE TABLE t(a REFERENCES v)");
  ASSERT_EQ(database.schemas.size(), 1U);
  EXPECT_EQ(database.schemas.front().tables.size(), 1U);
}

TEST(SqliteStructure, IsTakenByTheLibraryAndBecomesStatements) {
  const std::string json = obtainStructureJson(
      describe("CREATE TABLE p(x INTEGER PRIMARY KEY); CREATE TABLE t(a TEXT, b INT REFERENCES p)"));
  IQAIAssistant* assistant = QAICreateAssistant(OPENAI_v1, nullptr, "", "");
  ASSERT_NE(assistant, nullptr);
  assistant->setAssistantProperties(
      [&](IQAIProperties* properties) { EXPECT_TRUE(properties->setProperty("db_structure", json)); });
  IQAIProperties* properties = assistant->obtainAssistantProperties();
  EXPECT_EQ(properties->obtainProperty("combined_instructions").stringValue(),
            "CREATE TABLE `p` (`x` INTEGER, PRIMARY KEY(`x`))\n"
            "CREATE TABLE `t` (`a` TEXT, `b` INT, FOREIGN KEY(`b`) REFERENCES `p`(`x`))\n\n");
  QAIFreeObject(properties);
  QAIFreeObject(assistant);
}

}  // namespace
