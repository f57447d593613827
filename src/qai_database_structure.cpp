#include "qai_database_structure.h"

#include <cf/json_shortcuts.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using namespace std::string_view_literals;

constexpr std::array kColumnKeys{"name"sv, "type"sv};
constexpr std::array kForeignKeyKeys{"fields"sv, "ref_schema"sv, "ref_table"sv, "ref_fields"sv};
constexpr std::array kObjectKeys{"name"sv, "fields"sv, "pkeys"sv, "fkeys"sv};

struct ObjectKind {
  const char* key;
  const char* statement;
};
constexpr std::array<ObjectKind, 3> kObjectKinds{
    {{"tables", "TABLE"}, {"views", "VIEW"}, {"mviews", "MATERIALIZED VIEW"}}};

bool isOrMissing(const ICOJsonValue* value, JsonType type) { return value == nullptr || value->obtainType() == type; }

std::size_t sizeOf(const ICOJsonValue* array) { return array == nullptr ? 0 : array->obtainArraySize(); }

/// The members of `object` with these keys, each null when there is none.
template <std::size_t count>
std::array<const ICOJsonValue*, count> membersOf(const ICOJsonValue& object,
                                                 const std::array<std::string_view, count>& keys) {
  std::array<const ICOJsonValue*, count> members;
  std::transform(keys.begin(), keys.end(), members.begin(), [&](auto key) { return object.obtainJsonValue(key); });
  return members;
}

/// Walks a description. What is unusable is entered into the failures; each operation that says so with false has
/// done that.
class StructureReader {
 public:
  explicit StructureReader(StructureFailures& failures) : failures_(failures) {}

  CMVariantList readCatalogs(const ICOJsonValue& document);
  std::string writeStatement(std::string_view kind, std::string_view schemaName, const ICOJsonValue* object);

 private:
  bool fail(StructureCheck check) {
    failures_.push_back(check);
    return false;
  }

  bool readCatalog(const ICOJsonValue& json, CMVariantMap& catalog);
  bool readSchema(const ICOJsonValue& json, CMVariantMap& schema);
  /// Names stand between backticks as they are.
  void appendName(const ICOJsonValue& name) { statement_.append("`").append(name.obtainString()).append("`"); }
  bool appendColumns(const ICOJsonValue& columns, StructureCheck check);
  bool appendFields(const ICOJsonValue& fields);
  bool appendPrimaryKey(const ICOJsonValue* columns);
  bool appendForeignKeys(const ICOJsonValue* keys);
  bool appendForeignKey(const ICOJsonValue& key);

  StructureFailures& failures_;
  std::string statement_;  // the one that is being written
};

/// Nothing separates two columns.
bool StructureReader::appendColumns(const ICOJsonValue& columns, StructureCheck check) {
  for (std::size_t i = 0; i < columns.obtainArraySize(); ++i) {
    const ICOJsonValue* column = columns.obtainArrayItem(i);
    if (!cfHasJsonType(column, JsonType::String)) return fail(check);
    appendName(*column);
  }
  return true;
}

bool StructureReader::appendFields(const ICOJsonValue& fields) {
  for (std::size_t i = 0; i < fields.obtainArraySize(); ++i) {
    const auto [name, type] = membersOf(*fields.obtainArrayItem(i), kColumnKeys);
    if (!cfHasJsonType(name, JsonType::String) || !cfHasJsonType(type, JsonType::String)) {
      return fail(StructureCheck::Field);
    }
    if (i != 0) statement_ += ", ";
    appendName(*name);
    statement_.append(" ").append(type->obtainString());
  }
  return true;
}

bool StructureReader::appendPrimaryKey(const ICOJsonValue* columns) {
  if (sizeOf(columns) == 0) return true;
  statement_ += ", PRIMARY KEY(";
  if (!appendColumns(*columns, StructureCheck::PrimaryKey)) return false;
  statement_ += ")";
  return true;
}

bool StructureReader::appendForeignKeys(const ICOJsonValue* keys) {
  for (std::size_t i = 0; i < sizeOf(keys); ++i) {
    if (!appendForeignKey(*keys->obtainArrayItem(i))) return false;
  }
  return true;
}

bool StructureReader::appendForeignKey(const ICOJsonValue& key) {
  const auto [fields, schema, table, refFields] = membersOf(key, kForeignKeyKeys);
  if (!cfHasJsonType(fields, JsonType::Array) || !isOrMissing(schema, JsonType::String) ||
      !cfHasJsonType(table, JsonType::String) || !cfHasJsonType(refFields, JsonType::Array)) {
    return fail(StructureCheck::ForeignKey);
  }
  if (sizeOf(fields) == 0 || sizeOf(refFields) == 0) return true;

  statement_ += ", FOREIGN KEY(";
  if (!appendColumns(*fields, StructureCheck::ForeignKeyColumn)) return false;
  statement_ += ") REFERENCES ";
  if (schema != nullptr) {
    appendName(*schema);
    statement_ += ".";
  }
  appendName(*table);
  statement_ += "(";
  if (!appendColumns(*refFields, StructureCheck::ForeignKeyColumn)) return false;
  statement_ += ")";
  return true;
}

