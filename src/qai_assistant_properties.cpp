#include "qai_assistant_properties.h"

#include "qai_property_key.h"

#include <cf/assert.h>
#include <cf/json_shortcuts.h>
#include <cf/text.h>

#include <algorithm>
#include <array>

namespace {

using Record = QAIAssistantProperties;

constexpr std::string_view kScheme = "https://";

// Which keys a database description may hold; read by hosts, never parsed here.
constexpr const char* kStructureDescription =
    "CMVariant - "
    R"([{"catalog_id":"optional","catalog_name":"optional","schemas":[{"schema_id":"optional",)"
    R"("schema_name":"optional","tables":[{"name":"","fields":[{"name":"","type":""}],"pkeys":["optional"],)"
    R"("fkeys":[{"fields":[""],"ref_schema":"optional","ref_table":"","ref_fields":[""]}]}],)"
    R"("views":[null],"mviews":[null]}]}])";

template <std::string Record::*field>
CMVariant readText(const Record& record) {
  return record.*field;
}

template <std::string Record::*field>
bool writeText(Record& record, const CMVariant& value) {
  if (!CF_ASSERT(value.getValueType() == CMVariant::ValueType::String)) return false;
  record.*field = value.stringRef();
  return true;
}

template <std::string Record::*field>
void adoptText(Record& record, Record& filled) {
  record.*field = std::move(filled.*field);
}

template <std::string Record::*field>
void saveText(COJsonValue& member, const Record& record) {
  member.setStringReference(record.*field);
}

/// A key whose value is a text and comes back to the record as from a host.
template <std::string Record::*field>
constexpr PropertyKey<Record> textKey(std::string_view name, bool (*write)(Record&, const CMVariant&)) {
  return {.name = name,
          .description = "string",
          .read = &readText<field>,
          .write = write,
          .adopt = &adoptText<field>,
          .apply = &applyAsSet<Record>,
          .save = &saveText<field>,
          .restore = &restoreText<Record>};
}

bool writeApiHost(Record& record, const CMVariant& value) {
  if (!CF_ASSERT(value.getValueType() == CMVariant::ValueType::String)) return false;
  record.setApiHost(value.stringRef(), "");
  return true;
}

// The two checks contradict each other, and hosts have come to rely on it: a number is refused, a text is taken.
bool writeTemperature(Record& record, const CMVariant& value) {
  CF_ASSERT(value.getValueType() == CMVariant::ValueType::Double);
  if (value.getValueType() != CMVariant::ValueType::String) return false;
  record.temperature = value.doubleValue();
  return true;
}

// Restored, it is a number, which the record refuses though the key then counts as assigned.
void restoreTemperature(Record& record, std::string_view name, const ICOJsonValue& member) {
  if (member.obtainType() == JsonType::Number) record.setProperty(std::string(name), member.obtainNumber());
}

bool writeSystemInstructions(Record& record, const CMVariant& value) {
  if (!CF_ASSERT(value.getValueType() == CMVariant::ValueType::Map)) return false;
  CMVariantMap merged = record.systemInstructions;
  for (const auto& kv : value.mapValue()) {
    if (!CF_ASSERT(kv.second.getValueType() == CMVariant::ValueType::String)) continue;
    if (kv.second.stringRef().empty()) {
      merged.erase(kv.first);
    } else {
      merged[kv.first] = kv.second;
    }
  }
  record.systemInstructions.swap(merged);
  return true;
}

void saveSystemInstructions(COJsonValue& member, const Record& record) {
  member.setArray();
  for (const auto& [key, value] : record.systemInstructions) {
    COJsonValue* entry = member.addArrayItem();
    entry->addKeyValue("key")->setStringReference(key);
    entry->addKeyValue("value")->setString(value.stringValue());
  }
}

/// Adds them to those that the record has; the key does not count as assigned.
void restoreSystemInstructions(Record& record, std::string_view /*name*/, const ICOJsonValue& member) {
  for (std::size_t i = 0; i < member.obtainArraySize(); ++i) {
    const ICOJsonValue* key = cfFindJsonMember(member.obtainArrayItem(i), "key", JsonType::String);
    const ICOJsonValue* value = cfFindJsonMember(member.obtainArrayItem(i), "value", JsonType::String);
    if (key != nullptr && value != nullptr) {
      record.systemInstructions[std::string(key->obtainString())] = std::string(value->obtainString());
    }
  }
}

bool writeDatabaseStructure(Record& record, const CMVariant& value) {
  if (value.getValueType() == CMVariant::ValueType::List) {
    record.dbStructureJson = cfWriteJson(value);
    return true;
  }
  if (value.getValueType() != CMVariant::ValueType::String) return true;
  if (value.stringRef().empty()) return false;
  // Known to hosts by this text.
  if (!cfIsJson(value.stringRef())) return cfRaiseAssertion("json.getIsValidJson()", __FILE__, __LINE__);
  record.dbStructureJson = value.stringRef();
  return true;
}

/// As it was stored: hosts read it in another form, and an empty one takes the target's away.
void applyDatabaseStructure(const Record& record, std::string_view name, Record& target) {
  target.dbStructureJson = record.dbStructureJson;
  target.assignedKeys.emplace(name);
}

/// Each check has a line of its own here, by which a host's log tells it from the others.
void raise(StructureCheck failed) {
  switch (failed) {
    case StructureCheck::Catalog:
      CF_ASSERT(false);
      break;
    case StructureCheck::Schema:
      CF_ASSERT(false);
      break;
    case StructureCheck::Object:
      CF_ASSERT(false);
      break;
    case StructureCheck::Field:
      CF_ASSERT(false);
      break;
    case StructureCheck::PrimaryKey:
      CF_ASSERT(false);
      break;
    case StructureCheck::ForeignKey:
      CF_ASSERT(false);
      break;
    case StructureCheck::ForeignKeyColumn:
      CF_ASSERT(false);
      break;
  }
}

void raise(const StructureFailures& failures) {
  for (const StructureCheck failed : failures) raise(failed);
}

/// A new key comes at the end.
constexpr std::array<PropertyKey<Record>, 7> kKeys{{
    textKey<&Record::apiHost>("api_host", &writeApiHost),
    textKey<&Record::model>("model", &writeText<&Record::model>),
    {.name = "temperature",
     .description = "double",
     .read = [](const Record& record) { return CMVariant(record.temperature); },
     .write = &writeTemperature,
     .adopt = [](Record& record, Record& filled) { record.temperature = std::clamp(filled.temperature, 0.0, 2.0); },
     .apply = &applyAsSet<Record>,
     .save = [](COJsonValue& member, const Record& record) { member.setNumber(record.temperature); },
     .restore = &restoreTemperature},
    textKey<&Record::userInstructions>("user_instructions", &writeText<&Record::userInstructions>),
    {.name = "system_instructions",
     .description = "CMVariantMap(string, string)",
     .read = [](const Record& record) { return CMVariant(record.systemInstructions); },
     .write = &writeSystemInstructions,
     .adopt = [](Record& record, Record& filled) { record.systemInstructions.swap(filled.systemInstructions); },
     .apply = &applyAsSet<Record>,
     .save = &saveSystemInstructions,
     .restore = &restoreSystemInstructions,
     .isEmpty = [](const Record& record) { return record.systemInstructions.empty(); }},
    {.name = "db_structure",
     .description = kStructureDescription,
     .read = [](const Record& record) { return CMVariant(record.obtainDatabaseStructure()); },
     .write = &writeDatabaseStructure,
     .adopt = [](Record& record, Record& filled) { record.dbStructureJson = std::move(filled.dbStructureJson); },
     .apply = &applyDatabaseStructure,
     .save = [](COJsonValue& member,
                const Record& record) { member.setStringReference(record.dbStructureJson.json()); },
     .restore = &restoreText<Record>},
    {.name = "combined_instructions",
     .description = "string - read only",
     .read = [](const Record& record) { return CMVariant(record.obtainCombinedInstructions()); },
     .write = [](Record&, const CMVariant&) { return CF_ASSERT(false); },
     .adopt = nullptr,
     .apply = nullptr,
     .save = nullptr,
     .restore = nullptr},
}};

}  // namespace

