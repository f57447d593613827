// Reads the database description that comes with the instructions: one statement a line, names in backticks.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace standin {

enum class RelationKind { Table, View, MaterializedView };

struct Column {
  std::string name;
  std::string type;
};

struct ForeignKey {
  std::vector<std::string> columns;
  std::string schema;  // of the table it leads to; "": the schema it stands in
  std::string table;
  std::vector<std::string> referenced;
};

struct Relation {
  RelationKind kind = RelationKind::Table;
  std::string catalog;  // "" when none was named
  std::string schema;   // "" when none was named
  std::string name;
  std::vector<Column> columns;
  std::vector<std::string> primaryKey;
  std::vector<ForeignKey> foreignKeys;
};

using Schema = std::vector<Relation>;

/// The tables and views that `instructions` describe, in their order. Lines of any other kind, and statements that
/// can't be read, are passed over.
Schema readSchema(std::string_view instructions);

/// The table that `key` of `relation` leads to; null when the schema does not hold it.
const Relation* findReferenced(const Schema& schema, const Relation& relation, const ForeignKey& key);

bool isKeyColumn(const Relation& relation, std::string_view column);
bool isNumber(const Column& column);
bool isText(const Column& column);
/// By its type, or by its name where the database keeps dates as text.
bool isTime(const Column& column);

}  // namespace standin
