/// @file
/// Putting addresses together, and reading what is encoded in them (RFC 3986).
#pragma once

#include <cf/export.h>

#include <string>
#include <string_view>
#include <vector>

/// Joins a host part and path segments into an address.
///
/// The first part is the host ("https://api.example.com"), taken as it stands less its trailing slashes. Each further
/// part is one path segment and is percent-encoded: unreserved characters, sub-delims, ':' and '@' stay, all else
/// (a '/' too) becomes %XX; a segment of "." or ".." is encoded whole, so that no segment can move the path. Parts
/// are joined by one '/'. No parts give "".
CF_API std::string cfConcatURL(const std::vector<std::string>& parts);

/// `text` with every byte but the unreserved characters (letters, digits, "-._~") as %XX: a name or a value of a
/// query string.
CF_API std::string cfEncodeQueryText(std::string_view text);

/// `text` with the byte that it stands for in place of each %XX; a '%' without two hexadecimal digits stays.
CF_API std::string cfDecodePercent(std::string_view text);
