// A folder with SQLite files, and what the reader says of them.
#pragma once

#include "databases/sqlite_connection.h"
#include "databases/sqlite_database.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

class SqliteFile : public testing::Test {
 protected:
  ~SqliteFile() override { std::filesystem::permissions(folder(), std::filesystem::perms::owner_all); }

  std::filesystem::path folder() const { return folder_.path(); }

  std::string path(const std::string& name) const { return toText(folder() / toPath(name)); }

  std::string write(const std::string& name, const std::string& bytes) const {
    std::ofstream(toPath(path(name)), std::ios::binary) << bytes;
    return path(name);
  }

  std::string read(const std::string& name) const {
    std::ostringstream bytes;
    bytes << std::ifstream(toPath(path(name)), std::ios::binary).rdbuf();
    return bytes.str();
  }

  /// The name and bytes of every file in the folder.
  std::map<std::string, std::string> contents() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder())) {
      const std::string name = toText(entry.path().filename());
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
    const DatabaseDescription database = openSqliteDatabase(file, Access::Read)->readDescription();
    return database.schemas.empty() ? 0 : database.schemas.front().tables.size();
  }

  static void expectFailure(const std::string& file, ExitCode code, const std::string& part) {
    try {
      openSqliteDatabase(file, Access::Read)->readDescription();
      ADD_FAILURE() << file << " was read";
    } catch (const DatabaseError& error) {
      EXPECT_EQ(error.exitCode, code) << error.what();
      EXPECT_THAT(error.what(), testing::HasSubstr(part));
    }
  }

 private:
  TemporaryFolder folder_{"qai-chat"};
};
