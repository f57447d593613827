// How a folder of certificate authorities names its files.
#pragma once

#include <string_view>

/// Whether a file's name is the hash of a name that an authority has, as OpenSSL looks for it first: "4bfab552.0".
constexpr bool isHashedName(std::string_view name) noexcept {
  return name.size() == 10 && name.ends_with(".0") && name.find_first_not_of("0123456789abcdef") == 8;
}
