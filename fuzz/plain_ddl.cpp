#include "plain_ddl.h"

#include <cf/json_shortcuts.h>

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace {

using Text = std::optional<std::string>;  // none when something in it is of a wrong type

/// The member when it is of the type.
const ICOJsonValue* find(const ICOJsonValue& object, std::string_view key, JsonType type) {
  return cfFindJsonMember(&object, key, type);
}

bool isOrMissing(const ICOJsonValue& object, std::string_view key, JsonType type) {
  return object.obtainJsonValue(key) == nullptr || find(object, key, type) != nullptr;
}

std::string quote(const ICOJsonValue& name) { return "`" + std::string(name.obtainString()) + "`"; }

std::vector<const ICOJsonValue*> itemsOf(const ICOJsonValue* array) {
  std::vector<const ICOJsonValue*> items;
  for (std::size_t i = 0; array != nullptr && i < array->obtainArraySize(); ++i) {
    items.push_back(array->obtainArrayItem(i));
  }
  return items;
}

Text columns(const ICOJsonValue* names) {
  std::string text = "(";
  for (const ICOJsonValue* name : itemsOf(names)) {
    if (name->obtainType() != JsonType::String) return {};
    text += quote(*name);
  }
  return text + ")";
}

Text foreignKey(const ICOJsonValue& key) {
  const ICOJsonValue* fields = find(key, "fields", JsonType::Array);
  const ICOJsonValue* table = find(key, "ref_table", JsonType::String);
  const ICOJsonValue* refFields = find(key, "ref_fields", JsonType::Array);
  const ICOJsonValue* schema = key.obtainJsonValue("ref_schema");
  if (fields == nullptr || table == nullptr || refFields == nullptr) return {};
  if (!isOrMissing(key, "ref_schema", JsonType::String)) return {};
  if (fields->obtainArraySize() == 0 || refFields->obtainArraySize() == 0) return "";
  const Text from = columns(fields);
  const Text to = columns(refFields);
  if (!from || !to) return {};
  return ", FOREIGN KEY" + *from + " REFERENCES " + (schema == nullptr ? "" : quote(*schema) + ".") + quote(*table) +
         *to;
}

Text fieldsAndKeys(const ICOJsonValue& object) {
  std::string text;
  for (const ICOJsonValue* field : itemsOf(object.obtainJsonValue("fields"))) {
    const ICOJsonValue* name = find(*field, "name", JsonType::String);
    const ICOJsonValue* type = find(*field, "type", JsonType::String);
    if (name == nullptr || type == nullptr) return {};
    text += (text.empty() ? "" : ", ") + quote(*name) + " " + std::string(type->obtainString());
  }
  const ICOJsonValue* primaryKey = object.obtainJsonValue("pkeys");
  if (text.empty()) return text;
  if (!itemsOf(primaryKey).empty()) {
    const Text names = columns(primaryKey);
    if (!names) return {};
    text += ", PRIMARY KEY" + *names;
  }
  for (const ICOJsonValue* key : itemsOf(object.obtainJsonValue("fkeys"))) {
    const Text clause = foreignKey(*key);
    if (!clause) return {};
    text += *clause;
  }
  return text;
}

/// "" for an object that can't be used.
std::string statement(const std::string& start, const ICOJsonValue& object) {
  const ICOJsonValue* name = find(object, "name", JsonType::String);
  if (name == nullptr || find(object, "fields", JsonType::Array) == nullptr) return "";
  if (!isOrMissing(object, "pkeys", JsonType::Array) || !isOrMissing(object, "fkeys", JsonType::Array)) return "";
  const Text inside = fieldsAndKeys(object);
  return inside ? start + quote(*name) + " (" + *inside + ")" : "";
}

std::string schemaText(const ICOJsonValue& schema) {
  if (!isOrMissing(schema, "schema_id", JsonType::String) || !isOrMissing(schema, "schema_name", JsonType::String) ||
      !isOrMissing(schema, "tables", JsonType::Array) || !isOrMissing(schema, "views", JsonType::Array) ||
      !isOrMissing(schema, "mviews", JsonType::Array)) {
    return "";
  }
  const ICOJsonValue* name = schema.obtainJsonValue("schema_name");
  const std::string prefix = name == nullptr || name->obtainString().empty() ? "" : quote(*name) + ".";
  std::string text;
  const auto append = [&](const char* key, const std::string& kind) {
    const std::string start = std::string("CREATE ").append(kind).append(" ").append(prefix);
    for (const ICOJsonValue* object : itemsOf(schema.obtainJsonValue(key))) text += statement(start, *object) + "\n";
  };
  append("tables", "TABLE");
  append("views", "VIEW");
  append("mviews", "MATERIALIZED VIEW");
  return text;
}

}  // namespace

std::string plainDDL(const ICOJsonValue& description) {
  std::string unnamed;
  std::string named;
  for (const ICOJsonValue* catalog : itemsOf(&description)) {
    const ICOJsonValue* name = catalog->obtainJsonValue("catalog_name");
    const ICOJsonValue* schemas = find(*catalog, "schemas", JsonType::Array);
    if (schemas == nullptr || !isOrMissing(*catalog, "catalog_id", JsonType::String) ||
        !isOrMissing(*catalog, "catalog_name", JsonType::String)) {
      continue;
    }
    std::string& text = name == nullptr || name->obtainString().empty() ? unnamed : named;
    if (name != nullptr) text += "USE CATALOG " + quote(*name) + "\n";
    for (const ICOJsonValue* schema : itemsOf(schemas)) text += schemaText(*schema);
  }
  return unnamed + named;
}
