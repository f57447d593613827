// Reading a JSON text: the JSON library finds the values, which become a tree in the document's memory.
#include "json_internal.h"

#include <cf/text.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace {

/// Leaves the JSON library's parser from where it has no way of its own to fail.
struct InvalidJson {};

}  // namespace

// A copy of the library under a name of its own, so that it never mixes with a host's.
#define RAPIDJSON_NAMESPACE cf_rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace cf_rapidjson {
#define RAPIDJSON_NAMESPACE_END }
#define RAPIDJSON_ASSERT(condition)        \
  do {                                     \
    if (!(condition)) throw InvalidJson(); \
  } while (false)
#include <rapidjson/reader.h>

namespace {

using cf_rapidjson::SizeType;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr unsigned kParseFlags =
    cf_rapidjson::kParseInsituFlag | cf_rapidjson::kParseIterativeFlag | cf_rapidjson::kParseNumbersAsStringsFlag;

/// UTF-8 whose escapes can't put a lone surrogate into a text; the library lets the low ones pass.
struct StrictUTF8 : cf_rapidjson::UTF8<> {
  template <typename OutputStream>
  static void Encode(OutputStream& output, unsigned codePoint) {
    if (codePoint >= 0xD800 && codePoint <= 0xDFFF) throw InvalidJson();
    cf_rapidjson::UTF8<>::Encode(output, codePoint);
  }
};

using Pool = cf_rapidjson::MemoryPoolAllocator<>;
using Reader = cf_rapidjson::GenericReader<StrictUTF8, StrictUTF8, Pool>;

bool isIntegerText(std::string_view number) noexcept { return number.find_first_of(".eE") == std::string_view::npos; }

constexpr std::string_view kDigits = "0123456789";

/// Whether `text` is one number as RFC 8259 has it.
bool isJsonNumber(std::string_view text) noexcept {
  const auto skip = [&text](std::string_view characters) {
    const std::size_t size = std::min(text.find_first_not_of(characters), text.size());
    text.remove_prefix(size);
    return size != 0;
  };
  const auto skipOne = [&text](std::string_view characters) {
    const bool found = !text.empty() && characters.find(text.front()) != std::string_view::npos;
    if (found) text.remove_prefix(1);
    return found;
  };
  skipOne("-");
  if (!skipOne("0") && !skip(kDigits)) return false;
  if (skipOne(".") && !skip(kDigits)) return false;
  if (!skipOne("eE")) return text.empty();
  skipOne("+-");
  return skip(kDigits) && text.empty();
}

/// The size of the string at the start of `text`, its quotation marks included.
std::size_t stringSize(std::string_view text) noexcept {
  std::size_t end = 1;
  while (end < text.size() && text[end] != '"') end += text[end] == '\\' ? 2 : 1;
  return std::min(end + 1, text.size());
}

/// `text` with its numbers as doubles can hold them. The library takes a number beyond a double's range for an error.
std::string withNumbersInRange(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const bool isString = text.front() == '"';
    const std::size_t numberSize = std::min(text.find_first_not_of("0123456789+-.eE"), text.size());
    const std::size_t size = isString ? stringSize(text) : std::max<std::size_t>(numberSize, 1);
    const std::string_view token = text.substr(0, size);
    text.remove_prefix(size);
    if (isString || !isJsonNumber(token)) {
      result.append(token);
    } else {
      appendJsonNumber(result, cfTextToNumber(token).value_or(0.0), isIntegerText(token));
    }
  }
  return result;
}

}  // namespace

/// Receives the parser's events. A container's children gather behind it on a stack and move into one block, whose
/// size is known then, when the container ends.
class COJsonAccess::TreeBuilder : public cf_rapidjson::BaseReaderHandler<StrictUTF8, TreeBuilder> {
 public:
  explicit TreeBuilder(Arena& arena) : arena_(arena) { pending_.reserve(32); }

  bool Null() {
    add(JsonType::Null);
    return true;
  }

  bool Bool(bool value) {
    add(JsonType::Bool).content.boolean = value;
    return true;
  }

