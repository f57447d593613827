/// @file
/// Texts without a secret that they quote.
#pragma once

#include <cf/export.h>

#include <cstddef>
#include <string>
#include <string_view>

/// A secret with fewer bytes is left where it is: so short a text stands in others by chance, which would be mangled.
inline constexpr std::size_t kCFShortestSecret = 6;

/// What stands in a secret's place.
inline constexpr std::string_view kCFRedacted = "[redacted]";

/// `text` with kCFRedacted in place of `secret`, wherever it stands as it is, percent-encoded (in either case, '+' for
/// a blank included), escaped as in JSON, or in base64 (of either alphabet, alone or with other bytes around it, as in
/// "user:password", when the whole run of digits goes). A secret of fewer than kCFShortestSecret bytes, and so an empty
/// one, gives `text` as it is. Takes time in proportion to the text's length. What a service does to a secret besides,
/// such as breaking it into lines, encoding it twice or in hexadecimal, is not seen through.
CF_API std::string cfRedacted(std::string_view text, std::string_view secret);
