#include "qai_assistant_properties.h"

#include <cf/assert.h>
#include <cf/text.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <cstring>

namespace {

using namespace std::string_view_literals;

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

std::string_view textOf(const ICOJsonValue* string) {
  return string == nullptr ? std::string_view() : string->obtainString();
}

/// The members of `object` with these keys, each null when there is none.
template <std::size_t count>
std::array<const ICOJsonValue*, count> membersOf(const ICOJsonValue& object,
                                                 const std::array<std::string_view, count>& keys) {
  std::array<const ICOJsonValue*, count> members;
  object.obtainJsonValues(keys, members);
  return members;
}

constexpr std::array kColumnKeys{"name"sv, "type"sv};
constexpr std::array kForeignKeyKeys{"fields"sv, "ref_schema"sv, "ref_table"sv, "ref_fields"sv};
constexpr std::array kObjectKeys{"name"sv, "fields"sv, "pkeys"sv, "fkeys"sv};

/// The number of containers around a table or view.
constexpr unsigned kObjectDepth = 5;

/// Copies `text` and gives the end of the copy. Most names and types have so few bytes that the call takes longer than
/// the copy.
char* copyShort(std::string_view text, char* to) {
  const std::size_t size = text.size();
  const auto copyEnds = [&](auto half) {
    std::memcpy(&half, text.data(), sizeof half);
    auto last = half;
    std::memcpy(&last, text.data() + size - sizeof last, sizeof last);
    std::memcpy(to, &half, sizeof half);
    std::memcpy(to + size - sizeof last, &last, sizeof last);
  };
  if (size >= 8 && size <= 16) {
    copyEnds(std::uint64_t{});
  } else if (size >= 4 && size < 8) {
    copyEnds(std::uint32_t{});
  } else {
    std::memcpy(to, text.data(), size);
  }
  return to + size;
}

/// A statement's text from the object's name on, which needs nothing but the object's own description.
/// What fails gives the line of its check, and the text is of no use then; else 0.
class StatementBody {
 public:
  int write(const ICOJsonValue& object);

  /// Until the next one is written.
  std::string_view text() const { return {buffer_.data(), size_}; }

 private:
  void append(std::same_as<std::string_view> auto... pieces) {
    const std::size_t needed = size_ + (pieces.size() + ...);
    if (needed > buffer_.size()) buffer_.resize(2 * needed);
    char* end = buffer_.data() + size_;
    ((end = copyShort(pieces, end)), ...);
    size_ = needed;
  }

  int appendColumns(const ICOJsonValue& columns);
  int appendFields(const ICOJsonValue& fields);
  int appendPrimaryKey(const ICOJsonValue* columns);
  int appendForeignKey(const ICOJsonValue& key);
  int appendForeignKeys(const ICOJsonValue* keys);

