// What the program wants to know of a database, whatever its kind.
#pragma once

#include "exit_code.h"

#include <stdexcept>
#include <string>
#include <vector>

/// Names and types are UTF-8 and stand as the database has them.
struct ColumnDescription {
  std::string name;
  std::string type;
};

/// Columns and their targets, pairwise in order.
struct ForeignKeyDescription {
  std::vector<std::string> columns;
  std::string targetTable;
  std::vector<std::string> targetColumns;
};

/// A table, or a view, which has no keys.
struct TableDescription {
  std::string name;
  std::vector<ColumnDescription> columns;
  std::vector<std::string> primaryKey;  // in key order
  std::vector<ForeignKeyDescription> foreignKeys;
};

struct SchemaDescription {
  std::string name;  // empty when its objects are named without it
  std::vector<TableDescription> tables;
  std::vector<TableDescription> views;
};

struct DatabaseDescription {
  std::vector<SchemaDescription> schemas;
  std::vector<std::string> notes;  // sentences about what is left out
};

/// Why a database can't be read: a sentence for the user.
class DatabaseError : public std::runtime_error {
 public:
  DatabaseError(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), exitCode(code) {}

  ExitCode exitCode;
};

/// Access to one database, which it never changes. Used by one thread.
class DatabaseReader {
 public:
  virtual ~DatabaseReader() = default;
  /// The product, whose SQL dialect a model should write.
  virtual std::string productName() const = 0;
  /// @throw DatabaseError
  virtual DatabaseDescription readDescription() = 0;
};

/// `database` as the JSON text of the property "db_structure".
std::string obtainStructureJson(const DatabaseDescription& database);
