// Reading a JSON text: the JSON library finds the values, which become a tree in the document's memory.
#include "json_internal.h"
#include "json_text.h"

#include <cf/json_shortcuts.h>
#include <cf/text.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>
#include <vector>

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
constexpr unsigned kParseFlags = cf_rapidjson::kParseInsituFlag | cf_rapidjson::kParseNumbersAsStringsFlag;

/// The text that the library reads, with a NUL behind it. It also takes what a string holds, which ends up where it
/// stood when `isWritable` and else nowhere: then only strings without escapes keep their texts.
template <bool isWritable>
class TextStream {
 public:
  using Ch = char;

  /// When `isWritable`, `text` lies in memory that may be written to.
  explicit TextStream(std::string_view text) noexcept : source_(text.data()), end_(source_ + text.size()) {}

  char Peek() const noexcept { return *source_; }
  char Take() noexcept { return *source_++; }
  /// Compared with other places alone.
  std::size_t Tell() const noexcept { return reinterpret_cast<std::uintptr_t>(source_); }
  bool isAtBlank() const noexcept {
    return *source_ <= ' ' && (*source_ == ' ' || *source_ == '\n' || *source_ == '\r' || *source_ == '\t');
  }
  bool isAtEnd() const noexcept { return source_ == end_; }

  char* PutBegin() noexcept {
    target_.set(source_);
    return const_cast<char*>(source_);
  }
  void Put(char character) noexcept { target_.put(character); }
  std::size_t PutEnd(const char* begin) const noexcept {
    return static_cast<std::size_t>(target_.end(source_) - begin);
  }

  /// Takes and puts the characters of a string up to the next one that the library must look at, which is ASCII.
  void takePlain() {
    const char* const start = source_;
    source_ = plainJsonASCIIEndOfShort(start, end_);
    if (!isAtASCII()) source_ = plainJsonEnd(source_, end_);
    if (!isAtASCII()) throw InvalidJson();
    target_.put(start, source_);
  }

 private:
  struct Place {
    void set(const char* source) noexcept { next = const_cast<char*>(source); }
    void put(char character) noexcept { *next++ = character; }
    void put(const char* from, const char* to) noexcept {
      if (next != from) std::memmove(next, from, static_cast<std::size_t>(to - from));
      next += to - from;
    }
    const char* end(const char* /*source*/) const noexcept { return next; }
    char* next = nullptr;
  };
  struct NoPlace {
    void set(const char* /*source*/) noexcept {}
    void put(char /*character*/) noexcept {}
    void put(const char* /*from*/, const char* /*to*/) noexcept {}
    const char* end(const char* source) const noexcept { return source; }
  };

  bool isAtASCII() const noexcept { return static_cast<unsigned char>(*source_) < 0x80; }

  const char* source_;
  const char* end_;
  [[no_unique_address]] std::conditional_t<isWritable, Place, NoPlace> target_;
};

/// The library's own stores the place even where nothing is skipped, which is nearly always.
template <bool isWritable>
void SkipWhitespace(TextStream<isWritable>& stream) {
  while (stream.isAtBlank()) stream.Take();
}

}  // namespace

// The library reads a number through a copy of the stream and takes the number's start from the original.
template <bool isWritable>
struct cf_rapidjson::StreamTraits<TextStream<isWritable>> {
  enum { copyOptimization = 1 };
};

namespace {

/// UTF-8 whose escapes can't put a lone surrogate into a text; the library refuses the high ones alone.
struct StrictUTF8 : cf_rapidjson::UTF8<> {
  template <typename OutputStream>
  static void Encode(OutputStream& output, unsigned codePoint) {
    if (codePoint >= 0xDC00 && codePoint <= 0xDFFF) throw InvalidJson();
    cf_rapidjson::UTF8<>::Encode(output, codePoint);
  }
};

using Reader = cf_rapidjson::GenericReader<StrictUTF8, StrictUTF8>;

}  // namespace

// Where the library begins a string, and behind each of its escapes. Its own way would be to ask for each character
// whether it is well-formed.
template <>
template <>
inline void Reader::ScanCopyUnescapedString(TextStream<false>& input, TextStream<false>& /*output*/) {
  input.takePlain();
}
template <>
template <>
inline void Reader::ScanCopyUnescapedString(TextStream<true>& input, TextStream<true>& /*output*/) {
  input.takePlain();
}

namespace {

/// Receives the parser's events and fills the top of the document.
class TreeBuilder : public cf_rapidjson::BaseReaderHandler<StrictUTF8, TreeBuilder> {
 public:
  TreeBuilder(JsonDocument& document, JsonStacks& stacks)
      : document_(document), members_(stacks.members), items_(stacks.items), next_(&document.top) {
    members_.clear();
    items_.clear();
    members_.reserve(kFew);
    items_.reserve(kFew);
  }

  bool Null() {
    add(JsonType::Null);
    return true;
  }

  bool Bool(bool value) {
    add(JsonType::Bool).content.boolean = value;
    return true;
  }

  bool RawNumber(const char* text, SizeType size, bool /*copy*/) {
    setText(add(JsonType::Number), text, size);
    return true;
  }

  bool String(const char* text, SizeType size, bool /*copy*/) {
    setText(add(JsonType::String), text, size);
    return true;
  }

  bool Key(const char* text, SizeType size, bool /*copy*/) {
    next_ = document_.create();
    members_.push_back({{text, size}, next_});
    return true;
  }

  bool StartObject() { return start(JsonType::Object); }
  bool StartArray() { return start(JsonType::Array); }