std::vector<std::pair<std::string, std::string>> QAIAssistantProperties::obtainPropertyList() const {
  std::vector<std::pair<std::string, std::string>> list;
  list.reserve(kKeys.size());
  for (const auto& key : kKeys) list.emplace_back(key.name, key.description);
  return list;
}

CMVariant QAIAssistantProperties::obtainProperty(const std::string& name) const {
  const auto* key = findProperty(kKeys, name);
  return key == nullptr ? CMVariant() : key->read(*this);
}

bool QAIAssistantProperties::setProperty(const std::string& name, const CMVariant& value) {
  const auto entry = assignedKeys.insert(name);
  const auto* key = findProperty(kKeys, name);
  try {
    return key != nullptr && key->write(*this, value);
  } catch (...) {
    if (entry.second) assignedKeys.erase(entry.first);
    throw;
  }
}

void QAIAssistantProperties::setApiHost(const std::string& value, const std::string& fallback) {
  std::string host = cfTrimAsString(value);
  if (host.empty()) host = fallback;
  if (!host.starts_with("http://") && !host.starts_with(kScheme)) host.insert(0, kScheme);
  apiHost = std::move(host);
}

bool QAIAssistantProperties::isApiHostBlank() const { return apiHost.empty() || apiHost == kScheme; }

