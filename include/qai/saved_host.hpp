/// @file
/// Where a saved session would have requests go, before it is restored; a part of qai.hpp.
///
/// A saved session names an API host, and IQAIAssistant::loadSession writes it into the assistant's settings: the next
/// turn goes there, with this assistant's key. So a host that restores a text that others could have changed looks at
/// the host in it first, and asks its user when that is another than the one in use:
/// @code
/// const auto host = qai::savedHost(type, text, hostInUse);
/// if (host && !qai::sameOrigin(*host, hostInUse) && !userAgrees(hostInUse, *host)) return;
/// auto session = assistant.loadSession(text);  // this very text
/// @endcode
#pragma once

#include <cf/json.h>
#include <qai.h>
#include <qai/owners.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qai {

/// Whom an address names: scheme, host and port.
struct Origin {
  std::string scheme;      ///< "http" or "https"
  std::string host;        ///< in lower case; an IPv6 address in brackets, as it is spelled
  std::uint16_t port = 0;  ///< the scheme's own when the address names none

  /// Whether all three are the same.
  bool operator==(const Origin&) const = default;

  /// "https://api.example.com:443".
  std::string text() const { return scheme + "://" + host + ":" + std::to_string(port); }
};

namespace detail {

constexpr bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

/// `text` with ASCII letters in lower case.
inline std::string toLower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return lower;
}

/// A number in digits without a leading zero, `most` at most.
inline std::optional<unsigned> readNumber(std::string_view text, unsigned most) {
  constexpr std::size_t kMostDigits = 5;
  if (text.empty() || text.size() > kMostDigits || (text.size() > 1 && text.front() == '0')) return std::nullopt;
  unsigned number = 0;
  for (const char c : text) {
    if (!isDigit(c)) return std::nullopt;
    number = number * 10 + static_cast<unsigned>(c - '0');
  }
  return number <= most ? std::optional(number) : std::nullopt;
}

/// The part of `rest` before the next dot, which is taken away with the dot.
inline std::string_view takeLabel(std::string_view& rest) {
  const std::size_t dot = std::min(rest.find('.'), rest.size());
  const std::string_view label = rest.substr(0, dot);
  rest.remove_prefix(std::min(dot + 1, rest.size()));
  return label;
}

/// Four numbers from 0 to 255, in decimal.
inline bool isIPv4(std::string_view host) {
  constexpr unsigned kHighest = 255;
  if (std::count(host.begin(), host.end(), '.') != 3 || host.ends_with('.')) return false;
  while (!host.empty()) {
    if (!readNumber(takeLabel(host), kHighest)) return false;
  }
  return true;
}

/// In brackets; what is between them is the library's to check.
inline bool isIPv6(std::string_view host) {
  return host.size() >= 4 && host.starts_with('[') && host.ends_with(']') &&
         host.substr(1, host.size() - 2).find_first_not_of("0123456789abcdef:.") == std::string_view::npos;
}

/// Labels of letters, digits, '-' and '_'. A last one that begins with a digit makes it a number in one of the
/// spellings of an IPv4 address, which only isIPv4 tells.
inline bool isName(std::string_view host) {
  if (host.ends_with('.')) return false;
  std::string_view label;
  while (!host.empty()) {
    label = takeLabel(host);
    if (label.empty() || label.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-_") != std::string_view::npos)
      return false;
  }
  return !label.empty() && !isDigit(label.front());
}

/// Whether `text` is of visible ASCII characters that have no meaning in an address before its path.
inline bool isPlainPath(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return c > ' ' && c < '\x7F' && c != '\\' && c != '#' && c != '?' && c != '@'; });
}

/// An address without its scheme.
struct Authority {
  std::string host;                      ///< in lower case
  std::optional<std::string_view> port;  ///< as it stands
};

