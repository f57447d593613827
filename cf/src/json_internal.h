// What reading, building and writing a JSON document share: its values and where they lie.
#pragma once

#include "json_arena.h"

#include <cf/json.h>
#include <cf/rest.h>
#include <cf/text.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// How deep arrays and objects may be nested in a text, and in what becomes one.
inline constexpr unsigned kMaxJsonDepth = 256;

/// What a document allocates at first for its values, and again for their lists.
inline constexpr std::size_t kFirstJsonChunk = std::size_t{1} << 9;

/// Sizes of texts are kept in 32 bits.
inline bool hasTextSize(std::string_view text) noexcept {
  return text.size() <= std::numeric_limits<std::uint32_t>::max();
}

/// Whether a number is written without a point or an exponent.
inline bool isIntegerText(std::string_view number) noexcept {
  return number.find_first_of(".eE") == std::string_view::npos;
}

struct JsonNode;

struct JsonMember {
  std::string_view key;
  JsonNode* value;
};

/// What a value is, in 16 bytes.
struct JsonContent {
  std::span<JsonNode* const> getItems() const noexcept {
    return type == JsonType::Array ? std::span<JsonNode* const>(items, size) : std::span<JsonNode* const>();
  }
  std::span<const JsonMember> getMembers() const noexcept {
    return type == JsonType::Object ? std::span<const JsonMember>(members, size) : std::span<const JsonMember>();
  }

  /// Of a number.
  double getNumber() const noexcept { return size == 0 ? number : cfTextToNumber({text, size}).value_or(0.0); }
  bool isIntegerNumber() const noexcept { return size == 0 ? isInteger : isIntegerText({text, size}); }

  union {
    double number = 0.0;  // one that was set; one that was read stays a text, as few are looked at
    bool boolean;
    const char* text;
    JsonNode** items;
    JsonMember* members;
    const std::string_view* pieces;  // of a reference
  };
  std::uint32_t size = 0;  // bytes of the text, or number of items, members or pieces
  JsonType type = JsonType::Null;
  bool isInteger = false;    // a number that was set, and is written without a point
  bool isReference = false;  // a null in whose place JSON text stands
  bool isFull = true;        // children that were read, with no room for more behind them; see addJsonChild
};

/// A value.
struct JsonNode : COJsonValue {
  explicit JsonNode(JsonDocument& document) noexcept : COJsonValue(&document), content{} {}

  /// What a value that a caller holds is: itself, or the top of the document that it owns.
  static JsonNode& of(COJsonValue& value) noexcept;
  static const JsonNode& of(const COJsonValue& value) noexcept { return of(const_cast<COJsonValue&>(value)); }

  JsonDocument& getDocument() const noexcept { return *document_; }
  static bool isDocument(const COJsonValue& value) noexcept { return value.document_ == nullptr; }

  JsonContent content;
};

/// The members of an object with many, by their keys.
struct JsonMemberIndex {
  std::unordered_map<std::string_view, JsonNode*> values;  // of repeated keys the last
  std::size_t covered = 0;                                 // how many members have been entered; the others are new
};

/// What has been read waits here until the container around it ends.
struct JsonStacks {
  std::vector<JsonMember> members;
  std::vector<JsonNode*> items;
};

/// A document. Nothing is given back before it goes.
struct JsonDocument {
  explicit JsonDocument(std::size_t firstChunk) : values(firstChunk), lists(firstChunk), top(*this) {}
  JsonDocument(const JsonDocument&) = delete;
  JsonDocument& operator=(const JsonDocument&) = delete;

  /// Gives an empty document the content that `text` describes. It is as it was, but not valid, when `text` is not.
  /// @param isKept whether `text` lives as long as the document, with a NUL behind it
  /// @param stacks room that may be used again; nothing is kept in it
  void read(std::string_view text, bool isKept, JsonStacks& stacks);

  /// Makes it an empty document in the memory that it has.
  void reuse() noexcept;

  /// A new value, null.
  JsonNode* create() { return ::new (values.allocate<JsonNode>(1)) JsonNode(*this); }

  /// A copy of `text`. Throws std::length_error when it has no text's size.
  std::string_view copy(std::string_view text);

  std::string source;  // the text that was read, when it was copied: its strings hold their texts
  // In the order in which they were made, so that who walks the tree goes forward in both. Were they mixed, a walk over
  // a large tree would take half as long again.
  JsonArena values;
  JsonArena lists;  // of children; and the keys and texts that were added
  JsonNode top;
  std::map<const JsonNode*, JsonMemberIndex> indexes;  // of objects that were added to
  bool isValid = true;
  std::size_t jsonSize = 0;  // about how much the document takes when written
};

inline JsonNode& JsonNode::of(COJsonValue& value) noexcept {
  return isDocument(value) ? static_cast<COJson&>(value).own_->top : static_cast<JsonNode&>(value);
}

/// A long piece of a reference, and where it belongs into a text.
struct JsonGap {
  std::size_t place;
  std::string_view text;
};

/// A written text with gaps: what was not copied into it.
struct JsonText {
  std::string text;
  std::vector<JsonGap> gaps;  // in the order of their places
};

/// Writes `value`. Pieces of references that have at least `shortestBorrowed` bytes are borrowed.
JsonText writeJson(const COJsonValue& value, std::size_t shortestBorrowed);

/// Whether what a service sent is no JSON for us. A value of two bytes ("0,") takes forty when it is read, so a reply
/// of nothing else would take hundreds of mebibytes. No service sends one of that many values; those that are read take
/// forty mebibytes at most. Looks into no text that is too short for that many.
bool hasTooManyJsonValues(std::string_view text) noexcept;

/// Appends a number in the form in which it is written.
void appendJsonNumber(std::string& result, double value, bool integer);

/// `text` with its numbers as doubles can hold them. The JSON library takes one beyond a double's range for an error.
std::string withNumbersInRange(std::string_view text);
