#include "qai_assistant_properties.h"

#include <cf/assert.h>
#include <cf/text.h>

#include <algorithm>
#include <array>

namespace {

constexpr std::string_view kScheme = "https://";

// Which keys a database description may hold; read by hosts, never parsed here.
constexpr const char* kStructureDescription =
    "CMVariant - "
    R"([{"catalog_id":"optional","catalog_name":"optional","schemas":[{"schema_id":"optional",)"
    R"("schema_name":"optional","tables":[{"name":"","fields":[{"name":"","type":""}],"pkeys":["optional"],)"
    R"("fkeys":[{"fields":[""],"ref_schema":"optional","ref_table":"","ref_fields":[""]}]}],)"
    R"("views":[null],"mviews":[null]}]}])";

bool isOrMissing(const ICOJsonValue* value, JsonType type) { return value == nullptr || value->obtainType() == type; }

std::size_t sizeOf(const ICOJsonValue* array) { return array == nullptr ? 0 : array->obtainArraySize(); }

void appendQuoted(std::string& out, std::string_view identifier) {
  out += '`';
  out += identifier;
  out += '`';
}

/// Nothing separates two columns.
bool appendColumns(std::string& out, const ICOJsonValue& columns) {
  for (std::size_t i = 0; i < columns.obtainArraySize(); ++i) {
    const ICOJsonValue* column = columns.obtainArrayItem(i);
    if (!cfHasJsonType(column, JsonType::String)) return CF_ASSERT(false);
    appendQuoted(out, column->obtainString());
  }
  return true;
}

bool appendFields(std::string& out, const ICOJsonValue& fields) {
  for (std::size_t i = 0; i < fields.obtainArraySize(); ++i) {
    const ICOJsonValue* field = fields.obtainArrayItem(i);
    const ICOJsonValue* name = field->obtainJsonValue("name");
    const ICOJsonValue* type = field->obtainJsonValue("type");
    if (!cfHasJsonType(name, JsonType::String) || !cfHasJsonType(type, JsonType::String)) return CF_ASSERT(false);
    if (i > 0) out += ", ";
    appendQuoted(out, name->obtainString());
    out += ' ';
    out += type->obtainString();
  }
  return true;
}

bool appendPrimaryKey(std::string& out, const ICOJsonValue* columns) {
  if (sizeOf(columns) == 0) return true;
  out += ", PRIMARY KEY(";
  if (!appendColumns(out, *columns)) return false;
  out += ')';
  return true;
}

bool appendForeignKey(std::string& out, const ICOJsonValue& key) {
  const ICOJsonValue* fields = key.obtainJsonValue("fields");
  const ICOJsonValue* schema = key.obtainJsonValue("ref_schema");
  const ICOJsonValue* table = key.obtainJsonValue("ref_table");
  const ICOJsonValue* refFields = key.obtainJsonValue("ref_fields");
  if (!cfHasJsonType(fields, JsonType::Array) || !isOrMissing(schema, JsonType::String) ||
      !cfHasJsonType(table, JsonType::String) || !cfHasJsonType(refFields, JsonType::Array)) {
    return CF_ASSERT(false);
  }
  if (sizeOf(fields) == 0 || sizeOf(refFields) == 0) return true;

  out += ", FOREIGN KEY(";
  if (!appendColumns(out, *fields)) return false;
  out += ") REFERENCES ";
  if (schema != nullptr) {
    appendQuoted(out, schema->obtainString());
    out += '.';
  }
  appendQuoted(out, table->obtainString());
  out += '(';
  if (!appendColumns(out, *refFields)) return false;
  out += ')';
  return true;
}

bool appendForeignKeys(std::string& out, const ICOJsonValue* keys) {
  for (std::size_t i = 0; i < sizeOf(keys); ++i) {
    if (!appendForeignKey(out, *keys->obtainArrayItem(i))) return false;
  }
  return true;
}

/// On failure `out` holds the beginning of a statement.
bool appendStatement(std::string& out, std::string_view kind, std::string_view schemaName, const ICOJsonValue& object) {
  const ICOJsonValue* name = object.obtainJsonValue("name");
  const ICOJsonValue* fields = object.obtainJsonValue("fields");
  const ICOJsonValue* primaryKey = object.obtainJsonValue("pkeys");
  const ICOJsonValue* foreignKeys = object.obtainJsonValue("fkeys");
  if (!cfHasJsonType(name, JsonType::String) || !cfHasJsonType(fields, JsonType::Array) ||
      !isOrMissing(primaryKey, JsonType::Array) || !isOrMissing(foreignKeys, JsonType::Array)) {
    return CF_ASSERT(false);
  }
  out += "CREATE ";
  out += kind;
  out += ' ';
  if (!schemaName.empty()) {
    appendQuoted(out, schemaName);
    out += '.';
  }
  appendQuoted(out, name->obtainString());
  out += " (";
  const bool complete = sizeOf(fields) == 0 || (appendFields(out, *fields) && appendPrimaryKey(out, primaryKey) &&
                                                appendForeignKeys(out, foreignKeys));
  if (complete) out += ')';
  return complete;
}

/// A statement, or nothing at all when the object can't be used.
void appendStatementOrNothing(std::string& out, std::string_view kind, std::string_view schemaName,
                              const ICOJsonValue& object) {
  const std::size_t start = out.size();
  if (!appendStatement(out, kind, schemaName, object)) out.resize(start);
}

struct ObjectKind {
  const char* key;
  const char* statement;
};
constexpr std::array<ObjectKind, 3> kObjectKinds{
    {{"tables", "TABLE"}, {"views", "VIEW"}, {"mviews", "MATERIALIZED VIEW"}}};

/// A schema that can be used: its parts, all of the right types.
struct Schema {
  const ICOJsonValue* id;
  const ICOJsonValue* name;
  const ICOJsonValue* json;