  std::string buffer_;
  std::size_t size_ = 0;  // of what is written
};

/// Nothing separates two columns.
int StatementBody::appendColumns(const ICOJsonValue& columns) {
  for (std::size_t i = 0; i < columns.obtainArraySize(); ++i) {
    const ICOJsonValue* column = columns.obtainArrayItem(i);
    if (!cfHasJsonType(column, JsonType::String)) return __LINE__;
    append("`"sv, column->obtainString(), "`"sv);
  }
  return 0;
}

/// At least one.
int StatementBody::appendFields(const ICOJsonValue& fields) {
  for (std::size_t i = 0; i < fields.obtainArraySize(); ++i) {
    const auto [name, type] = membersOf(*fields.obtainArrayItem(i), kColumnKeys);
    if (!cfHasJsonType(name, JsonType::String) || !cfHasJsonType(type, JsonType::String)) return __LINE__;
    append("`"sv, name->obtainString(), "` "sv, type->obtainString(), ", "sv);
  }
  size_ -= ", "sv.size();
  return 0;
}

int StatementBody::appendPrimaryKey(const ICOJsonValue* columns) {
  if (sizeOf(columns) == 0) return 0;
  append(", PRIMARY KEY("sv);
  if (const int line = appendColumns(*columns); line != 0) return line;
  append(")"sv);
  return 0;
}

int StatementBody::appendForeignKey(const ICOJsonValue& key) {
  const auto [fields, schema, table, refFields] = membersOf(key, kForeignKeyKeys);
  if (!cfHasJsonType(fields, JsonType::Array) || !isOrMissing(schema, JsonType::String) ||
      !cfHasJsonType(table, JsonType::String) || !cfHasJsonType(refFields, JsonType::Array)) {
    return __LINE__;
  }
  if (sizeOf(fields) == 0 || sizeOf(refFields) == 0) return 0;

  append(", FOREIGN KEY("sv);
  if (const int line = appendColumns(*fields); line != 0) return line;
  append(") REFERENCES "sv);
  if (schema != nullptr) append("`"sv, schema->obtainString(), "`."sv);
  append("`"sv, table->obtainString(), "`("sv);
  if (const int line = appendColumns(*refFields); line != 0) return line;
  append(")"sv);
  return 0;
}

int StatementBody::appendForeignKeys(const ICOJsonValue* keys) {
  for (std::size_t i = 0; i < sizeOf(keys); ++i) {
    if (const int line = appendForeignKey(*keys->obtainArrayItem(i)); line != 0) return line;
  }
  return 0;
}

int StatementBody::write(const ICOJsonValue& object) {
  const auto [name, fields, primaryKey, foreignKeys] = membersOf(object, kObjectKeys);
  if (!cfHasJsonType(name, JsonType::String) || !cfHasJsonType(fields, JsonType::Array) ||
      !isOrMissing(primaryKey, JsonType::Array) || !isOrMissing(foreignKeys, JsonType::Array)) {
    return __LINE__;
  }
  size_ = 0;
  append("`"sv, name->obtainString(), "` ("sv);
  if (sizeOf(fields) != 0) {
    int line = appendFields(*fields);
    if (line == 0) line = appendPrimaryKey(primaryKey);
    if (line == 0) line = appendForeignKeys(foreignKeys);
    if (line != 0) return line;
  }
  append(")"sv);
  return 0;
}

/// Raises the assertion of the check in `line`.
bool raiseAt(int line) { return cfRaiseAssertion("false", __FILE__, line); }

void appendStatementStart(std::string& out, std::string_view kind, std::string_view schemaName) {
  out.append("CREATE ").append(kind).append(" ");
  if (!schemaName.empty()) out.append("`").append(schemaName).append("`.");
}

/// A description as it is read. Each table or view gives way to its statement as soon as it is known, while it is near,
/// so the document holds only what is around them. Where a statement goes, and under which names, shows at the end.
class Structure {
 public:
  explicit Structure(const std::string& json)
      : document_(COJson::readReduced(json, kObjectDepth, [this, &json](const ICOJsonValue& object) {
          if (texts_.empty()) texts_.reserve(json.size());
          return static_cast<double>(keep(object));
        })) {}
  Structure(const Structure&) = delete;
  Structure& operator=(const Structure&) = delete;

  const COJson& document() const { return document_; }

  /// Appends the statement for what stands where a table or view does; nothing, with an assertion, when it is unusable.
  void appendStatement(std::string& out, std::string_view kind, std::string_view schemaName,
                       const ICOJsonValue& object) const {
    const Kept& kept = kept_[static_cast<std::size_t>(object.obtainNumber())];
    if (kept.line != 0) {
      raiseAt(kept.line);
    } else {
      appendStatementStart(out, kind, schemaName);
      out.append(texts_, kept.start, kept.size);
    }
  }

 private:
  /// A body, or the line of the check that failed.
  struct Kept {
    std::size_t start;
    std::size_t size;
    int line;
  };

  std::size_t keep(const ICOJsonValue& object) {
    const int line = body_.write(object);
    kept_.push_back({texts_.size(), line == 0 ? body_.text().size() : 0, line});
    if (line == 0) texts_ += body_.text();
    return kept_.size() - 1;
  }

  StatementBody body_;
  std::string texts_;
  std::vector<Kept> kept_;
  COJson document_;  // last: reading it fills the others
};

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

