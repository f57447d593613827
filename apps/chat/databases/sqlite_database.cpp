#include "databases/sqlite_database.h"

#include "databases/sqlite_connection.h"
#include "databases/sqlite_doubt.h"
#include "databases/sqlite_engine.h"
#include "databases/sqlite_structure.h"

#include <atomic>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

namespace {

DatabaseError explainUnreadable(const std::string& path, const SqliteError& error) {
  const std::string detail = std::string(": ") + error.what();
  switch (error.resultCode) {
    case SQLITE_NOMEM:
      throw std::bad_alloc();
    case SQLITE_NOTADB:
      return {ExitCode::NotADatabase, path + " is not a SQLite database"};
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return {ExitCode::NoInput, path + " is locked by another program"};
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
      return {ExitCode::NoInput, path + " needs repair or recovery by a program that may write it" + detail};
    case SQLITE_IOERR:
    case SQLITE_PERM:
    case SQLITE_INTERRUPT:
      return {ExitCode::NoInput, path + " can't be read" + detail};
    default:
      return {ExitCode::NotADatabase, "The structure of " + path + " is damaged" + detail};
  }
}

/// The rows of EXPLAIN QUERY PLAN: a number, its parent's number, something unused, a text.
Result indentPlan(const Result& plan) {
  Result indented{.columns = {"plan"}, .rows = {}, .isCut = plan.isCut, .time = plan.time};
  std::map<std::int64_t, std::size_t> depths{{0, 0}};
  for (const std::vector<Value>& row : plan.rows) {
    const std::size_t depth = depths[std::get<std::int64_t>(row[1])];
    depths[std::get<std::int64_t>(row[0])] = depth + 1;
    indented.rows.push_back({std::string(2 * depth, ' ') + std::get<std::string>(row[3])});
  }
  return indented;
}

class SqliteDatabase final : public Database {
 public:
  SqliteDatabase(std::string path, Access access) : path_(std::move(path)) {
    if (access == Access::Write) writer_.emplace(openSqliteForWriting(path_), stop_);
    openReader();
  }

  std::string productName() const override { return "SQLite"; }

  DatabaseDescription readDescription() override try {
    DatabaseDescription database = describeSqlite(reader().connection());
    if (database.schemas.empty()) database.notes.push_back(path_ + " holds no tables");
    return database;
  } catch (const SqliteError& error) {
    throw explainUnreadable(path_, error);
  }

  StatementCheck check(const std::string& sql) override {
    StatementCheck check = reader().check(sql);
    if (check.effect == Effect::Writes && !writer_) check.reason += kNotForWriting;
    return check;
  }

  Result run(const std::string& sql, const RunLimits& limits) override { return reader().run(sql, limits); }

  Written runWriting(const std::string& sql, const RunLimits& limits, const Confirm& confirm) override {
    if (!writer_) throw QueryError(QueryProblem::NotAllowed, "", std::string("It would write") + kNotForWriting);
    return writer_->write(sql, limits, confirm);
  }

  Result explain(const std::string& sql) override {
    return indentPlan(reader().run("EXPLAIN QUERY PLAN " + sql, RunLimits()));
  }

  NearValues findNearValues(const ColumnName& column, const std::string& literal,
                            std::chrono::milliseconds patience) override {
    return ::findNearValues(reader(), column, literal, patience);
  }

  std::vector<RepeatedRows> findRepeatedRows(const std::string& sql, std::chrono::milliseconds patience) override {
    return ::findRepeatedRows(reader(), sql, patience);
  }

  void interrupt() noexcept override {
    stop_ = true;
    const std::lock_guard lock(mutex_);
    if (reader_) sqlite3_interrupt(reader_->connection());
    if (writer_) sqlite3_interrupt(writer_->connection());
  }

  void dropLateInterrupt() noexcept override { stop_ = false; }

 private:
  static constexpr const char* kNotForWriting = ", and the database is not open for writing";

  void openReader() {
    const SqliteSharing sharing = writer_ ? SqliteSharing::Shared : findSharing(path_);
    SqliteConnection opened = openSqliteForReading(path_, sharing);
    std::optional<SqliteFileState> state;
    if (sharing == SqliteSharing::Immutable) state = readSqliteFileState(path_);
    const std::lock_guard lock(mutex_);
    reader_.emplace(std::move(opened), stop_);
    state_ = state;
  }

  /// A file that is read as immutable is opened again when another program has begun to change it.
  SqliteEngine& reader() {
    if (state_ && readSqliteFileState(path_) != *state_) openReader();
    return *reader_;
  }

  std::string path_;
  std::atomic<bool> stop_ = false;
  std::mutex mutex_;  // that the reader is not replaced while it is interrupted
  std::optional<SqliteEngine> writer_;
  std::optional<SqliteEngine> reader_;
  std::optional<SqliteFileState> state_;  // when the reader takes the file for immutable
};

}  // namespace

std::unique_ptr<Database> openSqliteDatabase(const std::string& path, Access access) {
  return std::make_unique<SqliteDatabase>(path, access);
}