  std::string_view nameText() const { return name == nullptr ? std::string_view() : name->obtainString(); }

  /// Calls `visit(kind, object)` for each table, then each view, then each materialized view.
  template <class Visit>
  void forEachObject(Visit visit) const {
    for (const ObjectKind& kind : kObjectKinds) {
      const ICOJsonValue* objects = json->obtainJsonValue(kind.key);
      for (std::size_t i = 0; i < sizeOf(objects); ++i) visit(kind.statement, *objects->obtainArrayItem(i));
    }
  }
};

/// A catalog that can be used.
struct Catalog {
  const ICOJsonValue* id;
  const ICOJsonValue* name;
  const ICOJsonValue* schemas;

  bool isNamed() const { return name != nullptr && !name->obtainString().empty(); }

  void appendUse(std::string& out) const {
    out += "USE CATALOG ";
    appendQuoted(out, name->obtainString());
  }

  /// Calls `visit(schema)` for each schema that can be used.
  template <class Visit>
  void forEachSchema(Visit visit) const {
    for (std::size_t i = 0; i < schemas->obtainArraySize(); ++i) {
      const ICOJsonValue* json = schemas->obtainArrayItem(i);
      const Schema schema{json->obtainJsonValue("schema_id"), json->obtainJsonValue("schema_name"), json};
      const bool usable = json->obtainType() == JsonType::Object && isOrMissing(schema.id, JsonType::String) &&
                          isOrMissing(schema.name, JsonType::String) &&
                          std::all_of(kObjectKinds.begin(), kObjectKinds.end(), [json](const ObjectKind& kind) {
                            return isOrMissing(json->obtainJsonValue(kind.key), JsonType::Array);
                          });
      if (usable) {
        visit(schema);
      } else {
        CF_ASSERT(false);
      }
    }
  }
};

/// The usable catalogs, those without a name first, so that what needs no "USE CATALOG" comes before the first one.
std::vector<Catalog> readCatalogs(const COJson& structure) {
  std::vector<Catalog> catalogs;
  for (std::size_t i = 0; i < structure.obtainArraySize(); ++i) {
    const ICOJsonValue* json = structure.obtainArrayItem(i);
    const Catalog catalog{json->obtainJsonValue("catalog_id"), json->obtainJsonValue("catalog_name"),
                          json->obtainJsonValue("schemas")};
    if (isOrMissing(catalog.id, JsonType::String) && isOrMissing(catalog.name, JsonType::String) &&
        cfHasJsonType(catalog.schemas, JsonType::Array)) {
      catalogs.push_back(catalog);
    } else {
      CF_ASSERT(false);
    }
  }
  std::stable_partition(catalogs.begin(), catalogs.end(), [](const Catalog& catalog) { return !catalog.isNamed(); });
  return catalogs;
}

CMVariantMap annotateSchema(const Schema& schema) {
  CMVariantMap map;
  if (schema.id != nullptr) map["schema_id"] = std::string(schema.id->obtainString());
  if (schema.name != nullptr) map["schema_name"] = std::string(schema.name->obtainString());
  CMVariantList statements;
  schema.forEachObject([&](const char* kind, const ICOJsonValue& object) {
    std::string statement;
    appendStatementOrNothing(statement, kind, schema.nameText(), object);
    statements.emplace_back(std::move(statement));
  });
  map["instructions"] = std::move(statements);
  return map;
}

CMVariantMap annotateCatalog(const Catalog& catalog) {
  CMVariantMap map;
  CMVariantList instructions;
  if (catalog.id != nullptr) map["catalog_id"] = std::string(catalog.id->obtainString());
  if (catalog.name != nullptr) {
    map["catalog_name"] = std::string(catalog.name->obtainString());
    std::string use;
    catalog.appendUse(use);
    instructions.emplace_back(std::move(use));
  }
  CMVariantList schemas;
  catalog.forEachSchema([&schemas](const Schema& schema) { schemas.emplace_back(annotateSchema(schema)); });
  map["instructions"] = std::move(instructions);
  map["schemas"] = std::move(schemas);
  return map;
}

}  // namespace

