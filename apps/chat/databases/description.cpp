#include "databases/description.h"

#include <cf/json.h>

namespace {

void addTexts(COJsonValue* object, const char* key, const std::vector<std::string>& texts) {
  COJsonValue* array = object->addKeyValue(key);
  array->setArray();
  for (const std::string& text : texts) array->addArrayItem()->setString(text);
}

void addForeignKey(COJsonValue* array, const SchemaDescription& schema, const ForeignKeyDescription& key) {
  COJsonValue* item = array->addArrayItem();
  addTexts(item, "fields", key.columns);
  if (!schema.name.empty()) item->addKeyValue("ref_schema")->setString(schema.name);
  item->addKeyValue("ref_table")->setString(key.targetTable);
  addTexts(item, "ref_fields", key.targetColumns);
}

void addTable(COJsonValue* array, const SchemaDescription& schema, const TableDescription& table) {
  COJsonValue* item = array->addArrayItem();
  item->addKeyValue("name")->setString(table.name);
  COJsonValue* fields = item->addKeyValue("fields");
  fields->setArray();
  for (const ColumnDescription& column : table.columns) {
    COJsonValue* field = fields->addArrayItem();
    field->addKeyValue("name")->setString(column.name);
    field->addKeyValue("type")->setString(column.type);
  }
  if (!table.primaryKey.empty()) addTexts(item, "pkeys", table.primaryKey);
  if (table.foreignKeys.empty()) return;
  COJsonValue* keys = item->addKeyValue("fkeys");
  for (const ForeignKeyDescription& key : table.foreignKeys) addForeignKey(keys, schema, key);
}

void addTables(COJsonValue* object, const char* key, const SchemaDescription& schema,
               const std::vector<TableDescription>& tables) {
  if (tables.empty()) return;
  COJsonValue* array = object->addKeyValue(key);
  for (const TableDescription& table : tables) addTable(array, schema, table);
}

}  // namespace

std::string obtainStructureJson(const DatabaseDescription& database) {
  COJson json;
  // One catalog without a name: a name would tell the model to write USE CATALOG.
  COJsonValue* schemas = json.addArrayItem()->addKeyValue("schemas");
  schemas->setArray();
  for (const SchemaDescription& schema : database.schemas) {
    COJsonValue* item = schemas->addArrayItem();
    item->setObject();
    if (!schema.name.empty()) item->addKeyValue("schema_name")->setString(schema.name);
    addTables(item, "tables", schema, schema.tables);
    addTables(item, "views", schema, schema.views);
  }
  return json.obtainJsonString();
}
