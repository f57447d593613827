// Writing a JSON document as text.
#include "json_internal.h"
#include "json_text.h"
#include "text_internal.h"

#include <cf/variant.h>

#include <array>
#include <cmath>
#include <utility>

namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

/// What stands after the '\' for each byte that must be escaped: 'u' for \u00XX, 0 for bytes that stay.
constexpr std::array<char, 256> kEscapes = [] {
  std::array<char, 256> escapes{};
  for (std::size_t byte = 0; byte < 0x20; ++byte) escapes[byte] = 'u';
  escapes['"'] = '"';
  escapes['\\'] = '\\';
  escapes['\b'] = 'b';
  escapes['\f'] = 'f';
  escapes['\n'] = 'n';
  escapes['\r'] = 'r';
  escapes['\t'] = 't';
  return escapes;
}();

/// Appends what can't stand as it is at the start of a text, and gives what follows it.
const char* appendEscaped(std::string& result, const char* text, const char* end) {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  const auto byte = static_cast<unsigned char>(*text);
  const char escape = kEscapes[byte];
  if (escape == 0) {  // ill-formed
    result += kReplacementCharacter;
    return text + firstUTF8Sequence({text, static_cast<std::size_t>(end - text)}).size;
  }
  result += '\\';
  result += escape;
  if (escape == 'u') {
    result += "00";
    result += kHexDigits[byte >> 4U];
    result += kHexDigits[byte & 0x0FU];
  }
  return text + 1;
}

/// Appends `value`; `depth` counts the containers around it.
void appendVariant(std::string& result, const CMVariant& value, unsigned depth);

void appendList(std::string& result, const CMVariantList& list, unsigned depth) {
  char before = '[';
  for (const CMVariant& item : list) {
    result += std::exchange(before, ',');
    appendVariant(result, item, depth);
  }
  result += list.empty() ? "[]" : "]";
}

void appendMap(std::string& result, const CMVariantMap& map, unsigned depth) {
  char before = '{';
  for (const auto& [key, member] : map) {
    result += std::exchange(before, ',');
    cfAppendJsonString(result, key);
    result += ':';
    appendVariant(result, member, depth);
  }
  result += map.empty() ? "{}" : "}";
}

void appendVariant(std::string& result, const CMVariant& value, unsigned depth) {
  using ValueType = CMVariant::ValueType;
  const ValueType type = value.getValueType();
  if (type == ValueType::String) {
    cfAppendJsonString(result, value.stringRef());
  } else if (type == ValueType::Double) {
    appendJsonNumber(result, value.doubleValue(), false);
  } else if (type == ValueType::List && depth < kMaxJsonDepth) {
    appendList(result, value.listRef(), depth + 1);
  } else if (type == ValueType::Map && depth < kMaxJsonDepth) {
    appendMap(result, value.mapValue(), depth + 1);
  } else {
    result += "null";
  }
}

bool isContainer(const COJsonValue& value) noexcept {
  return value.obtainType() == JsonType::Object || value.obtainType() == JsonType::Array;
}

/// @param documentSize about how much else will be written.
void appendReference(JsonText& written, const COJsonValue& value, std::size_t shortestBorrowed,
                     std::size_t documentSize) {
  for (const std::string_view piece : COJsonAccess::jsonReference(value)) {
    if (piece.size() >= shortestBorrowed) {
      written.gaps.push_back({written.text.size(), piece});
      continue;
    }
    written.text.reserve(written.text.size() + piece.size() + documentSize);
    written.text += piece;
  }
}

void appendScalar(std::string& result, const COJsonValue& value) {
  switch (value.obtainType()) {
    case JsonType::String:
      cfAppendJsonString(result, value.obtainString());
      break;
    case JsonType::Number:
      appendJsonNumber(result, value.obtainNumber(), COJsonAccess::isInteger(value));
      break;
    case JsonType::Bool:
      result += value.obtainBool() ? "true" : "false";
      break;
    default:
      result += "null";
      break;
  }
}

constexpr std::size_t kUsualDepth = 8;

/// A container that is being written.
struct OpenContainer {
  explicit OpenContainer(const COJsonValue& value)
      : children(value), isObject(value.obtainType() == JsonType::Object) {}

  JsonChildren children;
  bool isObject;
  bool isEmpty = true;
};

}  // namespace

void cfAppendJsonString(std::string& json, std::string_view text) {
  const char* rest = text.data();
  const char* const end = rest + text.size();
  json += '"';
  for (;;) {
    const char* const plainEnd = plainJsonEnd(rest, end);
    json.append(rest, plainEnd);
    if (plainEnd == end) break;
    rest = appendEscaped(json, plainEnd, end);
  }
  json += '"';
}

void appendJsonNumber(std::string& result, double value, bool integer) {
  if (!std::isfinite(value)) {
    result += "null";
    return;
  }
  NumberBuffer buffer;
  const std::string_view text = formatNumber(value, buffer);
  result += text;
  if (!integer && text.find_first_of(".e") == std::string_view::npos) result += ".0";
}

std::string COJsonValue::obtainJsonString() const {
  return std::move(COJsonAccess::write(*this, std::string::npos).text);
}

JsonText COJsonAccess::write(const COJsonValue& value, std::size_t shortestBorrowed) {
  JsonText written;
  std::string& result = written.text;
  const Arena* const arena = ownedArena(value);
  const std::size_t documentSize = arena != nullptr ? arena->jsonSize : 0;
  result.reserve(documentSize);
  std::vector<OpenContainer> open;
  open.reserve(kUsualDepth);
  // Writes a value that has no children, or the start of one that may have some.
  const auto begin = [&](const COJsonValue& next) {
    if (isReference(next)) return appendReference(written, next, shortestBorrowed, documentSize);
    if (!isContainer(next)) return appendScalar(result, next);
    result += open.emplace_back(next).isObject ? '{' : '[';
  };
  for (begin(value); !open.empty();) {
    OpenContainer& container = open.back();
    const COJsonValue* const child = container.children.next();
    if (child == nullptr) {
      result += container.isObject ? '}' : ']';
      open.pop_back();
      continue;
    }
    if (!std::exchange(container.isEmpty, false)) result += ',';
    if (container.isObject) {
      cfAppendJsonString(result, COJsonAccess::key(*child));
      result += ':';
    }
    begin(*child);
  }
  return written;
}

std::string cfWriteJson(const CMVariant& value) {
  std::string result;
  appendVariant(result, value, 0);
  return result;
}
