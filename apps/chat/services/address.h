// Addresses as users write them: of services and of proxies.
#pragma once

#include "services/providers.h"

#include <stdexcept>
#include <string>
#include <string_view>

/// What the user calls a host can't be one: a sentence for the user.
class HostError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The address of `provider` that `text` means, in the form in which the library takes it: without the version's part
/// of the path, which it adds itself. "" for a blank one, where the provider has an address of its own.
/// @param source who says so, for the error: "" or a variable
/// @throw HostError for another scheme than http and https, no host, and a user name or password
std::string readAddress(const Provider& provider, const std::string& text, std::string_view source = "");

/// The address of a proxy, "" for none; http is meant where it has no scheme, as elsewhere. @throw HostError
std::string readProxy(const std::string& text);

/// `address` as it can be shown: "[redacted]" in place of a user name and password in it.
std::string withoutAccount(const std::string& address);
