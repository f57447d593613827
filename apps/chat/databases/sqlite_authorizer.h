// What statements that come from anyone may ask of SQLite.
#pragma once

#include "databases/statement.h"

#include <sqlite3.h>

#include <string>
#include <vector>

/// What was asked while a statement was prepared, virtual tables' own statements included.
struct SqliteRequests {
  std::vector<ColumnName> columnsRead;  // each once
  std::string change;                   // "delete rows of orders"; "" when none is known
  std::string refusal;                  // a sentence; "" when all was let through
};

/// Stands at a connection as long as it lives. Lets through what reads the database and what changes its rows and
/// structure: whether that may be changed is decided by how the file is opened and by sqlite3_stmt_readonly, since
/// declaring virtual tables and connecting to them asks for changes that are never made. Does not let through what
/// reaches beyond the database, changes how the connection works, or begins and ends transactions.
class SqliteAuthorizer {
 public:
  explicit SqliteAuthorizer(sqlite3* connection);
  ~SqliteAuthorizer();
  SqliteAuthorizer(const SqliteAuthorizer&) = delete;
  SqliteAuthorizer& operator=(const SqliteAuthorizer&) = delete;

  /// Lets all through while it lives, for statements of our own.
  class Pass {
   public:
    explicit Pass(SqliteAuthorizer& authorizer) : authorizer_(authorizer) { authorizer_.letsAllThrough_ = true; }
    ~Pass() { authorizer_.letsAllThrough_ = false; }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

   private:
    SqliteAuthorizer& authorizer_;
  };

  /// From here on requests are noted.
  void startNoting();
  /// What was asked since, and no more is noted.
  /// @throw std::bad_alloc when there was no memory to note it
  SqliteRequests takeRequests();

 private:
  static int decide(void* self, int action, const char* first, const char* second, const char* schema,
                    const char* source) noexcept;
  int decide(int action, const std::string& first, const std::string& second, bool hasSecond);
  void noteColumn(const std::string& table, const std::string& column);
  void noteChange(int action, const std::string& first, const std::string& second);

  sqlite3* connection_;
  SqliteRequests requests_;
  bool letsAllThrough_ = false;
  bool notes_ = false;
  bool changesStructure_ = false;
  bool isOutOfMemory_ = false;
};