template <typename Take>
void QAIAssistantProperties::walkOtherInstructions(const Take& take) const {
  if (!userInstructions.empty()) take(userInstructions, 2);
  for (const auto& [name, instruction] : systemInstructions) take(instruction.stringValue(), 1);
}

std::string QAIAssistantProperties::obtainCombinedInstructions() const {
  const std::string& structure = obtainDatabaseStructureText();
  std::string text;
  walkOtherInstructions(
      [&text](std::string_view other, std::size_t lineEnds) { text.append(other).append(lineEnds, '\n'); });
  if (!structure.empty()) text.append(structure).append("\n");
  return text;
}

InstructionsJson QAIAssistantProperties::obtainInstructionsJson() const {
  const bool hasStructure = !obtainDatabaseStructureText().empty();
  InstructionsJson json{.isEmpty = !hasStructure, .start = "\"", .end = hasStructure ? R"(\n")" : R"(")"};
  if (hasStructure) json.structure = dbStructureJson.text().json;
  json.start.reserve(userInstructions.size() + userInstructions.size() / 8 + 16);  // with some escapes
  // Each ends with a line end, so it can be written apart from what follows.
  walkOtherInstructions([&json](std::string_view other, std::size_t lineEnds) {
    json.isEmpty = false;
    cfAppendJsonCharacters(json.start, other);
    for (; lineEnds != 0; --lineEnds) json.start += R"(\n)";
  });
  return json;
}

CMVariantList QAIAssistantProperties::obtainDatabaseStructure() const {
  StructureFailures failures;
  CMVariantList catalogs = readDatabaseStructure(dbStructureJson.json(), failures);
  raise(failures);
  return catalogs;
}

const std::string& QAIAssistantProperties::obtainDatabaseStructureText() const {
  const DatabaseText& text = dbStructureJson.text();
  raise(text.failures);
  return text.ddl;
}

std::string QAIAssistantProperties::makeObjectStatement(const std::string& kind, const std::string& schemaName,
                                                        const ICOJsonValue* object) {
  StructureFailures failures;
  std::string statement = writeObjectStatement(kind, schemaName, object, failures);
  raise(failures);
  return statement;
}

void QAIAssistantProperties::applyAssignedProperties(IQAIProperties* target) const {
  auto* record = dynamic_cast<QAIAssistantProperties*>(target);
  if (!CF_ASSERT(record != nullptr)) return;
  for (const auto& key : kKeys) {
    if (key.apply != nullptr && assignedKeys.contains(key.name)) key.apply(*this, key.name, *record);
  }
}

void QAIAssistantProperties::adoptAssigned(QAIAssistantProperties& filled) {
  auto keys = assignedKeys;
  const auto isAdopted = [&](const auto& key) {
    return key.adopt != nullptr && filled.assignedKeys.contains(key.name);
  };
  for (const auto& key : kKeys) {
    if (isAdopted(key)) keys.emplace(key.name);
  }
  assignedKeys.swap(keys);
  for (const auto& key : kKeys) {
    if (isAdopted(key)) key.adopt(*this, filled);
  }
}

void QAIAssistantProperties::save(COJsonValue& data, EmptyProperties empty) const {
  saveProperties(data, *this, kKeys, empty);
}

void QAIAssistantProperties::restore(const ICOJsonValue& data) { restoreProperties(*this, data, kKeys); }
