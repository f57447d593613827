// What is asked about a statement, and what is answered.
#pragma once

#include "databases/result.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// As the schema writes them.
struct ColumnName {
  std::string table;
  std::string column;

  bool operator==(const ColumnName&) const = default;
};

enum class Effect {
  Reads,    // and nothing else
  Writes,   // changes rows or the structure, in a way that a transaction can take back
  Refused,  // is never run
};

struct StatementCheck {
  Effect effect = Effect::Refused;
  std::string reason;                   // a sentence for the user, unless it reads; may hold names of the schema
  bool isSingle = false;                // nothing but one statement, comments and semicolons; else it is refused
  std::vector<ColumnName> columnsRead;  // of tables and views, also of those that views stand for; each once
};

/// Beyond its limits a statement is ended, or its rows are cut.
struct RunLimits {
  std::chrono::milliseconds deadline{10'000};
  std::size_t rows = 10'000;
  std::size_t bytes = std::size_t{16} << 20U;    // of the rows, with what it takes to keep them in memory
  std::int64_t heap = std::int64_t{128} << 20U;  // bytes that the engine may take meanwhile
};

/// Told the number of changed rows. @return whether the changes are kept
using Confirm = std::function<bool(std::int64_t changedRows)>;

struct Written {
  bool isKept = false;
  std::int64_t changedRows = 0;  // when not kept: that would have been
  Result result;                 // what a RETURNING clause gave
};

enum class Presence { Unknown, There, Absent };

struct NearValues {
  Presence presence = Presence::Unknown;
  std::vector<std::string> others;  // only when absent; at most five
};

/// In the aggregate call `call`, as the statement writes it, rows of `table` count more than once.
struct RepeatedRows {
  std::string call;
  std::string table;  // or the alias that the statement gives it

  bool operator==(const RepeatedRows&) const = default;
};
