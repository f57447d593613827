/// @file
/// Text helpers that do not depend on the locale.
#pragma once

#include <cf/export.h>

#include <optional>
#include <string>
#include <string_view>

/// `text` without the ASCII white space (space, tab, line feed, vertical tab, form feed,
/// carriage return) at its two ends.
CF_API std::string cfTrimAsString(std::string_view text);

/// True when `text` is well-formed UTF-8 (RFC 3629: no overlong forms, no surrogates, nothing above U+10FFFF).
CF_API bool cfIsUTF8(std::string_view text) noexcept;

/// `text` with each ill-formed byte sequence replaced by U+FFFD (one for each maximal subpart, as the Unicode
/// Standard recommends); well-formed text comes back as it is.
CF_API std::string cfToUTF8(std::string_view text);

/// The shortest decimal that reads back as the same double: "0.7", "1", "1e+22". Plain notation from 1e-6 up to
/// 1e21, scientific beyond. "inf", "-inf" and "nan" for what is not finite.
CF_API std::string cfNumberToText(double value);

/// Reads all of `text` as a decimal number: optional sign, digits with an optional point, optional exponent. A value
/// too large becomes the largest finite double of its sign, one too small a zero.
/// @return nothing when `text` is empty or anything else than one such number ("inf", "nan" and hexadecimal forms
///         included).
CF_API std::optional<double> cfTextToNumber(std::string_view text) noexcept;
