// Whom an address names, read as requests read it.
#include "rest_address.h"

#include <cf/origin.h>

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace {

constexpr std::string_view kDigits = "0123456789";

// `text` with ASCII letters in lower case.
std::string toLower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return lower;
}

// The part of `rest` before the next dot, which is taken away with the dot.
std::string_view takeLabel(std::string_view& rest) {
  const std::size_t dot = std::min(rest.find('.'), rest.size());
  const std::string_view label = rest.substr(0, dot);
  rest.remove_prefix(std::min(dot + 1, rest.size()));
  return label;
}

bool isDecimalByte(std::string_view text) {
  unsigned number = 0;
  const bool isNumber =
      std::from_chars(text.data(), text.data() + text.size(), number).ptr == text.data() + text.size();
  return isNumber && number <= 255 && text == std::to_string(number);
}

// Four numbers from 0 to 255, in decimal.
bool isIPv4(std::string_view host) {
  if (std::count(host.begin(), host.end(), '.') != 3 || host.ends_with('.')) return false;
  while (!host.empty()) {
    if (!isDecimalByte(takeLabel(host))) return false;
  }
  return true;
}

// Labels of letters, digits, '-' and '_'. A last one that begins with a digit makes it a number in one of the spellings
// of an IPv4 address, which only isIPv4 tells.
bool isName(std::string_view host) {
  if (host.ends_with('.')) return false;
  std::string_view label;
  while (!host.empty()) {
    label = takeLabel(host);
    if (label.empty() || label.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-_") != std::string_view::npos)
      return false;
  }
  return !label.empty() && kDigits.find(label.front()) == std::string_view::npos;
}

// Whether `text` is of visible ASCII characters that have no meaning in an address before its path.
bool isPlainPath(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < '\x7F' && c != '\\' && c != '@'; });
}

// Whether `spelled`, the host as the address has it, is `host`, as requests understand it. Of an IPv6 address there are
// many spellings, and but for what stands behind a '%' all say the same.
bool isSpelledAs(std::string_view spelled, std::string_view host) {
  const bool isIPv6 = host.starts_with('[');
  if (isIPv6) return spelled.find('%') == std::string_view::npos;
  return spelled == host && (isIPv4(host) || isName(host));
}

}  // namespace

std::optional<CMOrigin> cfParseOrigin(std::string_view address) {
  CMRestGetRequest request;
  request.setURL(std::string(address));
  RestAddress read;
  if (!readRestAddress(request, read).empty()) return std::nullopt;
  if (!address.starts_with(read.scheme + "://")) return std::nullopt;

  std::string_view rest = address.substr(read.scheme.size() + 3);
  const std::size_t slash = std::min(rest.find('/'), rest.size());
  if (!isPlainPath(rest.substr(slash))) return std::nullopt;
  const std::string authority = toLower(rest.substr(0, slash));
  const std::size_t colon = std::min(authority.find(':', authority.rfind(']') + 1), authority.size());
  CMOrigin origin{.scheme = read.scheme, .host = toLower(read.peer.host), .port = 0};
  if (!isSpelledAs(std::string_view(authority).substr(0, colon), origin.host)) return std::nullopt;

  const std::string understood = read.peer.name.substr(read.peer.host.size() + 1);
  if (colon < authority.size() && authority.substr(colon + 1) != understood) return std::nullopt;
  std::from_chars(understood.data(), understood.data() + understood.size(), origin.port);
  if (origin.port == 0) return std::nullopt;
  return origin;
}

bool cfIsSameOrigin(std::string_view one, std::string_view other) {
  const std::optional<CMOrigin> origin = cfParseOrigin(one);
  if (!origin) return false;
  return origin == cfParseOrigin(other);
}

bool cfIsLoopback(const CMOrigin& origin) {
  return origin.host == "localhost" || origin.host == "[::1]" ||
         (isIPv4(origin.host) && origin.host.starts_with("127."));
}