/// A key: how it is described, read and written.
struct QAIAssistantProperties::Key {
  std::string_view name;
  const char* description;
  CMVariant (*read)(const QAIAssistantProperties& record);
  bool (QAIAssistantProperties::*write)(const CMVariant& value);

  using Record = QAIAssistantProperties;
  static const std::array<Key, 7> kAll;
};

// NOLINTNEXTLINE(cert-err58-cpp): constinit says that nothing runs here
constinit const std::array<QAIAssistantProperties::Key, 7> QAIAssistantProperties::Key::kAll{{
    {"api_host", "string", [](const Record& record) { return CMVariant(record.apiHost); }, &Record::storeApiHost},
    {"model", "string", [](const Record& record) { return CMVariant(record.model); },
     &Record::storeText<&Record::model>},
    {"temperature", "double", [](const Record& record) { return CMVariant(record.temperature); },
     &Record::storeTemperature},
    {"user_instructions", "string", [](const Record& record) { return CMVariant(record.userInstructions); },
     &Record::storeText<&Record::userInstructions>},
    {"system_instructions", "CMVariantMap(string, string)",
     [](const Record& record) { return CMVariant(record.systemInstructions); }, &Record::storeSystemInstructions},
    {"db_structure", kStructureDescription,
     [](const Record& record) { return CMVariant(record.obtainDatabaseStructure()); }, &Record::storeDatabaseStructure},
    {"combined_instructions", "string - read only",
     [](const Record& record) { return CMVariant(record.obtainCombinedInstructions()); }, &Record::refuse},
}};

const QAIAssistantProperties::Key* QAIAssistantProperties::findKey(std::string_view name) {
  for (const Key& key : Key::kAll) {
    if (key.name == name) return &key;
  }
  return nullptr;
}

std::vector<std::pair<std::string, std::string>> QAIAssistantProperties::obtainPropertyList() const {
  std::vector<std::pair<std::string, std::string>> list;
  list.reserve(Key::kAll.size());
  for (const Key& key : Key::kAll) list.emplace_back(key.name, key.description);
  return list;
}

CMVariant QAIAssistantProperties::obtainProperty(const std::string& name) const {
  const Key* key = findKey(name);
  return key == nullptr ? CMVariant() : key->read(*this);
}

bool QAIAssistantProperties::setProperty(const std::string& name, const CMVariant& value) {
  assignedKeys.insert(name);
  const Key* key = findKey(name);
  return key != nullptr && (this->*key->write)(value);
}

template <std::string QAIAssistantProperties::*field>
bool QAIAssistantProperties::storeText(const CMVariant& value) {
  if (!CF_ASSERT(value.getValueType() == CMVariant::ValueType::String)) return false;
  this->*field = value.stringRef();
  return true;
}

bool QAIAssistantProperties::storeApiHost(const CMVariant& value) {
  if (!storeText<&QAIAssistantProperties::apiHost>(value)) return false;
  setApiHost(apiHost, "");
  return true;
}

