// Files: that nothing about them changes, and what is said of those that can't be read.
#include "sqlite_file_fixture.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

TEST_F(SqliteFile, ReadingChangesNothing) {
  writer("a.db", "CREATE TABLE t(a)");
  const auto before = contents();
  EXPECT_EQ(countTables(path("a.db")), 1U);
  EXPECT_EQ(contents(), before);
}

TEST_F(SqliteFile, ReadingWriteAheadModeChangesNothing) {
  writer("a.db", "PRAGMA journal_mode=WAL; CREATE TABLE t(a)");
  const auto before = contents();
  ASSERT_EQ(before.size(), 1U) << "the last writer tidies up";
  EXPECT_EQ(countTables(path("a.db")), 1U);
  EXPECT_EQ(contents(), before);
}

TEST_F(SqliteFile, WhatAnotherProgramHasInItsLogIsSeen) {
  const SqliteConnection other = writer("a.db", "PRAGMA journal_mode=WAL; CREATE TABLE t(a); CREATE TABLE late(a)");
  const std::string file = read("a.db");
  const std::string log = read("a.db-wal");
  EXPECT_EQ(countTables(path("a.db")), 2U);
  EXPECT_EQ(read("a.db"), file);
  EXPECT_EQ(read("a.db-wal"), log);
}

TEST_F(SqliteFile, CannotBeWrittenThroughTheConnection) {
  writer("a.db", "CREATE TABLE t(a)");
  const SqliteConnection connection = openSqliteForReading(path("a.db"), findSharing(path("a.db")));
  EXPECT_EQ(sqlite3_exec(connection.get(), "INSERT INTO t VALUES(1)", nullptr, nullptr, nullptr), SQLITE_READONLY);
  int defensive = 0;
  int trusted = 1;
  sqlite3_db_config(connection.get(), SQLITE_DBCONFIG_DEFENSIVE, -1, &defensive);
  sqlite3_db_config(connection.get(), SQLITE_DBCONFIG_TRUSTED_SCHEMA, -1, &trusted);
  EXPECT_EQ(defensive, 1);
  EXPECT_EQ(trusted, 0);
}

class SqliteFileName : public SqliteFile, public testing::WithParamInterface<const char*> {};

TEST_P(SqliteFileName, IsTakenAsItStands) {
  writer(GetParam(), "CREATE TABLE t(a)");
  EXPECT_EQ(countTables(path(GetParam())), 1U);
}

INSTANTIATE_TEST_SUITE_P(Names, SqliteFileName,
                         testing::Values("a#b", "a%20b", "a b", "\u00fc.db", "Каталог 🐘.db", "a&b=c", "..a"));

TEST_F(SqliteFile, RelativePathsWork) {
  writer("a.db", "CREATE TABLE t(a)");
  const fs::path before = fs::current_path();
  fs::current_path(folder());
  EXPECT_EQ(countTables("a.db"), 1U);
  fs::current_path(before);
}

TEST_F(SqliteFile, AnEmptyFileIsAnEmptyDatabase) {
  const DatabaseDescription database = openSqliteDatabase(write("a.db", ""), Access::Read)->readDescription();
  EXPECT_TRUE(database.schemas.empty());
  ASSERT_EQ(database.notes.size(), 1U);
  EXPECT_THAT(database.notes.front(), HasSubstr("holds no tables"));
}

TEST_F(SqliteFile, MissingIsSaid) {
  expectFailure(path("none.db"), ExitCode::NoInput, "There is no file");
  EXPECT_FALSE(fs::exists(toPath(path("none.db"))));
}

TEST_F(SqliteFile, FolderIsSaid) { expectFailure(toText(folder()), ExitCode::NoInput, "is a folder"); }

TEST_F(SqliteFile, LockedIsSaid) {
  const SqliteConnection other = writer("a.db", "CREATE TABLE t(a); BEGIN EXCLUSIVE");
  expectFailure(path("a.db"), ExitCode::NoInput, "is locked by another program");
}

TEST_F(SqliteFile, OtherContentIsSaid) {
  expectFailure(write("a.db", std::string(5000, 'x')), ExitCode::NotADatabase, "is not a SQLite database");
  expectFailure(write("b.db", "SELECT 1;\n"), ExitCode::NotADatabase, "is not a SQLite database");
}

TEST_F(SqliteFile, DamagedSchemaIsSaid) {
  writer("a.db",
         "CREATE TABLE t(a); PRAGMA writable_schema=ON; UPDATE sqlite_schema SET sql='CREATE TABLE t(' WHERE name='t'");
  expectFailure(path("a.db"), ExitCode::NotADatabase, "is damaged");
}

TEST_F(SqliteFile, TruncatedFileIsSaid) {
  writer("a.db", "CREATE TABLE t(a)");
  fs::resize_file(toPath(path("a.db")), 150);
  expectFailure(path("a.db"), ExitCode::NotADatabase, "a.db");
}

TEST_F(SqliteFile, AnInterruptedChangeIsNotTakenForTheTruth) {
  const SqliteConnection other = writer("a.db",
                                        "CREATE TABLE t(a); PRAGMA cache_size=1; PRAGMA cache_spill=1; BEGIN;"
                                        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<2000) "
                                        "INSERT INTO t SELECT printf('%0100d', i) FROM n");
  fs::copy_file(toPath(path("a.db")), toPath(path("copy.db")));
  fs::copy_file(toPath(path("a.db-journal")), toPath(path("copy.db-journal")));
  const auto before = read("copy.db");
  expectFailure(path("copy.db"), ExitCode::NoInput, "needs repair or recovery");
  EXPECT_EQ(read("copy.db"), before);
}

}  // namespace