  bool EndObject(SizeType count) {
    end(count).members = take(members_, count);
    return true;
  }

  bool EndArray(SizeType count) {
    end(count).items = take(items_, count);
    return true;
  }

 private:
  static constexpr std::size_t kFew = 32;

  static void setText(JsonNode& node, const char* text, SizeType size) {
    node.content.text = text;
    node.content.size = size;
  }

  /// The value of the key that was read before, or else an array's next item.
  JsonNode& add(JsonType type) {
    if (next_ == nullptr) next_ = items_.emplace_back(document_.create());
    JsonNode& node = *std::exchange(next_, nullptr);
    node.content.type = type;
    return node;
  }

  bool start(JsonType type) {
    if (depth_ == kMaxJsonDepth) return false;
    open_[depth_++] = &add(type);
    return true;
  }

  /// The container that ends.
  JsonContent& end(SizeType count) {
    JsonContent& container = open_[--depth_]->content;
    container.size = count;
    return container;
  }

  /// Moves a container's children from their stack to where they stay.
  template <typename Child>
  Child* take(std::vector<Child>& stack, SizeType count) {
    auto* const children = document_.lists.allocate<Child>(count);
    const auto first = stack.end() - count;
    std::copy(first, stack.end(), children);
    stack.erase(first, stack.end());
    return children;
  }

  JsonDocument& document_;
  std::vector<JsonMember>& members_;
  std::vector<JsonNode*>& items_;
  JsonNode* next_;                             // the value that is read next, when it has its place already
  std::array<JsonNode*, kMaxJsonDepth> open_;  // the containers around it
  unsigned depth_ = 0;                         // and their number
};

/// Receives the parser's events and keeps nothing.
class Checker : public cf_rapidjson::BaseReaderHandler<StrictUTF8, Checker> {
 public:
  bool Default() { return true; }
  bool StartObject() { return start(); }
  bool StartArray() { return start(); }
  bool EndObject(SizeType /*count*/) { return end(); }
  bool EndArray(SizeType /*count*/) { return end(); }

 private:
  bool start() { return ++depth_ <= kMaxJsonDepth; }
  bool end() {
    --depth_;
    return true;
  }

  unsigned depth_ = 0;
};

enum class Verdict { Valid, Invalid, NumberTooBig };

/// @param text with a NUL behind it
template <bool isWritable, typename Handler>
Verdict parseWith(Handler& handler, std::string_view text) {
  Reader reader;
  TextStream<isWritable> stream(text);
  try {
    const cf_rapidjson::ParseResult result = reader.Parse<kParseFlags>(stream, handler);
    if (result.Code() == cf_rapidjson::kParseErrorNumberTooBig) return Verdict::NumberTooBig;
    // The library takes the first NUL for the end.
    return !result.IsError() && stream.isAtEnd() ? Verdict::Valid : Verdict::Invalid;
  } catch (const InvalidJson&) {
    return Verdict::Invalid;
  }
}

std::string_view withoutByteOrderMark(std::string_view text) noexcept {
  return text.starts_with(kByteOrderMark) ? text.substr(kByteOrderMark.size()) : text;
}

}  // namespace

void JsonDocument::read(std::string_view text, bool isKept, JsonStacks& stacks) {
  const auto parse = [this, &stacks](std::string_view json, bool isInPlace) {
    TreeBuilder builder(*this, stacks);
    if (!isInPlace) {
      if (source.capacity() < json.size()) std::string().swap(source);  // else it would take twice that
      json = source.assign(json);
    }
    const Verdict verdict = isInPlace ? parseWith<false>(builder, json) : parseWith<true>(builder, json);
    if (verdict == Verdict::Valid) {
      jsonSize = json.size();
      return verdict;
    }
    top.content = JsonContent();
    values.release();
    lists.release();
    return verdict;
  };

  Verdict verdict = Verdict::Invalid;
  if (hasTextSize(text)) {
    text = withoutByteOrderMark(text);
    // What a string with escapes holds must be written somewhere.
    verdict = parse(text, isKept && text.find('\\') == std::string_view::npos);
  }
  if (verdict == Verdict::NumberTooBig) {
    const std::string inRange = withNumbersInRange(text);
    verdict = hasTextSize(inRange) ? parse(inRange, false) : Verdict::Invalid;
  }
  isValid = verdict == Verdict::Valid;
  if (!isValid) std::string().swap(source);
}

void JsonDocument::reuse() noexcept {
  values.reuse();
  lists.reuse();
  indexes.clear();
  top.content = JsonContent();
  jsonSize = 0;
}

struct CFJsonReader::State {
  JsonDocument document{kFirstJsonChunk};
  JsonStacks stacks;
};

CFJsonReader::CFJsonReader() : state_(std::make_unique<State>()) {}

CFJsonReader::~CFJsonReader() = default;

const COJsonValue* CFJsonReader::read(std::string_view text) {
  if (hasTooManyJsonValues(text)) return nullptr;
  JsonDocument& document = state_->document;
  document.reuse();
  document.read(text, false, state_->stacks);
  return document.isValid ? &document.top : nullptr;
}

bool cfIsJson(const std::string& text) {
  if (!hasTextSize(text)) return false;
  Checker checker;
  const Verdict verdict = parseWith<false>(checker, withoutByteOrderMark(text));
  if (verdict != Verdict::NumberTooBig) return verdict == Verdict::Valid;
  Checker second;
  return parseWith<false>(second, withNumbersInRange(withoutByteOrderMark(text))) == Verdict::Valid;
}
