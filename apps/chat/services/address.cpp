#include "services/address.h"

#include "ascii_case.h"

#include <cf/text.h>
#include <qai/redaction.hpp>

#include <optional>

namespace {

constexpr std::string_view kMark = "://";

/// Where what follows the scheme begins.
std::size_t findAuthority(std::string_view address) {
  const std::size_t mark = address.find(kMark);
  return mark == std::string_view::npos ? 0 : mark + kMark.size();
}

/// Whether `address` has http or https for its scheme, or none; puts that into lower case, in which the library knows
/// it.
bool takeScheme(std::string& address) {
  const std::size_t mark = address.find(kMark);
  if (mark == std::string::npos) return true;
  address.replace(0, mark, toLowerAscii(address.substr(0, mark)));
  return address.starts_with("http://") || address.starts_with("https://");
}

/// What `text` means where a URL is expected. Nothing in place of a host would be the service's public address.
std::optional<std::string> readURL(std::string address) {
  if (address.empty()) return address;
  if (!takeScheme(address) || address.find('@') != std::string::npos) return std::nullopt;
  const std::size_t host = findAuthority(address);
  if (host == address.size() || address[host] == '/') return std::nullopt;
  return address;
}

/// `address` without `version` at the end of its path.
std::string dropVersion(std::string address, std::string_view version) {
  const std::size_t path = address.find('/', findAuthority(address));
  if (path == std::string::npos || version.empty()) return address;
  const std::size_t end = address.find_last_not_of('/') + 1;
  if (end < path + version.size() || !std::string_view(address).substr(0, end).ends_with(version)) return address;
  address.resize(end - version.size());
  return address;
}

}  // namespace

std::string readAddress(const Provider& provider, const std::string& text, std::string_view source) {
  const std::string trimmed = cfTrimAsString(text);
  std::optional<std::string> address = provider.readHost != nullptr ? provider.readHost(trimmed) : readURL(trimmed);
  if (address) return dropVersion(std::move(*address), provider.version);
  const std::string place = source.empty() ? "" : " in " + std::string(source);
  throw HostError("'" + withoutAccount(trimmed) + "'" + place + " is no address of " + provider.title +
                  ": that takes http or https, a host, and no user name or password");
}

std::string readProxy(const std::string& text) {
  std::string address = cfTrimAsString(text);
  if (address.empty()) return "";
  if (!takeScheme(address)) throw HostError("'" + withoutAccount(address) + "' is no proxy: that takes http or https");
  return findAuthority(address) == 0 ? "http://" + address : address;
}

std::string withoutAccount(const std::string& address) {
  const std::size_t at = address.rfind('@');  // the last in any part: none of them may be a password's
  if (at == std::string::npos) return address;
  const std::size_t mark = address.find(kMark);
  const std::string scheme = mark < at ? address.substr(0, mark + kMark.size()) : "";
  return scheme + std::string(qai::kRedacted) + address.substr(at);
}