  bool RawNumber(const char* text, SizeType size, bool /*copy*/) {
    const std::string_view number(text, size);
    ParsedValue& value = add(JsonType::Number);
    value.content.number = cfTextToNumber(number).value_or(0.0);
    value.integer = isIntegerText(number);
    return true;
  }

  bool String(const char* text, SizeType size, bool /*copy*/) {
    ParsedValue& value = add(JsonType::String);
    value.content.text = text;
    value.size = size;
    return true;
  }

  bool Key(const char* text, SizeType size, bool /*copy*/) {
    key_ = {text, size};
    return true;
  }

  bool StartObject() { return start(JsonType::Object); }
  bool StartArray() { return start(JsonType::Array); }
  bool EndObject(SizeType count) { return end(count); }
  bool EndArray(SizeType count) { return end(count); }

  /// Makes `top` the value that was read.
  void finish(COJsonValue& top) const { assign(top, pending_.front()); }

 private:
  struct ParsedValue {
    std::string_view key;
    COJsonValue::Content content;
    std::uint32_t size = 0;
    JsonType type = JsonType::Null;
    bool integer = false;
  };

  ParsedValue& add(JsonType type) {
    ParsedValue& value = pending_.emplace_back();
    value.key = std::exchange(key_, {});
    value.type = type;
    return value;
  }

  bool start(JsonType type) {
    add(type).content.children = nullptr;
    return ++depth_ <= kMaxJsonDepth;
  }

  bool end(SizeType count) {
    --depth_;
    if (count == 0) return true;
    const auto first = pending_.end() - count;
    Block* const block = Block::create(arena_, count);
    COJsonValue* value = block->values();
    for (auto child = first; child != pending_.end(); ++child, ++value) {
      assign(*::new (value) COJsonValue(&arena_), *child);
    }
    pending_.erase(first, pending_.end());
    pending_.back().content.children = block;
    pending_.back().size = count;
    return true;
  }

  static void assign(COJsonValue& value, const ParsedValue& parsed) {
    value.content_ = parsed.content;
    value.key_ = parsed.key.data();
    value.keySize_ = static_cast<std::uint32_t>(parsed.key.size());
    value.size_ = parsed.size;
    value.type_ = parsed.type;
    value.integer_ = parsed.integer;
  }

  Arena& arena_;
  std::vector<ParsedValue> pending_;
  std::string_view key_;
  unsigned depth_ = 0;
};

namespace {

/// Reads `text` into the document whose top-level value is `top`.
cf_rapidjson::ParseErrorCode read(COJsonValue& top, std::string_view text) {
  if (!hasTextSize(text)) return cf_rapidjson::kParseErrorTermination;
  // The library keeps two words for each open container. With room for all it never allocates, which it does without
  // looking for failure.
  constexpr std::size_t kStackSize = 4096;
  alignas(std::max_align_t) std::array<char, kStackSize + 256> poolMemory;
  Pool pool(poolMemory.data(), poolMemory.size());
  Reader reader(&pool, kStackSize);

  COJsonAccess::Arena& arena = COJsonAccess::arena(top);
  cf_rapidjson::GenericInsituStringStream<StrictUTF8> stream(arena.copyText(text));
  COJsonAccess::TreeBuilder builder(arena);
  try {
    const cf_rapidjson::ParseResult result = reader.Parse<kParseFlags>(stream, builder);
    if (!result.IsError()) builder.finish(top);
    return result.Code();
  } catch (const InvalidJson&) {
    return cf_rapidjson::kParseErrorTermination;
  }
}

}  // namespace

bool COJsonAccess::parse(COJsonValue& top, std::string_view text) {
  if (!hasTextSize(text)) return false;
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  // A NUL would end the text early for the library. In well-formed text every string is well-formed, so the library
  // needn't look again.
  if (text.find('\0') != std::string_view::npos || !cfIsUTF8(text)) return false;

  cf_rapidjson::ParseErrorCode error = read(top, text);
  if (error == cf_rapidjson::kParseErrorNumberTooBig) {
    top.arena_->memory.release();
    error = read(top, withNumbersInRange(text));
  }
  if (error != cf_rapidjson::kParseErrorNone) return false;
  top.arena_->jsonSize = text.size();
  return true;
}
