// What reading, building and writing a JSON document share: where its values and texts lie.
#pragma once

#include <cf/json.h>

#include <limits>
#include <memory_resource>
#include <string>
#include <string_view>

/// How deep arrays and objects may be nested in a text, and in what becomes one.
inline constexpr unsigned kMaxJsonDepth = 256;

/// Sizes of texts are kept in 32 bits.
inline bool hasTextSize(std::string_view text) noexcept {
  return text.size() <= std::numeric_limits<std::uint32_t>::max();
}

/// A written text with a gap: a long reference that was not copied into it.
struct JsonText {
  std::string text;
  std::string_view borrowed;  // belongs at `place`; empty when nothing was left out
  std::size_t place = 0;
};

/// The memory of one document. Nothing is given back before the document goes.
struct COJsonValue::Arena {
  /// @param firstChunk how much to allocate when first used; each later chunk is larger than the one before.
  explicit Arena(std::size_t firstChunk = 1024) : memory(firstChunk, std::pmr::new_delete_resource()) {}

  /// A copy of `text`, with a NUL after it. Throws std::length_error when it has no text's size.
  char* copyText(std::string_view text);

  std::pmr::monotonic_buffer_resource memory;
  std::size_t jsonSize = 0;          // about how much the document takes when written
  const COJsonValue* top = nullptr;  // the document's top-level value
};

/// Some children of a container, in order. All blocks but the last one are full.
struct COJsonValue::Block {
  Block* next;
  std::size_t capacity;

  static Block* create(Arena& arena, std::size_t capacity);
  COJsonValue* values() noexcept { return reinterpret_cast<COJsonValue*>(this + 1); }
  const COJsonValue* values() const noexcept { return reinterpret_cast<const COJsonValue*>(this + 1); }
};

/// What reading and writing need of a value beyond its public face.
struct COJsonAccess {
  using Arena = COJsonValue::Arena;
  using Block = COJsonValue::Block;
  class TreeBuilder;

  /// Gives `top`, an empty document's value, the content that `text` describes.
  /// @return false, with `top` as it was, when `text` is not valid.
  static bool parse(COJsonValue& top, std::string_view text);

  /// Writes `value`. The first reference of at least `shortestBorrowed` bytes is borrowed.
  static JsonText write(const COJsonValue& value, std::size_t shortestBorrowed);

  /// Adds a child, null and without a key, to a container.
  static COJsonValue* addChild(COJsonValue& container);

  /// Moves a document's top-level value; `source` is left without a document.
  static void takeContent(COJsonValue& target, COJsonValue& source) noexcept;

  static Arena& arena(const COJsonValue& value) noexcept { return *value.arena_; }
  static const Block* children(const COJsonValue& value) noexcept {
    return value.size_ != 0 ? value.content_.children : nullptr;
  }
  static std::uint32_t size(const COJsonValue& value) noexcept { return value.size_; }
  static std::string_view key(const COJsonValue& value) noexcept { return {value.key_, value.keySize_}; }
  /// What setJsonReference was given stands in a null with a size.
  static bool isReference(const COJsonValue& value) noexcept {
    return value.type_ == JsonType::Null && value.size_ != 0;
  }
  static std::string_view jsonReference(const COJsonValue& value) noexcept {
    return {value.content_.text, value.size_};
  }
  static bool isInteger(const COJsonValue& value) noexcept { return value.integer_; }
};

/// Walks the children of an array or object in order.
class JsonChildren {
 public:
  explicit JsonChildren(const COJsonValue& container) noexcept
      : block_(COJsonAccess::children(container)), remaining_(COJsonAccess::size(container)) {}

  /// The next child; null after the last one.
  const COJsonValue* next() noexcept {
    if (remaining_ == 0) return nullptr;
    if (index_ == block_->capacity) {
      block_ = block_->next;
      index_ = 0;
    }
    --remaining_;
    return block_->values() + index_++;
  }

 private:
  const COJsonAccess::Block* block_;
  std::size_t index_ = 0;
  std::size_t remaining_;
};

/// Appends a number in the form in which it is written.
void appendJsonNumber(std::string& result, double value, bool integer);
