// Building a JSON document and reading its values.
#include "json_internal.h"

#include <cf/variant.h>

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::size_t kShortChildSize = 12;  // a short value as text, with the punctuation around it and its key
constexpr std::size_t kFirstBlockCapacity = 2;

/// Room for a text and for its values, of which dense texts have one in every ten or so bytes.
std::size_t firstChunkFor(std::string_view text) noexcept { return 2 * text.size() + 512; }

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

char* COJsonValue::Arena::copyText(std::string_view text) {
  if (!hasTextSize(text)) throw std::length_error("text too long for JSON");
  auto* const copy = static_cast<char*>(memory.allocate(text.size() + 1, 1));
  *std::copy(text.begin(), text.end(), copy) = '\0';
  return copy;
}

COJsonValue::Block* COJsonValue::Block::create(Arena& arena, std::size_t capacity) {
  static_assert(sizeof(Block) % alignof(COJsonValue) == 0 && alignof(Block) >= alignof(COJsonValue));
  void* const memory = arena.memory.allocate(sizeof(Block) + capacity * sizeof(COJsonValue), alignof(Block));
  return ::new (memory) Block{nullptr, capacity};
}

bool COJsonValue::getIsValidJson() const noexcept { return valid_; }

JsonType COJsonValue::obtainType() const noexcept { return type_; }

const COJsonValue* COJsonValue::obtainJsonValue(std::string_view key) const noexcept {
  if (type_ != JsonType::Object) return nullptr;
  const COJsonValue* found = nullptr;
  std::size_t remaining = size_;
  for (const Block* block = content_.children; remaining != 0; block = block->next) {
    const std::size_t count = std::min(remaining, block->capacity);
    remaining -= count;
    for (const COJsonValue* child = block->values() + count; child != block->values();) {
      --child;
      if (COJsonAccess::key(*child) != key) continue;
      found = child;
      break;
    }
  }
  return found;
}

std::vector<std::string> COJsonValue::obtainJsonKeys() const {
  std::vector<std::string> keys;
  if (type_ != JsonType::Object) return keys;
  keys.reserve(size_);
  JsonChildren children(*this);
  while (const COJsonValue* child = children.next()) keys.emplace_back(COJsonAccess::key(*child));
  return keys;
}

std::size_t COJsonValue::obtainArraySize() const noexcept { return type_ == JsonType::Array ? size_ : 0; }

const COJsonValue* COJsonValue::obtainArrayItem(std::size_t index) const noexcept {
  if (index >= obtainArraySize()) return nullptr;
  const Block* block = content_.children;
  for (; index >= block->capacity; block = block->next) index -= block->capacity;
  return block->values() + index;
}

std::string_view COJsonValue::obtainString() const noexcept {
  return type_ == JsonType::String ? std::string_view(content_.text, size_) : std::string_view();
}

double COJsonValue::obtainNumber() const noexcept { return type_ == JsonType::Number ? content_.number : 0.0; }

bool COJsonValue::obtainBool() const noexcept { return type_ == JsonType::Bool && content_.boolean; }

COJsonValue* COJsonValue::addKeyValue(std::string_view key) {
  const char* const copy = arena_->copyText(key);
  if (type_ != JsonType::Object) setObject();
  COJsonValue* const child = COJsonAccess::addChild(*this);
  child->key_ = copy;
  child->keySize_ = static_cast<std::uint32_t>(key.size());
  arena_->jsonSize += key.size();
  return child;
}

COJsonValue* COJsonValue::addArrayItem() {
  if (type_ != JsonType::Array) setArray();
  return COJsonAccess::addChild(*this);
}

COJsonValue* COJsonAccess::addChild(COJsonValue& container) {
  Block** link = &container.content_.children;
  std::size_t index = container.size_;
  std::size_t capacity = kFirstBlockCapacity;
  for (; *link != nullptr && index >= (*link)->capacity; link = &(*link)->next) {
    index -= (*link)->capacity;
    capacity = std::max(capacity, 2 * (*link)->capacity);
  }
  if (*link == nullptr) *link = Block::create(*container.arena_, capacity);
  container.arena_->jsonSize += kShortChildSize;
  ++container.size_;
  return ::new ((*link)->values() + index) COJsonValue(container.arena_);
}

void COJsonAccess::takeContent(COJsonValue& target, COJsonValue& source) noexcept {
  target.content_ = source.content_;
  target.type_ = source.type_;
  target.size_ = source.size_;
  target.integer_ = source.integer_;
  target.valid_ = source.valid_;
  target.arena_ = std::exchange(source.arena_, nullptr);
  if (target.arena_ != nullptr) target.arena_->top = &target;
  source.setNull();
}

void COJsonValue::setNull() noexcept {
  type_ = JsonType::Null;
  size_ = 0;
  integer_ = false;
}

void COJsonValue::setBool(bool value) noexcept {
  setNull();
  type_ = JsonType::Bool;
  content_.boolean = value;
}

void COJsonValue::setNumber(double value) noexcept {
  setNull();
  type_ = JsonType::Number;
  content_.number = value;
}

void COJsonValue::setInteger(std::int64_t value) noexcept {
  setNumber(static_cast<double>(value));
  integer_ = true;
}

void COJsonValue::setString(std::string_view text) { setStringReference({arena_->copyText(text), text.size()}); }

void COJsonValue::setStringReference(std::string_view text) {
  if (!hasTextSize(text)) throw std::length_error("text too long for JSON");
  setNull();
  type_ = JsonType::String;
  content_.text = text.data();
  size_ = static_cast<std::uint32_t>(text.size());
  arena_->jsonSize += text.size();
}

void COJsonValue::setJsonReference(std::string_view json) {
  setStringReference(json);
  type_ = JsonType::Null;           // with a size, which no other null has
  arena_->jsonSize -= json.size();  // the writer makes room for it, when it copies it
}

void COJsonValue::setObject() noexcept {
  setNull();
  type_ = JsonType::Object;
  content_.children = nullptr;
}

void COJsonValue::setArray() noexcept {
  setNull();
  type_ = JsonType::Array;
  content_.children = nullptr;
}

COJson::COJson() : COJsonValue(std::make_unique<Arena>().release()), owner_(arena_) { arena_->top = this; }

COJson::COJson(std::string_view text)
    : COJsonValue(std::make_unique<Arena>(firstChunkFor(text)).release()), owner_(arena_) {
  arena_->top = this;
  valid_ = COJsonAccess::parse(*this, text);
  // A text that is not valid leaves nothing behind; what is built in its place starts afresh.
  if (!valid_) owner_->memory.release();
}

COJson::COJson(COJson&& other) noexcept : COJsonValue(other.arena_), owner_(std::move(other.owner_)) {
  COJsonAccess::takeContent(*this, other);
}

COJson& COJson::operator=(COJson&& other) noexcept {
  if (this == &other) return *this;
  owner_ = std::move(other.owner_);
  COJsonAccess::takeContent(*this, other);
  return *this;
}

COJson::~COJson() = default;

COJson cfCreateCOJsonFromCMVariant(const CMVariant& value) {
  COJson document;
  fill(document, value, 0);
  return document;
}
