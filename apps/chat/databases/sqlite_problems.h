// What SQLite's errors mean to the user.
#pragma once

#include "databases/query_error.h"
#include "databases/sqlite_connection.h"

enum class SqliteStage {
  Preparing,  // no row has been read: SQLite's words quote the statement and the schema alone
  Running,    // they may quote what stands in a row
};

/// For all errors but those of interrupts and memory, which only the one who ran the statement can explain.
QueryError explainSqliteError(const SqliteError& error, SqliteStage stage);
