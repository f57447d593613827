// Reading a JSON text: the JSON library finds the values, which become a tree in the document's memory.
#include "json_internal.h"
#include "json_text.h"

#include <cf/text.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
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
constexpr unsigned kParseFlags = cf_rapidjson::kParseInsituFlag | cf_rapidjson::kParseNumbersAsStringsFlag |
                                 cf_rapidjson::kParseValidateEncodingFlag;

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
  bool isAtEnd() const noexcept { return source_ == end_; }

  char* PutBegin() noexcept {
    target_.set(source_);
    return const_cast<char*>(source_);
  }
  void Put(char character) noexcept { target_.put(character); }
  std::size_t PutEnd(const char* begin) const noexcept {
    return static_cast<std::size_t>(target_.end(source_) - begin);
  }

  /// Takes and puts the characters up to the next one that the library must look at.
  /// @return false when there are none: the next one is ill-formed.
  bool takePlain() noexcept {
    const char* const start = source_;
    source_ = plainJsonEndOfShort(start, end_);
    target_.put(start, source_);
    return source_ != start;
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

  const char* source_;
  const char* end_;
  [[no_unique_address]] std::conditional_t<isWritable, Place, NoPlace> target_;
};

}  // namespace

// The library reads a number through a copy of the stream and takes the number's start from the original.
template <bool isWritable>
struct cf_rapidjson::StreamTraits<TextStream<isWritable>> {
  enum { copyOptimization = 1 };
};

namespace {

/// UTF-8 whose escapes can't put a lone surrogate into a text; the library lets the low ones pass.
struct StrictUTF8 : cf_rapidjson::UTF8<> {
  /// Called with a character in a string that is neither a control character, nor a quotation mark or backslash.
  /// Input and output are the same.
  template <typename Input, typename Output>
  static bool Validate(Input& input, Output& /*output*/) {
    return input.takePlain();
  }

  template <typename OutputStream>
  static void Encode(OutputStream& output, unsigned codePoint) {
    if (codePoint >= 0xD800 && codePoint <= 0xDFFF) throw InvalidJson();
    cf_rapidjson::UTF8<>::Encode(output, codePoint);
  }
};

using Reader = cf_rapidjson::GenericReader<StrictUTF8, StrictUTF8>;

/// Receives the parser's events. A container's children gather behind it on a stack and move into one run, whose size
/// is known then, when the container ends. So that a long text has no room twice, many of them move into a run before
/// that.
class TreeBuilder : public cf_rapidjson::BaseReaderHandler<StrictUTF8, TreeBuilder> {
 public:
  using Node = COJsonAccess::Node;

  explicit TreeBuilder(COJsonAccess::Arena& arena) : arena_(arena) { use(few_, 0); }

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
    Node& value = add(JsonType::Number);
    value.content.number = cfTextToNumber(number).value_or(0.0);
    value.flags = isIntegerText(number) ? COJsonAccess::kInteger : 0;
    return true;
  }

  bool String(const char* text, SizeType size, bool /*copy*/) {
    Node& value = add(JsonType::String);
    value.content.text = text;
    value.size = size;
    return true;
  }

  bool Key(const char* text, SizeType size, bool /*copy*/) {
    key_ = COJsonAccess::makeKey({text, size}, arena_);
    return true;
  }

  bool StartObject() { return start(JsonType::Object); }
  bool StartArray() { return start(JsonType::Array); }
  bool EndObject(SizeType count) { return end(count); }
  bool EndArray(SizeType count) { return end(count); }

  /// The value that was read.
  const Node& result() const { return *begin_; }

 private:
  static constexpr std::size_t kFew = 32;

  /// An item of an array gets the key that was read last; nobody looks at it. Inline by force, since a call would take
  /// as long as what is done.
  CF_FORCE_INLINE Node& add(JsonType type) {
    if (next_ == end_) makeRoom();
    Node& value = *next_++;
    value.key = key_.text;
    value.size = 0;
    value.keySize = key_.size;
    value.type = type;
    value.flags = 0;
    return value;
  }

  void makeRoom() {
    moveMany();
    if (next_ != end_) return;
    const auto size = static_cast<std::size_t>(next_ - begin_);
    if (many_.empty()) many_.assign(begin_, next_);
    many_.resize(2 * size);
    use(many_, size);
  }

