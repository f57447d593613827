// JSON documents (RFC 8259): read from text, or built member by member and written as text.
#pragma once

#include <cf/export.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CMVariant;

/// The kinds of JSON value; the codes are fixed.
enum class JsonType : std::uint8_t { Null = 0, Object = 1, Array = 2, String = 3, Number = 4, Bool = 5 };

/// One value inside a document. Never owned: it, its texts and the values under it live as long as their `COJson`,
/// at addresses that stay when values are added. Reading may go on in several threads while nobody writes.
class COJsonValue {
 public:
  COJsonValue(const COJsonValue&) = delete;
  COJsonValue& operator=(const COJsonValue&) = delete;

  /// False only for a document whose text was not valid JSON; such a document reads as Null.
  CF_API bool getIsValidJson() const noexcept;
  CF_API JsonType obtainType() const noexcept;

  /// The member `key` of an object, the last one when the key occurs more than once; null when there is none or this
  /// is no object.
  CF_API const COJsonValue* obtainJsonValue(std::string_view key) const noexcept;
  /// The keys of an object in the order of its members, repeated ones included; else none.
  CF_API std::vector<std::string> obtainJsonKeys() const;

  /// The number of items of an array; else 0.
  CF_API std::size_t obtainArraySize() const noexcept;
  /// Item `index` of an array, in constant time for a document read from text; null when there is none.
  CF_API const COJsonValue* obtainArrayItem(std::size_t index) const noexcept;

  /// The text of a string (UTF-8; may hold NUL), valid as long as the document; else "".
  CF_API std::string_view obtainString() const noexcept;
  /// The value of a number; else 0.0. A number beyond the range of a double reads as the largest finite one.
  CF_API double obtainNumber() const noexcept;
  /// The value of a boolean; else false.
  CF_API bool obtainBool() const noexcept;

  /// Adds a member with the value null and returns it to be filled. A value that is no object becomes an empty one
  /// first. The key is copied.
  CF_API COJsonValue* addKeyValue(std::string_view key);
  /// Adds an item with the value null and returns it to be filled. A value that is no array becomes an empty one
  /// first.
  CF_API COJsonValue* addArrayItem();

  /// Each of these gives the value a new content in place of what it was. Texts are UTF-8.
  CF_API void setNull() noexcept;
  CF_API void setBool(bool value) noexcept;
  CF_API void setNumber(double value) noexcept;         // what is not finite is written as null
  CF_API void setInteger(std::int64_t value) noexcept;  // written without a point; rounded to a double beyond 2^53
  CF_API void setString(std::string_view text);         // copied into the document
  /// As setString, without the copy: the caller keeps `text` alive and unchanged as long as the document is used.
  CF_API void setStringReference(std::string_view text);
  /// Puts what is JSON already in this place of the written text, as it stands and without a copy; the caller vouches
  /// for it and keeps it as with setStringReference, and as long as the requests that the document became. An array's
  /// item may be several values with commas between them. Reads as null.
  CF_API void setJsonReference(std::string_view json);
  CF_API void setObject() noexcept;  // empty
  CF_API void setArray() noexcept;   // empty

  /// This value as compact JSON text: members in the order in which they were added, '/' and non-ASCII characters as
  /// they are, U+FFFD in place of ill-formed UTF-8, numbers as their shortest round-trip decimal with a point or an
  /// exponent ("0.7", "1.0", "1e+22"; "1" only for an integer set or read as such). Does not recurse.
  CF_API std::string obtainJsonString() const;

 protected:
  struct Arena;
  struct Block;
  friend struct COJsonAccess;  // the parser and the writer, in cf/src

  explicit COJsonValue(Arena* arena) noexcept : arena_(arena) {}
  ~COJsonValue() = default;

  Arena* arena_;  // where texts and further values go; never null but in a moved-from document
  union Content {
    double number = 0.0;
    const char* text;
    Block* children;  // a chain of blocks of growing size, so that values keep their addresses; null when empty
    bool boolean;
  };
  Content content_;
  const char* key_ = nullptr;
  std::uint32_t keySize_ = 0;
  std::uint32_t size_ = 0;  // bytes of the text, or number of children
  JsonType type_ = JsonType::Null;
  bool integer_ = false;  // a number that is written without a point
  bool valid_ = true;
};

/// The name under which operations take a value that they only borrow.
using ICOJsonValue = COJsonValue;

/// True when there is a `value`, and it is of `type`: for what obtainJsonValue gives.
inline bool cfHasJsonType(const COJsonValue* value, JsonType type) noexcept {
  return value != nullptr && value->obtainType() == type;
}

/// The member `key` of `object` when it is of `type`; else null. `object` may be null or anything.
inline const COJsonValue* cfFindJsonMember(const COJsonValue* object, std::string_view key, JsonType type) noexcept {
  const COJsonValue* member = object == nullptr ? nullptr : object->obtainJsonValue(key);
  return cfHasJsonType(member, type) ? member : nullptr;
}

/// A document: its top-level value, and the owner of everything under it. Used by one thread at a time while it
/// changes.
class COJson : public COJsonValue {
 public:
  /// An empty document (null), to be filled.
  CF_API COJson();

  /// Reads `text`, which is copied. Valid is exactly one JSON value as RFC 8259 has it, in well-formed UTF-8 without
  /// lone surrogates, nested at most 256 deep, with white space around it and one leading byte order mark allowed.
  /// Otherwise getIsValidJson() is false. Takes linear time and does not recurse.
  CF_API explicit COJson(std::string_view text);

  CF_API COJson(COJson&& other) noexcept;  // `other` may then only be destroyed or assigned to
  CF_API COJson& operator=(COJson&& other) noexcept;
  CF_API ~COJson();

 private:
  std::unique_ptr<Arena> owner_;
};

/// A document with the content of `value`: String, Double, List and Map become string, number, array and object (in
/// the order of the map's keys); Null, and what is nested deeper than 256, becomes null.
CF_API COJson cfCreateCOJsonFromCMVariant(const CMVariant& value);
