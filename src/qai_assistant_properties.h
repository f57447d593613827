// The settings record: what an assistant is told, and the database description as DDL.
#pragma once

#include "qai_database_structure.h"
#include "qai_property_key.h"

#include <cf/json.h>
#include <cf/variant.h>
#include <qai.h>

#include <array>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The combined instructions as a JSON string, in pieces: what is long is not copied. Lives as long as the record's
/// description stays as it is.
struct InstructionsJson {
  bool isEmpty;  // there are none
  std::string start;
  std::string_view structure = {};  // belongs to the record
  std::string_view end = {};

  std::array<std::string_view, 3> pieces() const { return {start, structure, end}; }
};

/// Shared by an assistant and its sessions; the host sees it as IQAIProperties. Nothing in it throws on bad input.
class QAIAssistantProperties : public IQAIProperties {
 public:
  QAIAssistantProperties() = default;
  QAIAssistantProperties(const QAIAssistantProperties&) = default;
  QAIAssistantProperties& operator=(QAIAssistantProperties&&) noexcept = default;

  std::vector<std::pair<std::string, std::string>> obtainPropertyList() const override;
  CMVariant obtainProperty(const std::string& key) const override;
  /// Enters `key` into assignedKeys before anything is looked at, known or not, refused or not. When it throws, all is
  /// as before.
  bool setProperty(const std::string& key, const CMVariant& value) override;

  /// Stores the trimmed `value`, or `fallback` as it stands when nothing is left, with "https://" in front unless it
  /// begins with "http://" or "https://" (in lower case).
  void setApiHost(const std::string& value, const std::string& fallback);

  /// True when there is no host, or only the scheme that setApiHost puts in front of a blank one.
  bool isApiHostBlank() const;

  /// The text that goes to the model as its instructions: the user's, the system's in order of their names, the DDL.
  std::string obtainCombinedInstructions() const;
  /// The same as a request has it.
  InstructionsJson obtainInstructionsJson() const;

  /// The catalogs with their statements: first those without a name, then the named, each group in input order.
  CMVariantList obtainDatabaseStructure() const;

  /// The same statements as lines, each ended by "\n". This and whatever has the DDL in it raise the assertions of the
  /// description's unusable parts on each call.
  const std::string& obtainDatabaseStructureText() const;

  /// One statement; "" when `object` is not described as it must be. `kind` is "TABLE", "VIEW" or "MATERIALIZED VIEW".
  static std::string makeObjectStatement(const std::string& kind, const std::string& schemaName,
                                         const ICOJsonValue* object);

  /// Carries the assigned keys over to `target`, through its setProperty except for "db_structure", whose stored text
  /// is copied. So "temperature" counts as assigned there, and the Double that carries it is refused.
  void applyAssignedProperties(IQAIProperties* target) const;

  /// Takes over what was assigned to `filled`, whose texts move. Fields are taken rather than set by key, since the
  /// record refuses a temperature that is a number and would merge the system instructions. When it throws, all is as
  /// before.
  void adoptAssigned(QAIAssistantProperties& filled);

  /// Adds the settings to the object `data`, which refers to the record's texts.
  void save(COJsonValue& data, EmptyProperties empty) const;

  /// Takes the settings that a saved session's `data` has; what is missing or of a wrong type is skipped. System
  /// instructions are added to those that the record has. The record refuses a temperature that comes as a number,
  /// though the key then counts as assigned.
  void restore(const ICOJsonValue& data);

  std::set<std::string, std::less<>> assignedKeys;  // every key that setProperty was ever called with
  std::string apiHost;
  std::string model;
  double temperature = 1.0;
  std::string userInstructions;
  CMVariantMap systemInstructions;  // name to String
  DatabaseDescription dbStructureJson;

 private:
  /// Hands over the texts that stand before the structure, each with the number of line ends behind it.
  template <typename Take>
  void walkOtherInstructions(const Take& take) const;
};

/// Puts a record back to what it was, unless told that the changes may stay: for what changes it step by step and may
/// fail between two steps.
template <class Record>
class SettingsGuard {
 public:
  explicit SettingsGuard(Record& record) : record_(&record), before_(record) {}
  ~SettingsGuard() {
    if (record_ != nullptr) *record_ = std::move(before_);
  }
  SettingsGuard(const SettingsGuard&) = delete;
  SettingsGuard& operator=(const SettingsGuard&) = delete;

  void keepChanges() noexcept { record_ = nullptr; }

 private:
  Record* record_;
  Record before_;
};
