#include "databases/sqlite_connection.h"

#include "databases/database.h"
#include "path_text.h"
#include "start.h"

#include <cf/url.h>

#include <array>
#include <filesystem>
#include <fstream>

namespace {

constexpr int kBusyMilliseconds = 500;

DatabaseError noInput(const std::string& sentence) { return {ExitCode::NoInput, sentence}; }

void requireReadableFile(const std::filesystem::path& file, const std::string& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(file, error);
  if (status.type() == std::filesystem::file_type::not_found) throw noInput("There is no file " + path);
  if (error) throw noInput(path + " can't be read: " + describeError(error));
  if (std::filesystem::is_directory(status)) throw noInput(path + " is a folder, not a database file");
  // Opening a pipe or a device could wait for ever.
  if (!std::filesystem::is_regular_file(status)) throw noInput(path + " is not a regular file");
  if (!std::ifstream(file, std::ios::binary)) throw noInput(path + " can't be read: permission denied");
}

// In write-ahead mode even a reader makes two files beside the database and leaves them there. When there is no log,
// the file holds everything and nobody is writing, so it can be read as immutable, which needs neither. It also works
// in a folder that can't be written.
bool canBeReadAsImmutable(const std::filesystem::path& file) {
  constexpr std::size_t kReadVersionAt = 19;
  constexpr char kWriteAhead = 2;
  std::array<char, kReadVersionAt + 1> header{};
  std::ifstream(file, std::ios::binary).read(header.data(), header.size());
  // cppcheck-suppress containerOutOfBounds ; it takes the array for one shorter than it is
  if (header[kReadVersionAt] != kWriteAhead) return false;
  std::error_code error;
  std::filesystem::path log = std::filesystem::canonical(file, error);
  log += "-wal";
  return !error && !std::filesystem::exists(log, error);
}

std::string makeURI(const std::filesystem::path& file) {
  // Three slashes begin the path: "/home/…" has one itself, "C:/…" none, and the two of a server's name stay.
  const std::string path = makePathText(std::filesystem::absolute(file));
  std::string uri = path.starts_with('/') ? "file://" : "file:///";
  for (const char c : path) uri += c == '/' ? "/" : cfEncodeQueryText({&c, 1});
  return uri + "?mode=ro" + (canBeReadAsImmutable(file) ? "&immutable=1" : "");
}

}  // namespace

SqliteQuery::SqliteQuery(sqlite3* connection, const char* sql) : connection_(connection) {
  sqlite3_stmt* statement = nullptr;
  const int result = sqlite3_prepare_v2(connection, sql, -1, &statement, nullptr);
  statement_.reset(statement);
  require(result == SQLITE_OK);
}

void SqliteQuery::bind(const std::string& first, const std::string& second) {
  sqlite3_reset(statement_.get());  // gives the error of the last step again, which was reported then
  bindText(1, first);
  bindText(2, second);
}

bool SqliteQuery::nextRow() {
  const int result = sqlite3_step(statement_.get());
  require(result == SQLITE_ROW || result == SQLITE_DONE);
  return result == SQLITE_ROW;
}

std::string SqliteQuery::text(int column) const {
  const void* bytes = sqlite3_column_text(statement_.get(), column);
  if (bytes == nullptr) return "";
  return {static_cast<const char*>(bytes), static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

int SqliteQuery::integer(int column) const { return sqlite3_column_int(statement_.get(), column); }

bool SqliteQuery::isNull(int column) const { return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL; }

void SqliteQuery::bindText(int index, const std::string& value) {
  require(sqlite3_bind_text(statement_.get(), index, value.data(), static_cast<int>(value.size()), SQLITE_TRANSIENT) ==
          SQLITE_OK);
}

void SqliteQuery::require(bool good) const {
  if (!good) throw SqliteError(sqlite3_errcode(connection_), sqlite3_errmsg(connection_));
}

SqliteConnection openSqliteReadOnly(const std::string& path) {
  const std::filesystem::path file = makePath(path);
  requireReadableFile(file, path);
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(makeURI(file).c_str(), &opened, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
  SqliteConnection connection(opened);
  if (result != SQLITE_OK) throw noInput(path + " can't be opened: " + sqlite3_errstr(result));
  // The file may come from anyone: its schema must not be able to run anything that matters.
  sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_busy_timeout(opened, kBusyMilliseconds);
  return connection;
}
