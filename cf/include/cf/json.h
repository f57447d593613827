/// @file
/// JSON documents (RFC 8259): read from text, or built member by member and written as text.
#pragma once

#include <cf/export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class CMVariant;

/// The kinds of JSON value; the codes are fixed.
enum class JsonType : std::uint8_t { Null = 0, Object = 1, Array = 2, String = 3, Number = 4, Bool = 5 };

class COJsonValue;
struct JsonDocument;  // in cf/src, as all that a value is

/// A member of an object. Lives as long as the document.
struct COJsonMember {
  std::string_view key;      ///< its name
  const COJsonValue* value;  ///< never null
};

/// One value inside a document. Never owned: it, its texts and the values under it live as long as their `COJson`,
/// at addresses that stay when values are added. Reading may go on in several threads while nobody writes.
class COJsonValue {
 public:
  COJsonValue(const COJsonValue&) = delete;
  COJsonValue& operator=(const COJsonValue&) = delete;

  /// False only for a document whose text was not valid JSON; such a document reads as Null.
  CF_API bool getIsValidJson() const noexcept;
  /// Its kind.
  CF_API JsonType obtainType() const noexcept;

  /// The member `key` of an object, the last one when the key occurs more than once; null when there is none or this
  /// is no object. Looks at every member, so what is for all of them goes through obtainJsonMembers.
  CF_API const COJsonValue* obtainJsonValue(std::string_view key) const noexcept;
  /// The members of an object in their order, those with repeated keys included; else none. Takes one pass.
  CF_API std::vector<COJsonMember> obtainJsonMembers() const;
  /// Their keys.
  CF_API std::vector<std::string> obtainJsonKeys() const;

  /// The number of items of an array; else 0.
  CF_API std::size_t obtainArraySize() const noexcept;
  /// Item `index` of an array, in constant time; null when there is none.
  CF_API const COJsonValue* obtainArrayItem(std::size_t index) const noexcept;

  /// The text of a string (UTF-8; may hold NUL), valid as long as the document; else "".
  CF_API std::string_view obtainString() const noexcept;
  /// The value of a number; else 0.0. A number beyond the range of a double reads as the largest finite one.
  CF_API double obtainNumber() const noexcept;
  /// The value of a boolean; else false.
  CF_API bool obtainBool() const noexcept;

  /// The member `key`, the last one when the key occurs more than once. When there is none, adds one with the value
  /// null to be filled. A value that is no object becomes an empty one first. The key is copied. Takes constant time in
  /// the long run, however many members there are.
  CF_API COJsonValue* addKeyValue(std::string_view key);
  /// Adds an item with the value null and returns it to be filled. A value that is no array becomes an empty one
  /// first.
  CF_API COJsonValue* addArrayItem();

  /// This and the next give the value a new content in place of what it was. Texts are UTF-8.
  CF_API void setNull() noexcept;
  /// A boolean.
  CF_API void setBool(bool value) noexcept;
  /// A number; what is not finite is written as null.
  CF_API void setNumber(double value) noexcept;
  /// A number that is written without a point; rounded to a double beyond 2^53.
  CF_API void setInteger(std::int64_t value) noexcept;
  /// A string; copied into the document.
  CF_API void setString(std::string_view text);
  /// As setString, without the copy: the caller keeps `text` alive and unchanged as long as the document is used.
  CF_API void setStringReference(std::string_view text);
  /// Puts what is JSON already in this place of the written text, as it stands: `pieces`, one behind the other. None is
  /// copied here; the caller vouches for them and keeps their texts as with setStringReference, and as long as the
  /// requests that the document became. An array's item may be several values with commas between them. Reads as null.
  CF_API void setJsonReference(std::span<const std::string_view> pieces);
  /// The same of one piece.
  void setJsonReference(std::string_view json) { setJsonReference({&json, 1}); }
  /// An empty object.
  CF_API void setObject() noexcept;
  /// An empty array.
  CF_API void setArray() noexcept;

  /// This value as compact JSON text: members in the order in which they were added, '/' and non-ASCII characters as
  /// they are, U+FFFD in place of ill-formed UTF-8, numbers as their shortest round-trip decimal with a point or an
  /// exponent ("0.7", "1.0", "1e+22"; "1" only for an integer set or read as such). Does not recurse.
  CF_API std::string obtainJsonString() const;

 private:
  /// @cond for cf itself
  friend class COJson;
  friend struct JsonNode;
  explicit COJsonValue(JsonDocument* document) noexcept : document_(document) {}
  ~COJsonValue() = default;

  JsonDocument* const document_;  // null in a COJson, which is found as one by that
  /// @endcond
};

/// The name under which operations take a value that they only borrow.
using ICOJsonValue = COJsonValue;

/// A document: its top-level value, and the owner of everything under it. Used by one thread at a time while it
/// changes.
class COJson : public COJsonValue {
 public:
  /// An empty document (null), to be filled.
  CF_API COJson();

  /// Reads `text`, which is copied. Valid is exactly one JSON value as RFC 8259 has it, in well-formed UTF-8 without
  /// lone surrogates, nested at most 256 deep, with white space around it and one leading byte order mark allowed.
  /// Otherwise getIsValidJson() is false. Takes linear time, and stack for 256 levels at most (about 100 KB).
  CF_API explicit COJson(std::string_view text);

  /// As COJson(text), with the texts of the values left where they are when `text` has no escapes: the caller keeps
  /// it alive and unchanged as long as the document is used.
  CF_API static COJson readReference(const std::string& text);
  static COJson readReference(std::string&& text) = delete;

  /// Takes the document over; `other` may then only be destroyed or assigned to.
  CF_API COJson(COJson&& other) noexcept;
  /// As the constructor.
  CF_API COJson& operator=(COJson&& other) noexcept;
  CF_API ~COJson();

 private:
  friend struct JsonNode;
  explicit COJson(std::size_t firstChunk);
  std::unique_ptr<JsonDocument> own_;  // never null but in a moved-from document
};

/// A document with the content of `value`: String, Double, List and Map become string, number, array and object (in
/// the order of the map's keys); Null, and what is nested deeper than 256, becomes null.
CF_API COJson cfCreateCOJsonFromCMVariant(const CMVariant& value);
