#include "checks.h"

#include <cf/text.h>

#include <algorithm>

namespace standin {
namespace {

std::string maskKey(std::string_view key, const KeyMask& mask) {
  constexpr std::size_t kLongEnough = 16;
  if (key.size() < kLongEnough) return std::string(mask.stars);
  std::string masked(key.substr(0, mask.head));
  masked += mask.stars;
  masked += key.substr(key.size() - mask.tail);
  return masked;
}

}  // namespace

std::string bearerKey(const Request& request) {
  constexpr std::string_view kScheme = "Bearer ";
  const std::string sent = request.header("Authorization");
  return sent.starts_with(kScheme) ? cfTrimAsString(sent.substr(kScheme.size())) : std::string();
}

std::optional<Flaw> checkKey(std::string_view key, const std::string& accepted, const KeyMask& mask) {
  if (key.empty()) return Flaw{&Wordings::noKey};
  if (accepted.empty() || key == accepted) return std::nullopt;
  return Flaw{.kind = &Wordings::wrongKey, .value = maskKey(key, mask)};
}

std::optional<Flaw> checkMember(const COJsonValue* value, JsonType type, const std::string& path) {
  if (value == nullptr) return Flaw{.kind = &Wordings::missing, .path = path};
  const JsonType found = value->obtainType();
  if (found == type) return std::nullopt;
  return Flaw{.kind = &Wordings::wrongType, .path = path, .expected = type, .found = found};
}

std::optional<Flaw> checkOptional(const COJsonValue* value, JsonType type, const std::string& path) {
  if (value == nullptr || value->obtainType() == JsonType::Null) return std::nullopt;
  return checkMember(value, type, path);
}

std::optional<Flaw> checkLength(std::string_view text, std::size_t longest, const std::string& path) {
  const auto beginsCharacter = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; };  // UTF-8
  const auto length = static_cast<std::size_t>(std::count_if(text.begin(), text.end(), beginsCharacter));
  if (length <= longest) return std::nullopt;
  return Flaw{
      .kind = &Wordings::tooLong, .path = path, .value = std::to_string(length), .detail = std::to_string(longest)};
}

std::optional<Flaw> checkItems(const COJsonValue* array, const std::string& path, const ItemCheck& check) {
  if (auto flaw = checkMember(array, JsonType::Array, path)) return flaw;
  for (std::size_t i = 0; i < array->obtainArraySize(); ++i) {
    const COJsonValue* item = array->obtainArrayItem(i);
    const std::string itemPath = path + "[" + std::to_string(i) + "]";
    if (auto flaw = checkMember(item, JsonType::Object, itemPath)) return flaw;
    if (auto flaw = check(*item, itemPath)) return flaw;
  }
  return std::nullopt;
}

std::optional<Flaw> checkSomeItems(const COJsonValue* array, const std::string& path, const ItemCheck& check) {
  if (auto flaw = checkItems(array, path, check)) return flaw;
  if (array->obtainArraySize() == 0) return Flaw{.kind = &Wordings::emptyArray, .path = path};
  return std::nullopt;
}

std::optional<Flaw> checkTemperature(const COJsonValue* temperature, const std::string& path) {
  if (auto flaw = checkOptional(temperature, JsonType::Number, path)) return flaw;
  const double value = temperature == nullptr ? 0.0 : temperature->obtainNumber();
  if (value < 0.0) return Flaw{.kind = &Wordings::tooLow, .path = path, .value = cfNumberToText(value)};
  if (value > 2.0) return Flaw{.kind = &Wordings::tooHigh, .path = path, .value = cfNumberToText(value)};
  return std::nullopt;
}

}  // namespace standin
