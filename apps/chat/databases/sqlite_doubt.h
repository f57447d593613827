// What speaks against the result of a query.
#pragma once

#include "databases/sqlite_engine.h"

#include <chrono>
#include <string>
#include <vector>

/// As Database::findNearValues.
NearValues findNearValues(SqliteEngine& engine, const ColumnName& column, const std::string& literal,
                          std::chrono::milliseconds patience);

/// As Database::findRepeatedRows. Looked at are calls of sum, total, avg and count, without DISTINCT, FILTER and OVER,
/// whose argument has columns of one table alone; the table must have a rowid, so it is no view and no subquery.
std::vector<RepeatedRows> findRepeatedRows(SqliteEngine& engine, const std::string& sql,
                                           std::chrono::milliseconds patience);
