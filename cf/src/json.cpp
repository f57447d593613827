// Building a JSON document and reading its values.
#include "json_internal.h"

#include <cf/variant.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::size_t kShortChildSize = 12;  // a short value as text, with the punctuation around it and its key
constexpr std::size_t kFirstBlockCapacity = 2;
constexpr std::size_t kFirstTexts = 512;  // bytes

/// How much a document needs at first for its texts when it copies the one it is read from.
std::size_t roomForCopy(std::string_view text) noexcept { return text.size() + 64; }

template <typename Word>
bool isSameWord(const char* left, const char* right) noexcept {
  Word leftWord = 0;
  Word rightWord = 0;
  std::memcpy(&leftWord, left, sizeof leftWord);
  std::memcpy(&rightWord, right, sizeof rightWord);
  return leftWord == rightWord;
}

/// Keys are short: a call of memcmp takes longer than to compare them.
bool isSameKey(std::string_view left, std::string_view right) noexcept {
  const std::size_t size = left.size();
  if (size != right.size()) return false;
  if (size > 8) return std::memcmp(left.data(), right.data(), size) == 0;
  if (size < 4) return std::equal(left.begin(), left.end(), right.begin());
  const std::size_t last = size - 4;
  return isSameWord<std::uint32_t>(left.data(), right.data()) &&
         isSameWord<std::uint32_t>(left.data() + last, right.data() + last);
}

/// Whether two of a few `keys` are the same.
bool hasRepeatedKey(std::span<const std::string_view> keys) noexcept {
  for (std::size_t index = 1; index < keys.size(); ++index) {
    const auto earlier = keys.first(index);
    if (std::any_of(earlier.begin(), earlier.end(), [&](auto key) { return isSameKey(key, keys[index]); })) return true;
  }
  return false;
}

/// How many children the next block holds, behind `before` others.
constexpr std::size_t nextCapacity(std::size_t before) noexcept {
  return std::max(kFirstBlockCapacity, before < kManyJsonChildren ? before : before / 4);
}

/// Gives `target` the content of `value`; `depth` counts the containers around it.
void fill(COJsonValue& target, const CMVariant& value, unsigned depth) {
  using ValueType = CMVariant::ValueType;
  const ValueType type = value.getValueType();
  if (type == ValueType::String) target.setString(value.stringRef());
  if (type == ValueType::Double) target.setNumber(value.doubleValue());
  if (depth == kMaxJsonDepth) return;
  if (type == ValueType::List) {
    target.setArray();
    for (const CMVariant& item : value.listRef()) fill(*target.addArrayItem(), item, depth + 1);
  }
  if (type == ValueType::Map) {
    target.setObject();
    for (const auto& [key, member] : value.mapValue()) fill(*target.addKeyValue(key), member, depth + 1);
  }
}

}  // namespace

bool COJsonValue::getIsValidJson() const noexcept { return (node_.flags & kInvalid) == 0; }

const COJsonValue* COJsonValue::obtainJsonValue(std::string_view key) const noexcept {
  if (node_.type != JsonType::Object) return nullptr;
  const COJsonValue* found = nullptr;
  forEachJsonChild(*this, [&](const COJsonValue& child) {
    if (isSameKey(key, COJsonAccess::key(child))) found = &child;
  });
  return found;
}

void COJsonValue::obtainJsonValues(std::span<const std::string_view> keys,
                                   std::span<const COJsonValue*> values) const noexcept {
  std::fill(values.begin(), values.end(), nullptr);
  if (node_.type != JsonType::Object) return;
  if (hasRepeatedKey(keys)) {  // one pass would share the members out among them
    std::transform(keys.begin(), keys.end(), values.begin(), [this](auto key) { return obtainJsonValue(key); });
    return;
  }
  // Members mostly come in the order in which they are asked for.
  std::size_t expected = 0;
  forEachJsonChild(*this, [&](const COJsonValue& child) {
    const std::string_view key = COJsonAccess::key(child);
    for (std::size_t tried = 0; tried < keys.size(); ++tried) {
      const std::size_t index = expected;
      if (++expected == keys.size()) expected = 0;
      if (!isSameKey(keys[index], key)) continue;
      values[index] = &child;
      break;
    }
  });
}

std::vector<COJsonMember> COJsonValue::obtainJsonMembers() const {
  std::vector<COJsonMember> members;
  if (node_.type != JsonType::Object) return members;
  members.reserve(node_.size);
  forEachJsonChild(*this, [&](const COJsonValue& child) { members.push_back({COJsonAccess::key(child), &child}); });
  return members;
}

std::vector<std::string> COJsonValue::obtainJsonKeys() const {
  std::vector<std::string> keys;
  if (node_.type != JsonType::Object) return keys;
  keys.reserve(node_.size);
  forEachJsonChild(*this, [&keys](const COJsonValue& child) { keys.emplace_back(COJsonAccess::key(child)); });
  return keys;
}

const COJsonValue* COJsonValue::findArrayItem(std::size_t index) const noexcept {
  const Block* block = node_.content.blocks;
  for (; index >= block->capacity; block = block->next) index -= block->capacity;
  return valueOfRun(block->values, index);
}

double COJsonValue::obtainNumber() const noexcept {
  return node_.type == JsonType::Number ? node_.content.number : 0.0;
}

bool COJsonValue::obtainBool() const noexcept { return node_.type == JsonType::Bool && node_.content.boolean; }