std::string StructureReader::writeStatement(std::string_view kind, std::string_view schemaName,
                                            const ICOJsonValue* object) {
  const auto [name, fields, primaryKey, foreignKeys] =
      object == nullptr ? std::array<const ICOJsonValue*, 4>{} : membersOf(*object, kObjectKeys);
  if (!cfHasJsonType(name, JsonType::String) || !cfHasJsonType(fields, JsonType::Array) ||
      !isOrMissing(primaryKey, JsonType::Array) || !isOrMissing(foreignKeys, JsonType::Array)) {
    fail(StructureCheck::Object);
    return "";
  }
  statement_ = "CREATE ";
  statement_.append(kind).append(" ");
  if (!schemaName.empty()) statement_.append("`").append(schemaName).append("`.");
  appendName(*name);
  statement_ += " (";
  const bool isWhole =
      sizeOf(fields) == 0 || (appendFields(*fields) && appendPrimaryKey(primaryKey) && appendForeignKeys(foreignKeys));
  if (!isWhole) return "";
  statement_ += ")";
  return statement_;
}

bool StructureReader::readSchema(const ICOJsonValue& json, CMVariantMap& schema) {
  const ICOJsonValue* id = json.obtainJsonValue("schema_id");
  const ICOJsonValue* name = json.obtainJsonValue("schema_name");
  const bool hasLists = std::all_of(kObjectKinds.begin(), kObjectKinds.end(), [&](const ObjectKind& kind) {
    return isOrMissing(json.obtainJsonValue(kind.key), JsonType::Array);
  });
  if (json.obtainType() != JsonType::Object || !isOrMissing(id, JsonType::String) ||
      !isOrMissing(name, JsonType::String) || !hasLists) {
    return fail(StructureCheck::Schema);
  }
  if (id != nullptr) schema["schema_id"] = std::string(id->obtainString());
  if (name != nullptr) schema["schema_name"] = std::string(name->obtainString());
  CMVariantList statements;
  for (const ObjectKind& kind : kObjectKinds) {
    const ICOJsonValue* objects = json.obtainJsonValue(kind.key);
    for (std::size_t i = 0; i < sizeOf(objects); ++i) {
      statements.emplace_back(
          writeStatement(kind.statement, name == nullptr ? ""sv : name->obtainString(), objects->obtainArrayItem(i)));
    }
  }
  schema["instructions"] = std::move(statements);
  return true;
}

bool StructureReader::readCatalog(const ICOJsonValue& json, CMVariantMap& catalog) {
  const ICOJsonValue* id = json.obtainJsonValue("catalog_id");
  const ICOJsonValue* name = json.obtainJsonValue("catalog_name");
  const ICOJsonValue* schemas = json.obtainJsonValue("schemas");
  if (!isOrMissing(id, JsonType::String) || !isOrMissing(name, JsonType::String) ||
      !cfHasJsonType(schemas, JsonType::Array)) {
    return fail(StructureCheck::Catalog);
  }
  CMVariantList instructions;
  if (id != nullptr) catalog["catalog_id"] = std::string(id->obtainString());
  if (name != nullptr) {
    catalog["catalog_name"] = std::string(name->obtainString());
    instructions.emplace_back("USE CATALOG `" + std::string(name->obtainString()) + "`");
  }
  CMVariantList usable;
  for (std::size_t i = 0; i < sizeOf(schemas); ++i) {
    CMVariantMap schema;
    if (readSchema(*schemas->obtainArrayItem(i), schema)) usable.emplace_back(std::move(schema));
  }
  catalog["instructions"] = std::move(instructions);
  catalog["schemas"] = std::move(usable);
  return true;
}

CMVariantList StructureReader::readCatalogs(const ICOJsonValue& document) {
  CMVariantList catalogs;
  for (std::size_t i = 0; i < document.obtainArraySize(); ++i) {
    CMVariantMap catalog;
    if (readCatalog(*document.obtainArrayItem(i), catalog)) catalogs.emplace_back(std::move(catalog));
  }
  std::stable_partition(catalogs.begin(), catalogs.end(), [](const CMVariant& catalog) {
    const auto name = catalog.mapValue().find("catalog_name");
    return name == catalog.mapValue().end() || name->second.stringRef().empty();
  });
  return catalogs;
}

/// Calls `visit(instruction)` for each in the order of the text.
template <class Visit>
void forEachInstruction(const CMVariantList& catalogs, Visit visit) {
  for (const CMVariant& catalog : catalogs) {
    for (const CMVariant& use : catalog.mapValue().at("instructions").listRef()) visit(use.stringRef());
    for (const CMVariant& schema : catalog.mapValue().at("schemas").listRef()) {
      for (const CMVariant& statement : schema.mapValue().at("instructions").listRef()) visit(statement.stringRef());
    }
  }
}

DatabaseText makeText(const std::string& json) {
  DatabaseText made;
  const CMVariantList catalogs = readDatabaseStructure(json, made.failures);
  std::size_t size = 0;
  std::size_t lines = 0;
  forEachInstruction(catalogs, [&](const std::string& instruction) {
    size += instruction.size() + 1;
    ++lines;
  });
  made.ddl.reserve(size);
  forEachInstruction(catalogs, [&](const std::string& instruction) { made.ddl.append(instruction).append("\n"); });
  made.json.reserve(size + lines);  // a line end takes a byte more there; little else does
  cfAppendJsonCharacters(made.json, made.ddl);
  return made;
}

}  // namespace

CMVariantList readDatabaseStructure(const std::string& json, StructureFailures& failures) {
  return StructureReader(failures).readCatalogs(COJson::readReference(json));
}

std::string writeObjectStatement(const std::string& kind, const std::string& schemaName, const ICOJsonValue* object,
                                 StructureFailures& failures) {
  return StructureReader(failures).writeStatement(kind, schemaName, object);
}

const DatabaseText& DatabaseDescription::text() const {
  if (text_ == nullptr) text_ = std::make_shared<const DatabaseText>(makeText(json_));
  return *text_;
}
