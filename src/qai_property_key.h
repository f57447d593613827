// What a settings record knows of a key: all of it, so that a new key is one row of a table.
#pragma once

#include <cf/json.h>
#include <cf/variant.h>

#include <string>
#include <string_view>

template <class Record>
struct PropertyKey {
  std::string_view name;
  const char* description;

  /// For hosts.
  CMVariant (*read)(const Record& record);
  /// From hosts; false when the value is refused.
  bool (*write)(Record& record, const CMVariant& value);

  // The rest is null for a key that is computed.

  /// Takes the value over from a record that a host has filled, where it is of no more use. Throws nothing.
  void (*adopt)(Record& record, Record& filled);
  /// Hands a copy of the value on to another record.
  void (*apply)(const Record& record, std::string_view name, Record& target);
  /// Gives `member`, which has the key's name, the value as a saved session holds it. May refer to the record's texts.
  void (*save)(COJsonValue& member, const Record& record);
  /// Takes the value from a saved session's member `name`; one of another type is left alone.
  void (*restore)(Record& record, std::string_view name, const ICOJsonValue& member);
  /// Whether there is nothing to save; null where even that is saved.
  bool (*isEmpty)(const Record& record) = nullptr;
};

/// What a saved session holds of a property that may be left out when it is empty.
enum class EmptyProperties { LeftOut, Saved };

/// Gives `data` a member for each row of `rows` that has one in a saved session.
template <class Record, class Rows>
void saveProperties(COJsonValue& data, const Record& record, const Rows& rows, EmptyProperties empty) {
  for (const auto& key : rows) {
    const bool isLeftOut = empty == EmptyProperties::LeftOut && key.isEmpty != nullptr && key.isEmpty(record);
    if (key.save != nullptr && !isLeftOut) key.save(*data.addKeyValue(key.name), record);
  }
}

/// Takes what a saved session's `data` has of `rows`.
template <class Record, class Rows>
void restoreProperties(Record& record, const ICOJsonValue& data, const Rows& rows) {
  for (const auto& key : rows) {
    const ICOJsonValue* member = key.restore == nullptr ? nullptr : data.obtainJsonValue(key.name);
    if (member != nullptr) key.restore(record, key.name, *member);
  }
}

/// Restores a text as a host would set it.
template <class Record>
void restoreText(Record& record, std::string_view name, const ICOJsonValue& member) {
  if (member.obtainType() != JsonType::String) return;
  record.setProperty(std::string(name), std::string(member.obtainString()));
}

/// Hands a value on as a host would read it here and set it there.
template <class Record>
void applyAsSet(const Record& record, std::string_view name, Record& target) {
  const std::string key(name);
  target.setProperty(key, record.obtainProperty(key));
}

/// The row called `name`; null when there is none.
template <class Rows>
const typename Rows::value_type* findProperty(const Rows& rows, std::string_view name) {
  for (const auto& key : rows) {
    if (key.name == name) return &key;
  }
  return nullptr;
}
