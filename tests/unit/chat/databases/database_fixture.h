// A shop's database, and what is made of statements on it.
#pragma once

#include "databases/database.h"
#include "sqlite_file_fixture.h"

#include <memory>
#include <optional>
#include <string>

inline constexpr const char* kShop = R"(
  CREATE TABLE customers(id INTEGER PRIMARY KEY, name TEXT, country TEXT, data TEXT);
  CREATE TABLE orders(id INTEGER PRIMARY KEY, customer INT REFERENCES customers ON DELETE CASCADE, total REAL);
  CREATE TABLE lines(ord INT REFERENCES orders, product TEXT, quantity INT);
  CREATE TABLE keyed(code TEXT PRIMARY KEY, amount INT) WITHOUT ROWID;
  CREATE VIEW totals AS SELECT customer, sum(total) AS total FROM orders GROUP BY customer;
  CREATE INDEX by_country ON customers(country);
  INSERT INTO customers VALUES(1, 'Alice', 'AT', '{"a":[1,2]}'), (2, 'Bob', 'CH', '{}'), (3, 'Carla', 'AT', NULL);
  INSERT INTO orders VALUES(10, 1, 5.5), (11, 1, 7), (12, 2, 100);
  INSERT INTO lines VALUES(10, 'pen', 1), (10, 'ink', 2), (11, 'pen', 3), (12, 'desk', 1);
  INSERT INTO keyed VALUES('x', 1);)";

/// Modules that a build of SQLite may lack.
inline constexpr const char* kVirtualTables = R"(
  CREATE VIRTUAL TABLE notes USING fts5(text); INSERT INTO notes VALUES('a red pen'), ('blue ink');
  CREATE VIRTUAL TABLE old USING fts4(text); INSERT INTO old VALUES('a red pen');
  CREATE VIRTUAL TABLE boxes USING rtree(id, x0, x1, y0, y1); INSERT INTO boxes VALUES(1, 0, 1, 0, 1);)";

class DatabaseFile : public SqliteFile {
 protected:
  /// The file is made anew by `sql`.
  Database& open(const std::string& sql = kShop, Access access = Access::Read) {
    writer("a.db", sql);
    database_ = openDatabase(path("a.db"), access);
    return *database_;
  }

  Database& database() { return *database_; }

  Result run(const std::string& sql) { return database_->run(sql, RunLimits()); }

  /// The error that `sql` ends with; nothing when it runs well.
  std::optional<QueryError> fail(const std::string& sql, const RunLimits& limits = RunLimits()) {
    try {
      database_->run(sql, limits);
    } catch (const QueryError& error) {
      return error;
    }
    return std::nullopt;
  }

 private:
  std::unique_ptr<Database> database_;
};
