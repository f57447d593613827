// What a statement gave.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

/// Bytes that are no text.
struct Blob {
  std::string bytes;

  bool operator==(const Blob&) const = default;
};

/// One value: NULL (std::monostate), a number, a text in UTF-8 as the database has it, or bytes.
using Value = std::variant<std::monostate, std::int64_t, double, std::string, Blob>;

/// The rows that were read. A statement without columns gives no rows.
struct Result {
  std::vector<std::string> columns;      // their names, as the database gives them; the same one may come twice
  std::vector<std::vector<Value>> rows;  // each has a value for each column
  bool isCut = false;                    // there are more rows than were read
  std::chrono::milliseconds time{0};     // that it took
};
