// Writing a JSON document as text.
#include "json_internal.h"
#include "json_text.h"
#include "text_internal.h"

#include <cf/json_shortcuts.h>
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

/// @param documentSize about how much else will be written.
void appendReference(JsonText& written, std::span<const std::string_view> pieces, std::size_t shortestBorrowed,
                     std::size_t documentSize) {
  const auto isBorrowed = [&](std::string_view piece) { return piece.size() >= shortestBorrowed; };
  std::size_t copied = 0;
  for (const std::string_view piece : pieces) copied += isBorrowed(piece) ? 0 : piece.size();
  written.text.reserve(written.text.size() + copied + documentSize);
  for (const std::string_view piece : pieces) {
    if (isBorrowed(piece)) {
      written.gaps.push_back({written.text.size(), piece});
    } else {
      written.text += piece;
    }
  }
}

void appendScalar(std::string& result, const JsonContent& value) {
  switch (value.type) {
    case JsonType::String:
      cfAppendJsonString(result, {value.text, value.size});
      break;
    case JsonType::Number:
      appendJsonNumber(result, value.getNumber(), value.isIntegerNumber());
      break;
    case JsonType::Bool:
      result += value.boolean ? "true" : "false";
      break;
    default:
      result += "null";
      break;
  }
}

constexpr std::size_t kUsualDepth = 8;

/// A container that is being written, and the child that is next.
struct OpenContainer {
  const JsonContent& container;
  std::uint32_t next;
};

}  // namespace

void cfAppendJsonCharacters(std::string& json, std::string_view text) {
  const char* rest = text.data();
  const char* const end = rest + text.size();
  for (;;) {
    const char* const plainEnd = plainJsonEnd(rest, end);
    json.append(rest, static_cast<std::size_t>(plainEnd - rest));
    if (plainEnd == end) return;
    rest = appendEscaped(json, plainEnd, end);
  }
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

std::string COJsonValue::obtainJsonString() const { return std::move(writeJson(*this, std::string::npos).text); }

JsonText writeJson(const COJsonValue& value, std::size_t shortestBorrowed) {
  JsonText written;
  std::string& result = written.text;
  const JsonNode& top = JsonNode::of(value);
  const std::size_t documentSize = JsonNode::isDocument(value) ? top.getDocument().jsonSize : 0;
  result.reserve(documentSize);
  std::vector<OpenContainer> open;
  open.reserve(kUsualDepth);
  // Writes a value that has no children, or the start of one that may have some.
  const auto begin = [&](const JsonContent& next) {
    if (next.isReference) return appendReference(written, {next.pieces, next.size}, shortestBorrowed, documentSize);
    if (next.type != JsonType::Object && next.type != JsonType::Array) return appendScalar(result, next);
    result += next.type == JsonType::Object ? '{' : '[';
    open.push_back({next, 0});
  };
  for (begin(top.content); !open.empty();) {
    const JsonContent& container = open.back().container;
    const std::uint32_t index = open.back().next++;
    if (index == container.size) {
      result += container.type == JsonType::Object ? '}' : ']';
      open.pop_back();
      continue;
    }
    if (index != 0) result += ',';
    if (container.type == JsonType::Object) {
      const JsonMember& member = container.members[index];
      cfAppendJsonString(result, member.key);
      result += ':';
      begin(member.value->content);
    } else {
      begin(container.items[index]->content);
    }
  }
  return written;
}

std::string cfWriteJson(const CMVariant& value) {
  std::string result;
  appendVariant(result, value, 0);
  return result;
}
