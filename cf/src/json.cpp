// Building a JSON document and reading its values.
#include "json_internal.h"

#include <cf/variant.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::size_t kShortChildSize = 12;  // a short value as text, with the punctuation around it and its key
constexpr std::uint32_t kFewestChildren = 4;
constexpr std::size_t kManyMembers = 32;  // to look at each of fewer takes less time than to keep an index

constexpr std::size_t kLargestFirstChunk = std::size_t{64} << 10;

/// Most texts are of longer strings, or of more, shorter values than take that much.
std::size_t firstChunkFor(std::string_view text) noexcept {
  return std::clamp(text.size(), kFirstJsonChunk, kLargestFirstChunk);
}

/// The last member `key` of a value; null when there is none.
JsonNode* findMember(const JsonContent& object, std::string_view key) noexcept {
  JsonNode* found = nullptr;
  for (const JsonMember& member : object.getMembers()) {
    if (member.key == key) found = member.value;
  }
  return found;
}

/// How many children have room where those of a container lie.
std::uint32_t capacityOf(const JsonContent& container) noexcept {
  return container.isFull ? container.size : std::bit_ceil(std::max(container.size, kFewestChildren));
}

/// Puts `child` behind the `children` of a container.
template <typename Child>
void append(JsonNode& container, Child*& children, const Child& child) {
  JsonContent& content = container.content;
  if (content.size == capacityOf(content)) {
    const std::size_t capacity = std::bit_ceil(std::max(content.size + 1, kFewestChildren));
    auto* const more = container.getDocument().lists.allocate<Child>(capacity);
    std::uninitialized_copy_n(children, content.size, more);
    children = more;
    content.isFull = false;
  }
  ::new (&children[content.size]) Child(child);
  ++content.size;
  container.getDocument().jsonSize += kShortChildSize;
}

/// As findMember, in constant time in the long run.
JsonNode* findMemberToAdd(JsonNode& object, std::string_view key) {
  const auto members = object.content.getMembers();
  if (members.size() < kManyMembers) return findMember(object.content, key);
  JsonMemberIndex& index = object.getDocument().indexes[&object];
  for (; index.covered != members.size(); ++index.covered) {
    index.values.insert_or_assign(members[index.covered].key, members[index.covered].value);
  }
  const auto found = index.values.find(key);
  return found == index.values.end() ? nullptr : found->second;
}

JsonNode* addMember(JsonNode& object, std::string_view key) {
  JsonDocument& document = object.getDocument();
  const JsonMember member{document.copy(key), document.create()};
  if (object.content.type != JsonType::Object) object.setObject();
  append(object, object.content.members, member);
  document.jsonSize += key.size();
  return member.value;
}

/// Makes a value an empty one of a type.
JsonContent& reset(COJsonValue& value, JsonType type) noexcept {
  JsonNode& node = JsonNode::of(value);
  JsonContent& content = node.content;
  if (content.getMembers().size() >= kManyMembers) node.getDocument().indexes.erase(&node);
  content = JsonContent();
  content.type = type;
  return content;
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
    JsonNode& object = JsonNode::of(target);
    for (const auto& [key, member] : value.mapValue()) fill(*addMember(object, key), member, depth + 1);
  }
}

}  // namespace

std::string_view JsonDocument::copy(std::string_view text) {
  if (!hasTextSize(text)) throw std::length_error("text too long for JSON");
  char* const place = lists.allocate<char>(text.size());
  std::copy(text.begin(), text.end(), place);
  return {place, text.size()};
}

bool COJsonValue::getIsValidJson() const noexcept {
  return !JsonNode::isDocument(*this) || JsonNode::of(*this).getDocument().isValid;
}

JsonType COJsonValue::obtainType() const noexcept { return JsonNode::of(*this).content.type; }

const COJsonValue* COJsonValue::obtainJsonValue(std::string_view key) const noexcept {
  return findMember(JsonNode::of(*this).content, key);
}

std::vector<COJsonMember> COJsonValue::obtainJsonMembers() const {
  const auto members = JsonNode::of(*this).content.getMembers();
  std::vector<COJsonMember> result;
  result.reserve(members.size());
  for (const JsonMember& member : members) result.push_back({member.key, member.value});
  return result;
}