// The two checks contradict each other, and hosts have come to rely on it: a number is refused, a text is taken.
bool QAIAssistantProperties::storeTemperature(const CMVariant& value) {
  CF_ASSERT(value.getValueType() == CMVariant::ValueType::Double);
  if (value.getValueType() != CMVariant::ValueType::String) return false;
  temperature = value.doubleValue();
  return true;
}

bool QAIAssistantProperties::storeSystemInstructions(const CMVariant& value) {
  if (!CF_ASSERT(value.getValueType() == CMVariant::ValueType::Map)) return false;
  for (const auto& kv : value.mapValue()) {
    if (!CF_ASSERT(kv.second.getValueType() == CMVariant::ValueType::String)) continue;
    if (kv.second.stringRef().empty()) {
      systemInstructions.erase(kv.first);
    } else {
      systemInstructions[kv.first] = kv.second;
    }
  }
  return true;
}

bool QAIAssistantProperties::storeDatabaseStructure(const CMVariant& value) {
  if (value.getValueType() == CMVariant::ValueType::List) {
    dbStructureJson = cfCreateCOJsonFromCMVariant(value).obtainJsonString();
    return true;
  }
  if (value.getValueType() != CMVariant::ValueType::String) return true;
  if (value.stringRef().empty()) return false;
  const COJson json(value.stringRef());
  if (!CF_ASSERT(json.getIsValidJson())) return false;
  dbStructureJson = value.stringRef();
  return true;
}

bool QAIAssistantProperties::refuse(const CMVariant& /*value*/) { return CF_ASSERT(false); }

void QAIAssistantProperties::setApiHost(const std::string& value, const std::string& fallback) {
  std::string host = cfTrimAsString(value);
  if (host.empty()) host = fallback;
  const bool hasScheme = host.starts_with("http://") || host.starts_with(kScheme);
  apiHost = hasScheme ? std::move(host) : std::string(kScheme) + host;
}

bool QAIAssistantProperties::isApiHostBlank() const { return apiHost.empty() || apiHost == kScheme; }

std::string QAIAssistantProperties::obtainCombinedInstructions() const {
  const std::string structure = obtainDatabaseStructureText();
  std::string text;
  if (!userInstructions.empty()) text.append(userInstructions).append("\n\n");
  for (const auto& [name, instruction] : systemInstructions) text.append(instruction.stringValue()).append("\n");
  if (!structure.empty()) text.append(structure).append("\n");
  return text;
}

CMVariantList QAIAssistantProperties::obtainDatabaseStructure() const {
  const COJson structure(dbStructureJson);
  CMVariantList list;
  for (const Catalog& catalog : readCatalogs(structure)) list.emplace_back(annotateCatalog(catalog));
  return list;
}

std::string QAIAssistantProperties::obtainDatabaseStructureText() const {
  const COJson structure(dbStructureJson);
  std::string text;
  text.reserve(dbStructureJson.size());
  for (const Catalog& catalog : readCatalogs(structure)) {
    if (catalog.name != nullptr) {
      catalog.appendUse(text);
      text += '\n';
    }
    catalog.forEachSchema([&text](const Schema& schema) {
      schema.forEachObject([&text, name = schema.nameText()](const char* kind, const ICOJsonValue& object) {
        appendStatementOrNothing(text, kind, name, object);
        text += '\n';
      });
    });
  }
  return text;
}

std::string QAIAssistantProperties::makeObjectStatement(const std::string& kind, const std::string& schemaName,
                                                        const ICOJsonValue* object) {
  std::string statement;
  if (object != nullptr) {
    appendStatementOrNothing(statement, kind, schemaName, *object);
  } else {
    CF_ASSERT(false);
  }
  return statement;
}

void QAIAssistantProperties::applyAssignedProperties(IQAIProperties* target) const {
  auto* record = dynamic_cast<QAIAssistantProperties*>(target);
  if (!CF_ASSERT(record != nullptr)) return;
  for (const auto& [key, description] : obtainPropertyList()) {
    if (!assignedKeys.contains(key) || key == "combined_instructions") continue;
    if (key == "db_structure") {
      record->dbStructureJson = dbStructureJson;
      record->assignedKeys.insert(key);
    } else {
      record->setProperty(key, obtainProperty(key));
    }
  }
}
