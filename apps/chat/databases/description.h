// How a database is built: what stands in it, not what it holds.
#pragma once

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

/// `database` as the JSON text of the property "db_structure".
std::string obtainStructureJson(const DatabaseDescription& database);
