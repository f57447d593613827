#include "services/ollama_host.h"

#include "ascii_case.h"

#include <cf/text.h>

#include <algorithm>
#include <cctype>
#include <utility>

namespace {

constexpr const char* kDefaultAddress = "http://localhost:11434";
constexpr const char* kThisMachine = "127.0.0.1";
constexpr int kHighestPort = 65535;

struct Scheme {
  std::string name;
  const char* defaultPort;
};

struct HostAndPort {
  std::string host;
  std::string port;
};

std::string trimQuotes(std::string_view text) {
  const std::string trimmed = cfTrimAsString(text);
  const std::size_t first = trimmed.find_first_not_of("\"'");
  if (first == std::string::npos) return "";
  return cfTrimAsString(trimmed.substr(first, trimmed.find_last_not_of("\"'") - first + 1));
}

/// Takes the scheme away from the front of `rest`.
std::optional<Scheme> takeScheme(std::string& rest) {
  const std::size_t mark = rest.find("://");
  if (mark == std::string::npos) return Scheme{"http", "11434"};
  const std::string name = toLowerAscii(rest.substr(0, mark));
  rest.erase(0, mark + 3);
  if (name == "http") return Scheme{name, "80"};
  if (name == "https") return Scheme{name, "443"};
  return std::nullopt;
}

/// Without a port when there is none. An IPv6 address loses its brackets.
HostAndPort splitHostAndPort(const std::string& text) {
  if (text.starts_with('[')) {
    const std::size_t end = std::min(text.find(']'), text.size());
    const std::string after = end < text.size() ? text.substr(end + 1) : "";
    return {text.substr(1, end - 1), after.starts_with(':') ? after.substr(1) : ""};
  }
  const std::size_t colon = text.find(':');
  const bool bareIPv6 = colon != text.rfind(':');
  if (colon == std::string::npos || bareIPv6) return {text, ""};
  return {text.substr(0, colon), text.substr(colon + 1)};
}

bool isPort(const std::string& text) {
  constexpr std::size_t kMostDigits = 5;
  const bool digits = std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
  return digits && !text.empty() && text.size() <= kMostDigits && std::stoi(text) <= kHighestPort;
}

/// What to connect to for a host as a server is told it.
std::string reachable(const std::string& host) {
  if (host.empty() || host == "0.0.0.0") return kThisMachine;
  return host == "::" ? "::1" : host;
}

}  // namespace

std::optional<std::string> readOllamaHost(std::string_view text) {
  std::string rest = trimQuotes(text);
  if (rest.empty()) return kDefaultAddress;
  const std::optional<Scheme> scheme = takeScheme(rest);
  if (!scheme || rest.find('@') != std::string::npos) return std::nullopt;
  const std::size_t slash = std::min(rest.find('/'), rest.size());
  const std::string path = rest.substr(slash);
  const HostAndPort named = splitHostAndPort(rest.substr(0, slash));
  const std::string host = reachable(named.host);
  const bool ipv6 = host.find(':') != std::string::npos;
  return scheme->name + "://" + (ipv6 ? "[" + host + "]" : host) + ":" +
         (isPort(named.port) ? named.port : scheme->defaultPort) + (path == "/" ? "" : path);
}