/// Takes the path away and the port off.
inline std::optional<Authority> splitAuthority(std::string_view rest) {
  const std::size_t slash = std::min(rest.find('/'), rest.size());
  if (!isPlainPath(rest.substr(slash))) return std::nullopt;
  rest = rest.substr(0, slash);
  const std::size_t bracket = rest.find(']');
  const std::size_t colon = rest.find(':', bracket == std::string_view::npos ? 0 : bracket);
  if (colon == std::string_view::npos) return Authority{toLower(rest), std::nullopt};
  return Authority{toLower(rest.substr(0, colon)), rest.substr(colon + 1)};
}

}  // namespace detail

/// Whom `address` names, when that is beyond doubt: "http://" or "https://" in lower case; a name of letters, digits,
/// '-', '_' and dots, four decimal numbers, or an IPv6 address in brackets; a port from 1 to 65535, or none; a path.
/// All else gives nothing: a user name or password, a backslash, a query or a fragment, %XX, characters beyond ASCII, a
/// dot at the end, numbers in other spellings ("127.1", "0x7f.1"), leading zeros.
inline std::optional<Origin> parseOrigin(std::string_view address) {
  constexpr std::uint16_t kPlainPort = 80;
  constexpr std::uint16_t kSecurePort = 443;
  constexpr unsigned kHighestPort = 65535;
  Origin origin;
  if (address.starts_with("https://")) {
    origin = {.scheme = "https", .host = {}, .port = kSecurePort};
  } else if (address.starts_with("http://")) {
    origin = {.scheme = "http", .host = {}, .port = kPlainPort};
  } else {
    return std::nullopt;
  }
  std::optional<detail::Authority> authority = detail::splitAuthority(address.substr(origin.scheme.size() + 3));
  if (!authority) return std::nullopt;
  origin.host = std::move(authority->host);
  if (!detail::isIPv4(origin.host) && !detail::isIPv6(origin.host) && !detail::isName(origin.host)) return std::nullopt;
  if (!authority->port) return origin;
  const std::optional<unsigned> port = detail::readNumber(*authority->port, kHighestPort);
  if (!port || *port == 0) return std::nullopt;
  origin.port = static_cast<std::uint16_t>(*port);
  return origin;
}

/// Whether both addresses name the same scheme, host and port. False as soon as parseOrigin can't tell of one of them,
/// and for two names of one machine.
inline bool sameOrigin(std::string_view one, std::string_view other) {
  const std::optional<Origin> origin = parseOrigin(one);
  return origin && origin == parseOrigin(other);
}

/// Whether `origin` is this machine: "localhost", which is never looked up, 127.x.x.x or [::1].
inline bool isLoopback(const Origin& origin) {
  return origin.host == "localhost" || origin.host == "[::1]" ||
         (detail::isIPv4(origin.host) && origin.host.starts_with("127."));
}

/// The API host that an assistant of `type` whose API host is `current` would have after loadSession(`text`): with its
/// scheme, the service's public host for a blank one, and `current` itself where the text names none. It comes from the
/// library, out of an assistant that is made for it, has no key and sends nothing; the caller's own is not touched.
/// Nothing when the library would not restore the text. Restore the same text afterwards, not a file that may have
/// changed meanwhile.
inline std::optional<std::string> savedHost(QAIAssistantType type, const std::string& text,
                                            const std::string& current) {
  const COJson saved(text);
  if (!saved.getIsValidJson()) return std::nullopt;
  // Only what is looked for: the history may be long, and settings that are refused would raise assertions.
  COJson part;
  part.setObject();
  for (const char* key : {"api_host", "assistant_id", "thread_id"}) {
    if (const COJsonValue* value = cfFindJsonMember(&saved, key, JsonType::String))
      part.addKeyValue(key)->setString(value->obtainString());
  }
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(type, nullptr, "", current));
  if (assistant == nullptr) return std::nullopt;
  const auto [session, error] = assistant->loadSession(part.obtainJsonString());
  const Owned<IQAISession> owned(session);
  if (!error.empty()) return std::nullopt;
  IQAIProperties* properties = assistant->obtainAssistantProperties();
  const Owned<IQAIProperties> copy(type == OPENAI ? nullptr : properties);  // whose assistant gives its own object
  return properties->obtainProperty("api_host").stringValue();
}

}  // namespace qai
