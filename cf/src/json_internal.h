// What reading, building and writing a JSON document share: where its values and texts lie.
#pragma once

#include <cf/json.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory_resource>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/// How deep arrays and objects may be nested in a text, and in what becomes one.
inline constexpr unsigned kMaxJsonDepth = 256;

/// From this many children on, memory counts for more than that they lie in few runs.
inline constexpr std::size_t kManyJsonChildren = 65536;

/// Sizes of texts are kept in 32 bits.
inline bool hasTextSize(std::string_view text) noexcept {
  return text.size() <= std::numeric_limits<std::uint32_t>::max();
}

/// Where values lie. A page leads to the document, and a value finds its page by rounding its own address down: so no
/// value needs a pointer for that. Pages of one chunk follow each other, and a run of values may span several.
struct JsonPage {
  static constexpr std::size_t kSize = COJsonValue::kPageSize;
  static constexpr std::size_t kHeaderSize = COJsonValue::kPageHeaderSize;
  static constexpr std::size_t kCapacity = (kSize - kHeaderSize) / sizeof(COJsonValue);

  JsonPage(void* arenaOfPage, JsonPage* chunkBeforeIt) noexcept : arena(arenaOfPage), chunkBefore(chunkBeforeIt) {}

  static JsonPage* of(COJsonValue& value) noexcept {
    auto* const place = reinterpret_cast<std::byte*>(&value);
    return reinterpret_cast<JsonPage*>(place - reinterpret_cast<std::uintptr_t>(place) % kSize);
  }

  COJsonValue* values() noexcept { return reinterpret_cast<COJsonValue*>(slots.data()); }

  /// The value behind `value` in its run.
  template <typename Value>
  static Value* next(Value* value) noexcept {
    using Byte = std::conditional_t<std::is_const_v<Value>, const std::byte, std::byte>;
    auto* const place = reinterpret_cast<Byte*>(value + 1);
    const bool isHeader = reinterpret_cast<std::uintptr_t>(place) % kSize == 0;
    return reinterpret_cast<Value*>(isHeader ? place + kHeaderSize : place);
  }

  void* arena;
  JsonPage* chunkBefore;  // in the first page of a chunk
  alignas(kHeaderSize) std::array<std::byte, kCapacity * sizeof(COJsonValue)> slots;
};
static_assert(sizeof(JsonPage) == JsonPage::kSize, "behind a page's last value its next page begins");

/// A written text with gaps: long pieces of references, which were not copied into it.
struct JsonText {
  struct Gap {
    std::size_t place;  // in the text
    std::string_view borrowed;
  };
  std::string text;
  std::vector<Gap> gaps;  // in the order of their places
};

/// The memory of one document. Nothing is given back before the document goes.
struct COJsonValue::Arena {
  /// @param firstTexts room for texts to allocate when first used; each later chunk is larger than the one before.
  explicit Arena(std::size_t firstTexts) : memory(firstTexts, std::pmr::new_delete_resource()) {}
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;
  ~Arena() { release(); }

  /// A copy of `text`, with a NUL after it. Throws std::length_error when it has no text's size.
  char* copyText(std::string_view text);

  /// Room for `count` values (at least one) in a run; none of them is constructed.
  COJsonValue* allocateValues(std::size_t count) {
    if (count > JsonPage::kCapacity - used_) return allocateOnNextPages(count);
    COJsonValue* const first = page_->values() + used_;
    used_ += count;
    return first;
  }

  /// Gives everything back; no value may be in use any more.
  void release() noexcept;

  std::pmr::monotonic_buffer_resource memory;  // texts, blocks
  std::size_t jsonSize = 0;                    // about how much the document takes when written

 private:
  COJsonValue* allocateOnNextPages(std::size_t count);
  void addChunk(std::size_t count);
  void openNextPage() noexcept;

  JsonPage* chunk_ = nullptr;  // the newest one
  JsonPage* page_ = nullptr;   // where the next values go
  std::size_t used_ = JsonPage::kCapacity;
  std::size_t pagesLeft_ = 0;   // behind page_
  std::size_t chunkPages_ = 1;  // in the next chunk
};

/// Some children of a container, in order, in a run. All blocks but the last one are full.
struct COJsonValue::Block {
  COJsonValue* values;
  std::size_t capacity;
  std::size_t before;  // the number of children in the blocks before
  Block* next;
  Block* last;  // of the chain; only in its first block
};

/// What reading and writing need of a value beyond its public face.
struct COJsonAccess {
  using Arena = COJsonValue::Arena;
  using Block = COJsonValue::Block;
  using Node = COJsonValue::Node;

  /// Says that a key's size stands with its text, in a string_view to which the key's pointer leads.
  static constexpr std::uint16_t kLongKey = std::numeric_limits<std::uint16_t>::max();

  /// Gives `top`, an empty document's value, the content that `text` describes.
  /// @param isKept whether `text` lives as long as the document, with a NUL behind it
  /// @return false, with `top` as it was, when `text` is not valid.
  static bool parse(COJson& top, std::string_view text, bool isKept);

  /// How many values `text` holds at most, if it is JSON.
  static std::size_t boundValues(std::string_view text) noexcept;

  /// Writes `value`. Pieces of references that have at least `shortestBorrowed` bytes are borrowed.
  static JsonText write(const COJsonValue& value, std::size_t shortestBorrowed);

