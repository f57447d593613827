// The rows of a prepared statement.
#pragma once

#include "databases/result.h"
#include "databases/statement.h"

#include <sqlite3.h>

/// Steps through `statement` and keeps what is within the rows and bytes of `limits`. A statement that writes is
/// stepped to its end even so.
/// @throw SqliteError
Result collectRows(sqlite3_stmt* statement, const RunLimits& limits);
