/// @file
/// Texts without a secret that they quote; a part of qai.hpp.
///
/// The library puts no key into a text of its own, but a service may quote the key that it was sent, and what a service
/// says is passed on as it arrived. A host that shows, logs or keeps such texts takes its secrets out of them first.
#pragma once

#include <cf/redaction.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace qai {

/// A secret with fewer bytes is left where it is.
inline constexpr std::size_t kShortestSecret = kCFShortestSecret;

/// What stands in a secret's place.
inline constexpr std::string_view kRedacted = kCFRedacted;

/// `text` with kRedacted in place of `secret`, in whichever of its forms: cfRedacted in cf/redaction.h.
inline std::string redacted(std::string_view text, std::string_view secret) { return cfRedacted(text, secret); }

}  // namespace qai