  template <typename Nodes>
  void use(Nodes& nodes, std::size_t size) {
    begin_ = nodes.data();
    next_ = begin_ + size;
    end_ = begin_ + nodes.size();
  }

  bool start(JsonType type) {
    Node& container = add(type);
    container.size = static_cast<std::uint32_t>(open_);
    open_ = static_cast<std::size_t>(&container - begin_);
    return ++depth_ <= kMaxJsonDepth;
  }

  bool end(SizeType count) {
    --depth_;
    Node& container = begin_[open_];
    open_ = container.size;
    container.size = count;
    if (COJsonAccess::hasFlag(container, COJsonAccess::kInBlocks)) {
      if (next_ != &container + 1) moveToBlock(container);
    } else if (count != 0) {
      container.content.children = moveToRun(&container + 1);
    }
    if (static_cast<std::size_t>(next_ - begin_) > kManyJsonChildren) moveMany();
    return true;
  }

  /// Takes what is on the stack from `first` on off it.
  COJsonValue* moveToRun(Node* first) {
    COJsonValue* const run = arena_.allocateValues(static_cast<std::size_t>(next_ - first));
    COJsonValue* place = run;
    for (const Node* child = first; child != next_; ++child) {
      COJsonAccess::construct(place, *child);
      place = JsonPage::next(place);
    }
    next_ = first;
    return run;
  }

  void moveToBlock(Node& container) {
    Node* const first = &container + 1;
    const auto count = static_cast<std::size_t>(next_ - first);
    COJsonAccess::addBlock(container, moveToRun(first), count, inBlocks(container), arena_);
  }

  /// The number of children that are no longer on the stack.
  static std::size_t inBlocks(const Node& container) {
    if (!COJsonAccess::hasFlag(container, COJsonAccess::kInBlocks)) return 0;
    const COJsonAccess::Block& last = *container.content.blocks->last;
    return last.before + last.capacity;
  }

  /// Moves the newest container's children off the stack when they are many, also beside those that have left it: then
  /// runs grow, and are few.
  void moveMany() {
    Node& container = begin_[open_];
    const auto gathered = static_cast<std::size_t>(next_ - &container) - 1;
    if (gathered >= kManyJsonChildren && gathered >= inBlocks(container) / 8) moveToBlock(container);
  }

  COJsonAccess::Arena& arena_;
  std::array<Node, kFew> few_;  // the stack, until it grows
  std::vector<Node> many_;      // and after that
  Node* begin_ = nullptr;
  Node* next_ = nullptr;  // where the next value goes
  Node* end_ = nullptr;
  // Where the container is that is being read. While it is, its size tells the place of the one around it.
  std::size_t open_ = 0;
  COJsonAccess::Key key_ = {};
  unsigned depth_ = 0;
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

bool COJsonAccess::parse(COJson& top, std::string_view text, bool isKept) {
  if (!hasTextSize(text)) return false;
  text = withoutByteOrderMark(text);
  Arena& arena = *top.arena_;
  const auto read = [&](std::string_view source, bool isInPlace) {
    TreeBuilder builder(arena);
    if (!isInPlace) source = {arena.copyText(source), source.size()};
    const Verdict verdict = isInPlace ? parseWith<false>(builder, source) : parseWith<true>(builder, source);
    if (verdict == Verdict::Valid) {
      top.node_ = builder.result();
      top.node_.flags |= kDocument;
    }
    return verdict;
  };

  // What a string with escapes holds must be written somewhere.
  Verdict verdict = read(text, isKept && text.find('\\') == std::string_view::npos);
  if (verdict == Verdict::NumberTooBig) {
    arena.release();
    const std::string inRange = withNumbersInRange(text);
    verdict = hasTextSize(inRange) ? read(inRange, false) : Verdict::Invalid;
  }
  if (verdict != Verdict::Valid) return false;
  arena.jsonSize = text.size();
  return true;
}

bool cfIsJson(const std::string& text) {
  if (!hasTextSize(text)) return false;
  Checker checker;
  const Verdict verdict = parseWith<false>(checker, withoutByteOrderMark(text));
  if (verdict != Verdict::NumberTooBig) return verdict == Verdict::Valid;
  Checker second;
  return parseWith<false>(second, withNumbersInRange(withoutByteOrderMark(text))) == Verdict::Valid;
}
