// Statements that come from anyone, on one SQLite connection.
#pragma once

#include "databases/sqlite_authorizer.h"
#include "databases/sqlite_connection.h"
#include "databases/sqlite_problems.h"
#include "databases/statement.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>

/// All that can throw on a statement throws QueryError, and std::bad_alloc when the machine has no memory.
class SqliteEngine {
 public:
  /// `stop` ends what runs, and all that begins while it is set.
  SqliteEngine(SqliteConnection connection, const std::atomic<bool>& stop);

  sqlite3* connection() const { return connection_.get(); }

  StatementCheck check(const std::string& sql);
  Result run(const std::string& sql, const RunLimits& limits);
  Written write(const std::string& sql, const RunLimits& limits, const Confirm& confirm);

  /// Has `work` use the connection within the deadline and the heap of `limits`.
  void within(const RunLimits& limits, SqliteStage stage, const std::function<void()>& work);

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  struct Prepared {
    std::unique_ptr<sqlite3_stmt, Finalizer> statement;  // null when there is none, or it is refused
    SqliteRequests requests;
    bool isSingle = true;
  };
  class Transaction;

  Prepared prepare(const std::string& sql);
  StatementCheck judge(const Prepared& prepared) const;
  Prepared prepareFor(Effect effect, const std::string& sql);
  Result collect(const Prepared& prepared, const RunLimits& limits);
  void execute(const char* sql);
  [[noreturn]] void fail(const SqliteError& error, SqliteStage stage, bool isHeapTight) const;

  SqliteConnection connection_;
  SqliteAuthorizer authorizer_;
  const std::atomic<bool>& stop_;
};