  std::string useStatement() const { return "USE CATALOG `" + std::string(name->obtainString()) + "`"; }

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

CMVariantMap annotateSchema(const Structure& structure, const Schema& schema) {
  CMVariantMap map;
  if (schema.id != nullptr) map["schema_id"] = std::string(schema.id->obtainString());
  if (schema.name != nullptr) map["schema_name"] = std::string(schema.name->obtainString());
  CMVariantList statements;
  schema.forEachObject([&](const char* kind, const ICOJsonValue& object) {
    std::string statement;
    structure.appendStatement(statement, kind, textOf(schema.name), object);
    statements.emplace_back(std::move(statement));
  });
  map["instructions"] = std::move(statements);
  return map;
}

CMVariantMap annotateCatalog(const Structure& structure, const Catalog& catalog) {
  CMVariantMap map;
  CMVariantList instructions;
  if (catalog.id != nullptr) map["catalog_id"] = std::string(catalog.id->obtainString());
  if (catalog.name != nullptr) {
    map["catalog_name"] = std::string(catalog.name->obtainString());
    instructions.emplace_back(catalog.useStatement());
  }
  CMVariantList schemas;
  catalog.forEachSchema([&](const Schema& schema) { schemas.emplace_back(annotateSchema(structure, schema)); });
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
  const auto entry = assignedKeys.insert(name);
  const Key* key = findKey(name);
  try {
    return key != nullptr && (this->*key->write)(value);
  } catch (...) {
    if (entry.second) assignedKeys.erase(entry.first);
    throw;
  }
}

template <std::string QAIAssistantProperties::*field>
bool QAIAssistantProperties::storeText(const CMVariant& value) {
  if (!CF_ASSERT(value.getValueType() == CMVariant::ValueType::String)) return false;
  this->*field = value.stringRef();
  return true;
}

bool QAIAssistantProperties::storeApiHost(const CMVariant& value) {
  if (!CF_ASSERT(value.getValueType() == CMVariant::ValueType::String)) return false;
  setApiHost(value.stringRef(), "");
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
  CMVariantMap merged = systemInstructions;
  for (const auto& kv : value.mapValue()) {
    if (!CF_ASSERT(kv.second.getValueType() == CMVariant::ValueType::String)) continue;
    if (kv.second.stringRef().empty()) {
      merged.erase(kv.first);
    } else {
      merged[kv.first] = kv.second;
    }
  }
  systemInstructions.swap(merged);
  return true;
}

bool QAIAssistantProperties::storeDatabaseStructure(const CMVariant& value) {
  if (value.getValueType() == CMVariant::ValueType::List) {
    dbStructureJson = cfWriteJson(value);
    return true;
  }
  if (value.getValueType() != CMVariant::ValueType::String) return true;
  if (value.stringRef().empty()) return false;
  // Known to hosts by this text.
  if (!cfIsJson(value.stringRef())) return cfRaiseAssertion("json.getIsValidJson()", __FILE__, __LINE__);
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
  const Structure structure(dbStructureJson);
  CMVariantList list;
  for (const Catalog& catalog : readCatalogs(structure.document())) {
    list.emplace_back(annotateCatalog(structure, catalog));
  }
  return list;
}

std::string QAIAssistantProperties::obtainDatabaseStructureText() const {
  if (dbStructureJson.empty()) return {};  // as in every turn of a host that describes none
  const Structure structure(dbStructureJson);
  std::string text;
  text.reserve(dbStructureJson.size());
  for (const Catalog& catalog : readCatalogs(structure.document())) {
    if (catalog.name != nullptr) text.append(catalog.useStatement()).append("\n");
    catalog.forEachSchema([&](const Schema& schema) {
      schema.forEachObject([&](const char* kind, const ICOJsonValue& object) {
        structure.appendStatement(text, kind, textOf(schema.name), object);
        text += '\n';
      });
    });
  }
  return text;
}

std::string QAIAssistantProperties::makeObjectStatement(const std::string& kind, const std::string& schemaName,
                                                        const ICOJsonValue* object) {
  StatementBody body;
  std::string statement;
  const int line = object == nullptr ? __LINE__ : body.write(*object);
  if (line != 0) {
    raiseAt(line);
  } else {
    appendStatementStart(statement, kind, schemaName);
    statement += body.text();
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
