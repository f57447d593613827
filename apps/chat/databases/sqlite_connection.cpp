#include "databases/sqlite_connection.h"

#include "databases/database.h"
#include "databases/sqlite_functions.h"
#include "path_text.h"
#include "start.h"

#include <cf/url.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <new>

namespace {

constexpr int kBusyMilliseconds = 500;
constexpr int kMostBytesInValue = 32 << 20;

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

bool isInWriteAheadMode(const std::filesystem::path& file) {
  constexpr std::size_t kReadVersionAt = 19;
  constexpr char kWriteAhead = 2;
  std::array<char, kReadVersionAt + 1> header{};
  std::ifstream(file, std::ios::binary).read(header.data(), header.size());
  // cppcheck-suppress containerOutOfBounds ; it takes the array for one shorter than it is
  return header[kReadVersionAt] == kWriteAhead;
}

std::string makeURI(const std::filesystem::path& file) {
  // Three slashes begin the path: "/home/…" has one itself, "C:/…" none, and the two of a server's name stay.
  const std::string path = makePathText(std::filesystem::absolute(file));
  std::string uri = path.starts_with('/') ? "file://" : "file:///";
  for (const char c : path) uri += c == '/' ? "/" : cfEncodeQueryText({&c, 1});
  return uri;
}

void execute(sqlite3* connection, const char* sql) {
  const int result = sqlite3_exec(connection, sql, nullptr, nullptr, nullptr);
  if (result == SQLITE_NOMEM) throw std::bad_alloc();
  if (result != SQLITE_OK) throw SqliteError(result, sqlite3_errmsg(connection));
}

// The file may come from anyone: its schema must not be able to run anything that matters. Neither must a statement be
// able to make a value that takes memory and time beyond all reason.
void setUp(sqlite3* connection) {
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_FTS3_TOKENIZER, 0, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
  sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, kMostBytesInValue);
  sqlite3_limit(connection, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, kMostBytesInPattern);
  sqlite3_limit(connection, SQLITE_LIMIT_ATTACHED, 0);
  sqlite3_limit(connection, SQLITE_LIMIT_WORKER_THREADS, 0);
  sqlite3_busy_timeout(connection, kBusyMilliseconds);
  execute(connection, "PRAGMA cell_size_check=ON");
  boundFunctions(connection);
}

SqliteConnection open(const std::string& path, int flags, const char* parameters) {
  const std::filesystem::path file = makePath(path);
  requireReadableFile(file, path);
  sqlite3* opened = nullptr;
  const std::string uri = makeURI(file) + parameters;
  const int result = sqlite3_open_v2(uri.c_str(), &opened, flags | SQLITE_OPEN_URI, nullptr);
  SqliteConnection connection(opened);
  if (result == SQLITE_NOMEM) throw std::bad_alloc();
  if (result != SQLITE_OK) throw noInput(path + " can't be opened: " + sqlite3_errstr(result));
  setUp(opened);
  return connection;
}

}  // namespace

SqliteQuery::SqliteQuery(sqlite3* connection, const char* sql) : connection_(connection) {
  sqlite3_stmt* statement = nullptr;
  const int result = sqlite3_prepare_v2(connection, sql, -1, &statement, nullptr);
  statement_.reset(statement);
  require(result == SQLITE_OK);
}

void SqliteQuery::bind(const std::string& first) {
  sqlite3_reset(statement_.get());  // gives the error of the last step again, which was reported then
  bindText(1, first);
}

void SqliteQuery::bind(const std::string& first, const std::string& second) {
  bind(first);
  bindText(2, second);
}

bool SqliteQuery::nextRow() {
  const int result = sqlite3_step(statement_.get());
  require(result == SQLITE_ROW || result == SQLITE_DONE);
  return result == SQLITE_ROW;
}

std::string SqliteQuery::text(int column) const {
  const void* bytes = sqlite3_column_text(statement_.get(), column);
  if (bytes == nullptr) {
    require(sqlite3_errcode(connection_) != SQLITE_NOMEM);  // which turning it into UTF-8 can take
    return "";
  }
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

SqliteFileState readSqliteFileState(const std::string& path) {
  std::error_code error;
  const std::filesystem::path file = std::filesystem::canonical(makePath(path), error);
  if (error) return {};
  std::filesystem::path log = file;
  log += "-wal";
  SqliteFileState state;
  state.size = std::filesystem::file_size(file, error);
  state.time = std::filesystem::last_write_time(file, error);
  state.hasLog = std::filesystem::exists(log, error);
  return state;
}

// In write-ahead mode even a reader makes two files beside the database and leaves them there. When there is no log,
// the file holds everything and nobody is writing, so it can be read as immutable, which needs neither. It also works
// in a folder that can't be written.
SqliteSharing findSharing(const std::string& path) {
  requireReadableFile(makePath(path), path);
  const bool isAlone = isInWriteAheadMode(makePath(path)) && !readSqliteFileState(path).hasLog;
  return isAlone ? SqliteSharing::Immutable : SqliteSharing::Shared;
}

SqliteConnection openSqliteForReading(const std::string& path, SqliteSharing sharing) {
  const char* parameters = sharing == SqliteSharing::Immutable ? "?mode=ro&immutable=1" : "?mode=ro";
  SqliteConnection connection = open(path, SQLITE_OPEN_READONLY, parameters);
  execute(connection.get(), "PRAGMA query_only=ON");
  return connection;
}

SqliteConnection openSqliteForWriting(const std::string& path) {
  SqliteConnection connection = open(path, SQLITE_OPEN_READWRITE, "?mode=rw");
  // SQLite opens a file for reading when it can't be written.
  if (sqlite3_db_readonly(connection.get(), "main") != 0) throw noInput(path + " can't be written: permission denied");
  execute(connection.get(), "PRAGMA foreign_keys=ON");
  return connection;
}
