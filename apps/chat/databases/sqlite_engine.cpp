#include "databases/sqlite_engine.h"

#include "databases/sqlite_bounds.h"
#include "databases/sqlite_rows.h"
#include "sql/statements.h"

#include <chrono>
#include <new>
#include <string_view>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostSql = std::size_t{1} << 20U;
constexpr int kStepsBetweenLooks = 1000;  // of SQLite's machine: some ten microseconds

/// While it lives, what runs ends with SQLITE_INTERRUPT when the time is over or `stop` is set.
class Deadline {
 public:
  Deadline(sqlite3* connection, const std::atomic<bool>& stop, std::chrono::milliseconds time)
      : connection_(connection), stop_(stop), end_(Clock::now() + time) {
    sqlite3_progress_handler(connection_, kStepsBetweenLooks, &Deadline::isOver, this);
  }
  ~Deadline() { sqlite3_progress_handler(connection_, 0, nullptr, nullptr); }
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;

 private:
  static int isOver(void* self) {
    const auto& deadline = *static_cast<const Deadline*>(self);
    return deadline.stop_ || Clock::now() >= deadline.end_ ? 1 : 0;
  }

  sqlite3* connection_;
  const std::atomic<bool>& stop_;
  Clock::time_point end_;
};

QueryError notAllowed(const std::string& reason) { return {QueryProblem::NotAllowed, "", reason}; }

std::chrono::milliseconds since(Clock::time_point start) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
}

}  // namespace

/// Takes back what was changed while it lived, unless it was committed.
class SqliteEngine::Transaction {
 public:
  explicit Transaction(SqliteEngine& engine) : engine_(engine) { engine_.execute("BEGIN IMMEDIATE"); }
  ~Transaction() {
    const SqliteAuthorizer::Pass pass(engine_.authorizer_);
    // A conflict may have taken the changes back already. The connection's end does when this finds no memory.
    if (sqlite3_get_autocommit(engine_.connection()) == 0)
      sqlite3_exec(engine_.connection(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit() { engine_.execute("COMMIT"); }

 private:
  SqliteEngine& engine_;
};

SqliteEngine::SqliteEngine(SqliteConnection connection, const std::atomic<bool>& stop)
    : connection_(std::move(connection)), authorizer_(connection_.get()), stop_(stop) {}

StatementCheck SqliteEngine::check(const std::string& sql) {
  // Connecting to virtual tables asks for columns of the tables behind them, but only the first time.
  prepare(sql);
  return judge(prepare(sql));
}

Result SqliteEngine::run(const std::string& sql, const RunLimits& limits) {
  const Clock::time_point start = Clock::now();
  Result result = collect(prepareFor(Effect::Reads, sql), limits);
  result.time = since(start);
  return result;
}

Written SqliteEngine::write(const std::string& sql, const RunLimits& limits, const Confirm& confirm) {
  const Clock::time_point start = Clock::now();
  Prepared prepared = prepareFor(Effect::Writes, sql);
  Transaction transaction(*this);
  const sqlite3_int64 before = sqlite3_total_changes64(connection());
  Written written;
  written.result = collect(prepared, limits);
  written.result.time = since(start);
  written.changedRows = sqlite3_total_changes64(connection()) - before;
  prepared.statement.reset();
  written.isKept = confirm(written.changedRows);
  if (stop_) throw QueryError(QueryProblem::Interrupted, "", "");
  if (written.isKept) transaction.commit();
  return written;
}

void SqliteEngine::within(const RunLimits& limits, SqliteStage stage, const std::function<void()>& work) {
  if (stop_) throw QueryError(QueryProblem::Interrupted, "", "");
  const SqliteHeapLimit heap(limits.heap);
  const Deadline deadline(connection(), stop_, limits.deadline);
  try {
    work();
  } catch (const SqliteError& error) {
    fail(error, stage, heap.wasTight());
  }
}

void SqliteEngine::fail(const SqliteError& error, SqliteStage stage, bool isHeapTight) const {
  if (error.resultCode == SQLITE_INTERRUPT)
    throw QueryError(stop_ ? QueryProblem::Interrupted : QueryProblem::TooLong, "", "");
  if (error.resultCode == SQLITE_NOMEM && isHeapTight) throw QueryError(QueryProblem::TooMuchMemory, "", "");
  if (error.resultCode == SQLITE_NOMEM) throw std::bad_alloc();
  throw explainSqliteError(error, stage);
}

SqliteEngine::Prepared SqliteEngine::prepare(const std::string& sql) {
  if (sql.size() > kMostSql) throw QueryError(QueryProblem::TooComplex, "", "");
  Prepared prepared;
  if (sql.find('\0') != std::string::npos) {
    prepared.requests.refusal = "It has a NUL character, behind which SQLite would not read on";
    return prepared;
  }
  RunLimits limits;
  limits.heap = kMostMemoryToPrepare;
  within(limits, SqliteStage::Preparing, [&] {
    sqlite3_stmt* statement = nullptr;
    const char* tail = nullptr;
    authorizer_.startNoting();
    const int result = sqlite3_prepare_v2(connection(), sql.data(), static_cast<int>(sql.size()), &statement, &tail);
    prepared.statement.reset(statement);
    prepared.requests = authorizer_.takeRequests();
    if (result == SQLITE_OK) {
      prepared.requests.refusal.clear();  // of what a virtual table does without
      prepared.isSingle = isEmptyStatement(std::string_view(sql).substr(static_cast<std::size_t>(tail - sql.data())));
    } else if (prepared.requests.refusal.empty()) {
      throw SqliteError(result, sqlite3_errmsg(connection()));
    }
  });
  return prepared;
}

StatementCheck SqliteEngine::judge(const Prepared& prepared) const {
  StatementCheck check;
  check.isSingle = prepared.isSingle;
  check.columnsRead = prepared.requests.columnsRead;
  sqlite3_stmt* const statement = prepared.statement.get();
  if (!prepared.requests.refusal.empty()) {
    check.reason = prepared.requests.refusal;
  } else if (!check.isSingle) {
    check.reason = "It is more than one statement";
  } else if (statement == nullptr) {
    check.isSingle = false;
    check.reason = "There is no statement in it";
  } else if (sqlite3_bind_parameter_count(statement) > 0) {
    check.reason = "It has parameters, for which there are no values";
  } else if (sqlite3_stmt_isexplain(statement) != 0 || sqlite3_stmt_readonly(statement) != 0) {
    check.effect = Effect::Reads;
  } else if (prepared.requests.change.empty()) {  // VACUUM
    check.reason = "It would write files in a way that can't be taken back";
  } else {
    check.effect = Effect::Writes;
    check.reason = "It would " + prepared.requests.change;
  }
  return check;
}

SqliteEngine::Prepared SqliteEngine::prepareFor(Effect effect, const std::string& sql) {
  Prepared prepared = prepare(sql);
  const StatementCheck check = judge(prepared);
  if (check.effect != effect) throw notAllowed(check.effect == Effect::Reads ? "It only reads" : check.reason);
  return prepared;
}

Result SqliteEngine::collect(const Prepared& prepared, const RunLimits& limits) {
  Result result;
  within(limits, SqliteStage::Running, [&] { result = collectRows(prepared.statement.get(), limits); });
  return result;
}

void SqliteEngine::execute(const char* sql) {
  const SqliteAuthorizer::Pass pass(authorizer_);
  const int result = sqlite3_exec(connection(), sql, nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) fail(SqliteError(result, sqlite3_errmsg(connection())), SqliteStage::Running, false);
}
