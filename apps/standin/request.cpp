#include "request.h"

#include <cf/url.h>

#include <algorithm>
#include <cctype>
#include <charconv>

namespace standin {
namespace {

std::string decodeQueryText(std::string_view text) {
  std::string spaced(text);
  std::replace(spaced.begin(), spaced.end(), '+', ' ');
  return cfDecodePercent(spaced);
}

}  // namespace

std::string_view takeUntil(std::string_view& rest, std::string_view separator) {
  const std::size_t end = rest.find(separator);
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + separator.size());
  return part;
}

bool sameText(std::string_view left, std::string_view right) noexcept {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

Headers readQuery(std::string_view query) {
  Headers pairs;
  while (!query.empty()) {
    std::string_view value = takeUntil(query, "&");
    const std::string_view name = takeUntil(value, "=");
    pairs.emplace_back(decodeQueryText(name), decodeQueryText(value));
  }
  return pairs;
}

std::vector<std::string_view> headerValues(const Request& request, std::string_view name) {
  std::vector<std::string_view> values;
  for (const auto& [given, value] : request.headers) {
    if (sameText(given, name)) values.emplace_back(value);
  }
  return values;
}

std::string queryValue(const Request& request, std::string_view name) {
  const auto found =
      std::find_if(request.query.begin(), request.query.end(), [&](const auto& pair) { return pair.first == name; });
  return found == request.query.end() ? std::string() : found->second;
}

std::optional<std::size_t> queryNumber(const Request& request, std::string_view name, std::size_t usual) {
  const std::string text = queryValue(request, name);
  if (text.empty()) return usual;
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::string Request::header(const std::string& name) const {
  const std::vector<std::string_view> values = headerValues(*this, name);
  return values.empty() ? std::string() : std::string(values.front());
}

}  // namespace standin
