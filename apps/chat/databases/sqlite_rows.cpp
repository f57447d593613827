#include "databases/sqlite_rows.h"

#include "databases/sqlite_connection.h"

#include <string>
#include <utility>
#include <vector>

namespace {

[[noreturn]] void fail(sqlite3_stmt* statement) {
  sqlite3* connection = sqlite3_db_handle(statement);
  throw SqliteError(sqlite3_errcode(connection), sqlite3_errmsg(connection));
}

std::string copy(sqlite3_stmt* statement, const void* bytes, int column) {
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
  return size == 0 ? "" : std::string(static_cast<const char*>(bytes), size);
}

Value readValue(sqlite3_stmt* statement, int column) {
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
      return std::int64_t{sqlite3_column_int64(statement, column)};
    case SQLITE_FLOAT:
      return sqlite3_column_double(statement, column);
    case SQLITE_TEXT: {
      const void* text = sqlite3_column_text(statement, column);
      if (text == nullptr) fail(statement);  // no memory to turn UTF-16 into UTF-8
      return copy(statement, text, column);
    }
    case SQLITE_BLOB: {
      const void* bytes = sqlite3_column_blob(statement, column);
      if (bytes == nullptr && sqlite3_column_bytes(statement, column) > 0) fail(statement);
      return Blob{copy(statement, bytes, column)};
    }
    default:
      return std::monostate();
  }
}

std::size_t countBytes(const Value& value) {
  const std::size_t own = sizeof(Value);
  if (const auto* text = std::get_if<std::string>(&value)) return own + text->size();
  if (const auto* blob = std::get_if<Blob>(&value)) return own + blob->bytes.size();
  return own;
}

bool nextRow(sqlite3_stmt* statement) {
  const int result = sqlite3_step(statement);
  if (result != SQLITE_ROW && result != SQLITE_DONE) fail(statement);
  return result == SQLITE_ROW;
}

std::vector<std::string> readColumns(sqlite3_stmt* statement) {
  std::vector<std::string> columns;
  for (int column = 0; column < sqlite3_column_count(statement); ++column) {
    const char* name = sqlite3_column_name(statement, column);
    if (name == nullptr) fail(statement);
    columns.emplace_back(name);
  }
  return columns;
}

}  // namespace

Result collectRows(sqlite3_stmt* statement, const RunLimits& limits) {
  Result result;
  result.columns = readColumns(statement);
  const bool readsOnly = sqlite3_stmt_readonly(statement) != 0;
  std::size_t bytes = 0;
  while (nextRow(statement)) {
    std::vector<Value> row;
    if (!result.isCut && result.rows.size() < limits.rows) {
      for (int column = 0; column < static_cast<int>(result.columns.size()); ++column) {
        row.push_back(readValue(statement, column));
        bytes += countBytes(row.back());
      }
    }
    if (row.empty() || bytes > limits.bytes) {
      result.isCut = true;
      if (readsOnly) break;
    } else {
      result.rows.push_back(std::move(row));
    }
  }
  return result;
}