  /// Adds a child, null and without a key, to a container.
  static COJsonValue* addChild(COJsonValue& container, Arena& arena);

  /// Adds a run behind the `before` children of a container.
  /// @param capacity of the run, which holds as many children already or gets them one by one
  static Block* addBlock(Node& node, COJsonValue* values, std::size_t capacity, std::size_t before, Arena& arena);

  /// Moves a document's top-level value; `source` is left without a document.
  static void takeContent(COJson& target, COJson& source) noexcept;

  static Arena& arena(COJsonValue& value) noexcept {
    if (hasFlag(value.node_, kDocument)) return *static_cast<COJson&>(value).arena_;
    return *static_cast<Arena*>(JsonPage::of(value)->arena);
  }
  static const Arena* ownedArena(const COJsonValue& value) noexcept {
    return hasFlag(value.node_, kDocument) ? static_cast<const COJson&>(value).arena_.get() : nullptr;
  }

  /// Values that are constructed where allocateValues made room.
  static COJsonValue* construct(COJsonValue* place, const Node& node) noexcept {
    return ::new (place) COJsonValue(node);
  }

  static const Node& node(const COJsonValue& value) noexcept { return value.node_; }

  /// A key as a value holds it.
  struct Key {
    const char* text;
    std::uint16_t size;
  };
  static Key makeKey(std::string_view text, Arena& arena) {
    if (text.size() < kLongKey) return {text.data(), static_cast<std::uint16_t>(text.size())};
    return makeLongKey(text, arena);
  }
  static Key copyKey(std::string_view text, Arena& arena) {
    return makeKey({arena.copyText(text), text.size()}, arena);
  }
  static std::string_view key(const COJsonValue& value) noexcept {
    const Node& node = value.node_;
    return node.keySize != kLongKey ? std::string_view(node.key, node.keySize)
                                    : *reinterpret_cast<const std::string_view*>(node.key);
  }

  static constexpr std::uint8_t kInteger = COJsonValue::kInteger;
  static constexpr std::uint8_t kInBlocks = COJsonValue::kInBlocks;
  static constexpr std::uint8_t kDocument = COJsonValue::kDocument;
  static bool hasFlag(const Node& node, std::uint8_t flag) noexcept { return (node.flags & flag) != 0; }
  static bool isInteger(const COJsonValue& value) noexcept { return hasFlag(value.node_, kInteger); }
  static bool isReference(const COJsonValue& value) noexcept { return hasFlag(value.node_, COJsonValue::kReference); }
  static std::span<const std::string_view> jsonReference(const COJsonValue& value) noexcept {
    return {value.node_.content.pieces, value.node_.size};
  }

 private:
  static Key makeLongKey(std::string_view text, Arena& arena);
};

/// Calls `visit(child)` for each child of an array or object in order.
template <typename Visit>
void forEachJsonChild(const COJsonValue& container, Visit visit) {
  const COJsonAccess::Node& node = COJsonAccess::node(container);
  std::size_t remaining = node.size;
  const auto visitRun = [&](const COJsonValue* child, std::size_t count) {
    remaining -= count;
    for (; count != 0; --count, child = JsonPage::next(child)) visit(*child);
  };
  if (remaining == 0) return;
  if (!COJsonAccess::hasFlag(node, COJsonAccess::kInBlocks)) return visitRun(node.content.children, remaining);
  // NOLINTNEXTLINE(bugprone-infinite-loop): visitRun takes from what remains
  for (const COJsonAccess::Block* block = node.content.blocks; remaining != 0; block = block->next) {
    visitRun(block->values, std::min(remaining, block->capacity));
  }
}

/// Walks the children of an array or object in order.
class JsonChildren {
 public:
  explicit JsonChildren(const COJsonValue& container) noexcept : remaining_(COJsonAccess::node(container).size) {
    if (remaining_ == 0) return;
    const COJsonAccess::Node& node = COJsonAccess::node(container);
    if (COJsonAccess::hasFlag(node, COJsonAccess::kInBlocks)) {
      enter(node.content.blocks);
    } else {
      child_ = node.content.children;
      inRun_ = remaining_;
    }
  }

  /// The next child; null after the last one.
  const COJsonValue* next() noexcept {
    if (remaining_ == 0) return nullptr;
    if (inRun_ == 0) enter(nextBlock_);
    --remaining_;
    --inRun_;
    const COJsonValue* const child = child_;
    child_ = JsonPage::next(child);
    return child;
  }

 private:
  void enter(const COJsonAccess::Block* block) noexcept {
    child_ = block->values;
    inRun_ = block->capacity;
    nextBlock_ = block->next;
  }

  const COJsonValue* child_ = nullptr;
  std::size_t inRun_ = 0;
  const COJsonAccess::Block* nextBlock_ = nullptr;
  std::size_t remaining_;
};

/// Appends a number in the form in which it is written.
void appendJsonNumber(std::string& result, double value, bool integer);

inline bool isIntegerText(std::string_view number) noexcept {
  return number.find_first_of(".eE") == std::string_view::npos;
}

/// `text` with its numbers as doubles can hold them. The JSON library takes one beyond a double's range for an error.
std::string withNumbersInRange(std::string_view text);
