// SQLite files opened with care, and queries of our own on them.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

struct SqliteCloser {
  void operator()(sqlite3* connection) const { sqlite3_close(connection); }
};
using SqliteConnection = std::unique_ptr<sqlite3, SqliteCloser>;

/// A query went wrong: SQLite's primary result code and text.
class SqliteError : public std::runtime_error {
 public:
  SqliteError(int result, const std::string& text) : std::runtime_error(text), resultCode(result & 0xFF) {}

  int resultCode;
};

/// A prepared query. Column numbers count from 0.
class SqliteQuery {
 public:
  /// @throw SqliteError, as every operation that runs something
  SqliteQuery(sqlite3* connection, const char* sql);

  /// Starts over with `first` in place of ?1 and `second` in place of ?2.
  void bind(const std::string& first);
  void bind(const std::string& first, const std::string& second);
  bool nextRow();
  std::string text(int column) const;
  int integer(int column) const;
  bool isNull(int column) const;

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  void bindText(int index, const std::string& value);
  void require(bool good) const;

  sqlite3* connection_;
  std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
};

enum class SqliteSharing {
  Shared,     // another program may write the file meanwhile
  Immutable,  // none may, and SQLite needs neither locks nor files beside it
};

/// By which something can be known to have been written; for a link, of the file that it leads to.
struct SqliteFileState {
  std::uintmax_t size = 0;
  std::filesystem::file_time_type time;
  bool hasLog = false;

  bool operator==(const SqliteFileState&) const = default;
};

SqliteFileState readSqliteFileState(const std::string& path);

/// How the file at `path` can be read now without leaving anything beside it.
/// @throw DatabaseError when there is no such file or none that can be read
SqliteSharing findSharing(const std::string& path);

/// Opens the file at `path` so that nothing about it or beside it changes, as far as SQLite can do that.
/// @throw DatabaseError when there is no such file or it is none that can be opened; what is inside shows only in
///        queries.
SqliteConnection openSqliteForReading(const std::string& path, SqliteSharing sharing);

/// As openSqliteForReading, for writing, too. Foreign keys are enforced.
SqliteConnection openSqliteForWriting(const std::string& path);
