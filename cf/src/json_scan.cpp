// Looking through a JSON text for its strings and numbers, before or beside parsing it.
#include "json_internal.h"

#include <cf/text.h>

#include <algorithm>

namespace {

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

/// How many values `text` holds at most, if it is JSON.
std::size_t boundJsonValues(std::string_view text) noexcept {
  std::size_t values = 1;
  for (std::size_t place = 0; place < text.size();) {
    const char character = text[place];
    if (character == ',' || character == '[' || character == '{') ++values;
    place += character == '"' ? stringSize(text.substr(place)) : 1;
  }
  return values;
}

}  // namespace

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

bool hasTooManyJsonValues(std::string_view text) noexcept {
  constexpr std::size_t kMost = std::size_t{512} << 10;
  return text.size() > kMost && boundJsonValues(text) > kMost;
}
