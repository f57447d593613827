/// @file
/// What libqai asks of cf's JSON beyond the documents that it shares with hosts (cf/json.h): shorter ways through a
/// tree, and texts that are checked and written without one.
#pragma once

#include <cf/export.h>
#include <cf/json.h>

#include <memory>
#include <string>
#include <string_view>

class CMVariant;

/// True when there is a `value`, and it is of `type`: for what obtainJsonValue gives.
inline bool cfHasJsonType(const COJsonValue* value, JsonType type) noexcept {
  return value != nullptr && value->obtainType() == type;
}

/// The member `key` of `object` when it is of `type`; else null. `object` may be null or anything.
inline const COJsonValue* cfFindJsonMember(const COJsonValue* object, std::string_view key, JsonType type) noexcept {
  const COJsonValue* member = object == nullptr ? nullptr : object->obtainJsonValue(key);
  return cfHasJsonType(member, type) ? member : nullptr;
}

/// Reads one document after another, in the memory of the one before: for streams of small ones.
class CFJsonReader {
 public:
  CF_API CFJsonReader();
  CF_API ~CFJsonReader();
  CFJsonReader(const CFJsonReader&) = delete;
  CFJsonReader& operator=(const CFJsonReader&) = delete;

  /// The top of the document that COJson(text) would be, as long as nothing else is read; null when `text` is no JSON,
  /// or one of more than half a million values.
  CF_API const COJsonValue* read(std::string_view text);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Whether COJson(text) would be valid; nothing is kept of what is read.
CF_API bool cfIsJson(const std::string& text);

/// Appends what stands between the quotation marks when obtainJsonString writes `text` as a JSON string.
CF_API void cfAppendJsonCharacters(std::string& json, std::string_view text);

/// Appends `text` to `json` as a JSON string.
inline void cfAppendJsonString(std::string& json, std::string_view text) {
  json += '"';
  cfAppendJsonCharacters(json, text);
  json += '"';
}

/// What cfCreateCOJsonFromCMVariant(value).obtainJsonString() gives, without the document in between.
CF_API std::string cfWriteJson(const CMVariant& value);