COJsonValue* COJsonValue::addKeyValue(std::string_view key) {
  Arena& arena = COJsonAccess::arena(*this);
  const COJsonAccess::Key copy = COJsonAccess::copyKey(key, arena);
  if (node_.type != JsonType::Object) setObject();
  COJsonValue* const child = COJsonAccess::addChild(*this, arena);
  child->node_.key = copy.text;
  child->node_.keySize = copy.size;
  arena.jsonSize += key.size();
  return child;
}

COJsonValue* COJsonValue::addArrayItem() {
  if (node_.type != JsonType::Array) setArray();
  return COJsonAccess::addChild(*this, COJsonAccess::arena(*this));
}

COJsonValue* COJsonAccess::addChild(COJsonValue& container, Arena& arena) {
  Node& node = container.node_;
  Block* last = hasFlag(node, kInBlocks) ? node.content.blocks->last : nullptr;
  if (last == nullptr || node.size - last->before == last->capacity) {
    const std::size_t capacity = nextCapacity(node.size);
    last = addBlock(node, arena.allocateValues(capacity), capacity, node.size, arena);
  }
  arena.jsonSize += kShortChildSize;
  COJsonValue* const place = COJsonValue::valueOfRun(last->values, node.size - last->before);
  ++node.size;
  return construct(place, Node{});
}

COJsonAccess::Block* COJsonAccess::addBlock(Node& node, COJsonValue* values, std::size_t capacity, std::size_t before,
                                            Arena& arena) {
  const auto create = [&arena](COJsonValue* valuesOfIt, std::size_t capacityOfIt, std::size_t beforeIt) {
    return ::new (arena.memory.allocate(sizeof(Block), alignof(Block)))
        Block{valuesOfIt, capacityOfIt, beforeIt, nullptr, nullptr};
  };
  Block* const added = create(values, capacity, before);
  if (hasFlag(node, kInBlocks)) {
    node.content.blocks->last->next = added;
  } else if (before != 0) {  // as they were read
    Block* const first = create(node.content.children, before, 0);
    first->next = added;
    node.content.blocks = first;
  } else {
    node.content.blocks = added;
  }
  node.content.blocks->last = added;
  node.flags |= kInBlocks;
  return added;
}

COJsonAccess::Key COJsonAccess::makeLongKey(std::string_view text, Arena& arena) {
  void* const place = arena.memory.allocate(sizeof(std::string_view), alignof(std::string_view));
  return {reinterpret_cast<const char*>(::new (place) std::string_view(text)), kLongKey};
}

void COJsonAccess::takeContent(COJson& target, COJson& source) noexcept {
  target.node_ = source.node_;
  target.arena_ = std::move(source.arena_);
  source.setNull();
}

void COJsonValue::setNull() noexcept {
  node_.type = JsonType::Null;
  node_.size = 0;
  node_.flags &= kInvalid | kDocument;
}

void COJsonValue::setBool(bool value) noexcept {
  setNull();
  node_.type = JsonType::Bool;
  node_.content.boolean = value;
}

void COJsonValue::setNumber(double value) noexcept {
  setNull();
  node_.type = JsonType::Number;
  node_.content.number = value;
}

void COJsonValue::setInteger(std::int64_t value) noexcept {
  setNumber(static_cast<double>(value));
  node_.flags |= kInteger;
}

void COJsonValue::setString(std::string_view text) {
  setStringReference({COJsonAccess::arena(*this).copyText(text), text.size()});
}

void COJsonValue::setStringReference(std::string_view text) {
  if (!hasTextSize(text)) throw std::length_error("text too long for JSON");
  setNull();
  node_.type = JsonType::String;
  node_.content.text = text.data();
  node_.size = static_cast<std::uint32_t>(text.size());
  COJsonAccess::arena(*this).jsonSize += text.size();
}

void COJsonValue::setJsonReference(std::span<const std::string_view> pieces) {
  setNull();
  auto* end = static_cast<std::string_view*>(
      COJsonAccess::arena(*this).memory.allocate(pieces.size_bytes(), alignof(std::string_view)));
  node_.content.pieces = end;
  for (const std::string_view piece : pieces) {
    if (!piece.empty()) ::new (end++) std::string_view(piece);
  }
  node_.size = static_cast<std::uint32_t>(end - node_.content.pieces);
  if (node_.size != 0) node_.flags |= kReference;
}

void COJsonValue::setObject() noexcept {
  setNull();
  node_.type = JsonType::Object;
}

void COJsonValue::setArray() noexcept {
  setNull();
  node_.type = JsonType::Array;
}

COJson::COJson() : COJson(kFirstTexts) {}

COJson::COJson(std::size_t firstTexts) : arena_(std::make_unique<Arena>(firstTexts)) { node_.flags = kDocument; }

COJson::COJson(std::string_view text) : COJson(roomForCopy(text)) { read(text, false); }

COJson COJson::readReference(const std::string& text) {
  COJson document(kFirstTexts);
  document.read(text, true);
  return document;
}

void COJson::read(std::string_view text, bool isKept) {
  if (COJsonAccess::parse(*this, text, isKept)) return;
  // A text that is not valid leaves nothing behind; what is built in its place starts afresh.
  arena_->release();
  node_.flags |= kInvalid;
}

COJson::COJson(COJson&& other) noexcept { COJsonAccess::takeContent(*this, other); }

COJson& COJson::operator=(COJson&& other) noexcept {
  if (this != &other) COJsonAccess::takeContent(*this, other);
  return *this;
}

COJson::~COJson() = default;

COJson cfCreateCOJsonFromCMVariant(const CMVariant& value) {
  COJson document;
  fill(document, value, 0);
  return document;
}