std::vector<std::string> COJsonValue::obtainJsonKeys() const {
  const auto members = JsonNode::of(*this).content.getMembers();
  std::vector<std::string> keys;
  keys.reserve(members.size());
  for (const JsonMember& member : members) keys.emplace_back(member.key);
  return keys;
}

std::size_t COJsonValue::obtainArraySize() const noexcept { return JsonNode::of(*this).content.getItems().size(); }

const COJsonValue* COJsonValue::obtainArrayItem(std::size_t index) const noexcept {
  const auto items = JsonNode::of(*this).content.getItems();
  return index < items.size() ? items[index] : nullptr;
}

std::string_view COJsonValue::obtainString() const noexcept {
  const JsonContent& content = JsonNode::of(*this).content;
  return content.type == JsonType::String ? std::string_view(content.text, content.size) : std::string_view();
}

double COJsonValue::obtainNumber() const noexcept {
  const JsonContent& content = JsonNode::of(*this).content;
  return content.type == JsonType::Number ? content.getNumber() : 0.0;
}

bool COJsonValue::obtainBool() const noexcept {
  const JsonContent& content = JsonNode::of(*this).content;
  return content.type == JsonType::Bool && content.boolean;
}

COJsonValue* COJsonValue::addKeyValue(std::string_view key) {
  JsonNode& object = JsonNode::of(*this);
  JsonNode* const found = findMemberToAdd(object, key);
  return found != nullptr ? found : addMember(object, key);
}

COJsonValue* COJsonValue::addArrayItem() {
  JsonNode& array = JsonNode::of(*this);
  JsonNode* const item = array.getDocument().create();
  if (array.content.type != JsonType::Array) setArray();
  append(array, array.content.items, item);
  return item;
}

void COJsonValue::setNull() noexcept { reset(*this, JsonType::Null); }

void COJsonValue::setBool(bool value) noexcept { reset(*this, JsonType::Bool).boolean = value; }

void COJsonValue::setNumber(double value) noexcept { reset(*this, JsonType::Number).number = value; }

void COJsonValue::setInteger(std::int64_t value) noexcept {
  JsonContent& content = reset(*this, JsonType::Number);
  content.number = static_cast<double>(value);
  content.isInteger = true;
}

void COJsonValue::setString(std::string_view text) { setStringReference(JsonNode::of(*this).getDocument().copy(text)); }

void COJsonValue::setStringReference(std::string_view text) {
  if (!hasTextSize(text)) throw std::length_error("text too long for JSON");
  JsonContent& content = reset(*this, JsonType::String);
  content.text = text.data();
  content.size = static_cast<std::uint32_t>(text.size());
  JsonNode::of(*this).getDocument().jsonSize += text.size();
}

void COJsonValue::setJsonReference(std::span<const std::string_view> pieces) {
  auto* const first = JsonNode::of(*this).getDocument().lists.allocate<std::string_view>(pieces.size());
  auto* end = first;
  for (const std::string_view piece : pieces) {
    if (!piece.empty()) ::new (end++) std::string_view(piece);
  }
  JsonContent& content = reset(*this, JsonType::Null);
  content.pieces = first;
  content.size = static_cast<std::uint32_t>(end - first);
  content.isReference = content.size != 0;
}

void COJsonValue::setObject() noexcept { reset(*this, JsonType::Object).members = nullptr; }

void COJsonValue::setArray() noexcept { reset(*this, JsonType::Array).items = nullptr; }

COJson::COJson(std::size_t firstChunk) : COJsonValue(nullptr), own_(std::make_unique<JsonDocument>(firstChunk)) {}

COJson::COJson() : COJson(kFirstJsonChunk) {}

COJson::COJson(std::string_view text) : COJson(firstChunkFor(text)) {
  JsonStacks stacks;
  own_->read(text, false, stacks);
}

COJson COJson::readReference(const std::string& text) {
  COJson document(firstChunkFor(text));
  JsonStacks stacks;
  document.own_->read(text, true, stacks);
  return document;
}

COJson::COJson(COJson&& other) noexcept : COJsonValue(nullptr), own_(std::move(other.own_)) {}

COJson& COJson::operator=(COJson&& other) noexcept {
  own_ = std::move(other.own_);
  return *this;
}

COJson::~COJson() = default;

COJson cfCreateCOJsonFromCMVariant(const CMVariant& value) {
  COJson document;
  fill(document, value, 0);
  return document;
}
