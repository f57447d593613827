/// @file
/// Whom an address names, read as requests read it.
#pragma once

#include <cf/export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Whom an address names: scheme, host and port.
struct CMOrigin {
  std::string scheme;      ///< "http" or "https"
  std::string host;        ///< in lower case; an IPv6 address in brackets, in its shortest form
  std::uint16_t port = 0;  ///< the scheme's own when the address names none

  /// Whether all three are the same.
  bool operator==(const CMOrigin&) const = default;

  /// "https://api.example.com:443".
  std::string text() const { return scheme + "://" + host + ":" + std::to_string(port); }
};

/// Whom a request to `address` would go to, when that is beyond doubt: "http://" or "https://" in lower case; a name of
/// letters, digits, '-', '_' and dots, four decimal numbers, or an IPv6 address in brackets; a port from 1 to 65535, or
/// none; a path. All else gives nothing: what a request refuses, such as a user name, a query, a fragment or characters
/// beyond ASCII; and a backslash or an '@' in the path, %XX in the host, a dot at its end, numbers in other spellings
/// ("127.1", "0x7f.1"), leading zeros.
CF_API std::optional<CMOrigin> cfParseOrigin(std::string_view address);

/// Whether both addresses name the same scheme, host and port. False as soon as cfParseOrigin can't tell of one of
/// them, and for two names of one machine.
CF_API bool cfIsSameOrigin(std::string_view one, std::string_view other);

/// Whether `origin` is this machine: "localhost", which is never looked up, 127.x.x.x or [::1].
CF_API bool cfIsLoopback(const CMOrigin& origin);
