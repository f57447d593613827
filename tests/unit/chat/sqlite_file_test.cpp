// Files: that nothing about them changes, and what is said of those that can't be read.
#include "sqlite_connection.h"
#include "sqlite_database.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class SqliteFile : public testing::Test {
 protected:
  SqliteFile() {
    std::string pattern = (fs::temp_directory_path() / "qai-chat-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
  }
  ~SqliteFile() override {
    fs::permissions(folder_, fs::perms::owner_all);
    fs::remove_all(folder_);
  }

  std::string path(const std::string& name) const { return (folder_ / name).string(); }

  std::string write(const std::string& name, const std::string& bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
    return path(name);
  }

  std::string read(const std::string& name) const {
    std::ostringstream bytes;
    bytes << std::ifstream(path(name), std::ios::binary).rdbuf();
    return bytes.str();
  }

  /// The name and bytes of every file in the folder.
  std::map<std::string, std::string> contents() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      const std::string name = entry.path().filename().string();
      files[name] = read(name);
    }
    return files;
  }

  SqliteConnection writer(const std::string& name, const std::string& sql) const {
    sqlite3* opened = nullptr;
    EXPECT_EQ(sqlite3_open(path(name).c_str(), &opened), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(opened, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(opened);
    return SqliteConnection(opened);
  }

  static std::size_t countTables(const std::string& file) {
    const DatabaseDescription database = openSqliteDatabase(file)->readDescription();
    return database.schemas.empty() ? 0 : database.schemas.front().tables.size();
  }

  static void expectFailure(const std::string& file, ExitCode code, const std::string& part) {
    try {
      openSqliteDatabase(file)->readDescription();
      ADD_FAILURE() << file << " was read";
    } catch (const DatabaseError& error) {
      EXPECT_EQ(error.exitCode, code) << error.what();
      EXPECT_THAT(error.what(), HasSubstr(part));
    }
  }

  fs::path folder_;
};

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

TEST_F(SqliteFile, WriteAheadModeThroughALinkChangesNothing) {
  writer("a.db", "PRAGMA journal_mode=WAL; CREATE TABLE t(a)");
  fs::create_symlink("a.db", folder_ / "link.db");
  const auto before = contents();
  EXPECT_EQ(countTables(path("link.db")), 1U);
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

TEST_F(SqliteFile, IsReadInAFolderThatCannotBeWritten) {
  writer("a.db", "CREATE TABLE t(a)");
  writer("b.db", "PRAGMA journal_mode=WAL; CREATE TABLE t(a)");
  fs::permissions(folder_, fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_EQ(countTables(path("a.db")), 1U);
  EXPECT_EQ(countTables(path("b.db")), 1U);
}

TEST_F(SqliteFile, CannotBeWrittenThroughTheConnection) {
  writer("a.db", "CREATE TABLE t(a)");
  const SqliteConnection connection = openSqliteReadOnly(path("a.db"));
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
                         testing::Values("a?mode=rwc", "a#b", "a%20b", "a b", "\u00fc.db", "file:x", "a&b=c", "..a"));

TEST_F(SqliteFile, RelativePathsWork) {
  writer("a.db", "CREATE TABLE t(a)");
  EXPECT_EQ(countTables(fs::relative(path("a.db")).string()), 1U);
}

TEST_F(SqliteFile, AnEmptyFileIsAnEmptyDatabase) {
  const DatabaseDescription database = openSqliteDatabase(write("a.db", ""))->readDescription();
  EXPECT_TRUE(database.schemas.empty());
  ASSERT_EQ(database.notes.size(), 1U);
  EXPECT_THAT(database.notes.front(), HasSubstr("holds no tables"));
}

TEST_F(SqliteFile, MissingIsSaid) {
  expectFailure(path("none.db"), ExitCode::NoInput, "There is no file");
  EXPECT_FALSE(fs::exists(path("none.db")));
}

TEST_F(SqliteFile, FolderIsSaid) { expectFailure(folder_.string(), ExitCode::NoInput, "is a folder"); }

TEST_F(SqliteFile, PipeIsSaidAndNotWaitedFor) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  expectFailure(path("pipe"), ExitCode::NoInput, "is not a regular file");
}

TEST_F(SqliteFile, UnreadableIsSaid) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser reads everything";
  fs::permissions(write("a.db", ""), fs::perms::none);
  expectFailure(path("a.db"), ExitCode::NoInput, "permission denied");
}

TEST_F(SqliteFile, UnreadableFolderOfItIsSaid) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser reads everything";
  write("a.db", "");
  fs::permissions(folder_, fs::perms::none);
  expectFailure(path("a.db"), ExitCode::NoInput, "can't be read");
}

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
  fs::resize_file(path("a.db"), 150);
  expectFailure(path("a.db"), ExitCode::NotADatabase, "a.db");
}

TEST_F(SqliteFile, AnInterruptedChangeIsNotTakenForTheTruth) {
  const SqliteConnection other = writer("a.db",
                                        "CREATE TABLE t(a); PRAGMA cache_size=1; PRAGMA cache_spill=1; BEGIN;"
                                        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<2000) "
                                        "INSERT INTO t SELECT printf('%0100d', i) FROM n");
  fs::copy_file(path("a.db"), path("copy.db"));
  fs::copy_file(path("a.db-journal"), path("copy.db-journal"));
  const auto before = read("copy.db");
  expectFailure(path("copy.db"), ExitCode::NoInput, "needs repair or recovery");
  EXPECT_EQ(read("copy.db"), before);
}

}  // namespace
