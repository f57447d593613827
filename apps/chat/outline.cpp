#include "outline.h"

#include <algorithm>

namespace {

bool holds(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::string describe(const ColumnDescription& column, const TableDescription& table) {
  std::string about = column.type;
  const auto add = [&about](const std::string& text) { about += (about.empty() ? "" : ", ") + text; };
  if (holds(table.primaryKey, column.name)) add("primary key");
  for (const ForeignKeyDescription& key : table.foreignKeys) {
    if (holds(key.columns, column.name)) add("refers to " + key.targetTable);
  }
  return about;
}

TableOutline outline(const SchemaDescription& schema, const TableDescription& table, bool isView) {
  TableOutline outline{
      .name = schema.name.empty() ? table.name : schema.name + "." + table.name, .isView = isView, .columns = {}};
  for (const ColumnDescription& column : table.columns)
    outline.columns.push_back({.name = column.name, .about = describe(column, table)});
  return outline;
}

}  // namespace

std::vector<TableOutline> outlineTables(const DatabaseDescription& database) {
  std::vector<TableOutline> outlines;
  for (const SchemaDescription& schema : database.schemas) {
    for (const TableDescription& table : schema.tables) outlines.push_back(outline(schema, table, false));
    for (const TableDescription& view : schema.views) outlines.push_back(outline(schema, view, true));
  }
  return outlines;
}
