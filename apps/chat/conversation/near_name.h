// Which name was meant.
#pragma once

#include <span>
#include <string>
#include <string_view>

/// The one of `names` that `typed` is most like, when that is beyond chance: it begins with `typed`, or two letters at
/// most are missing, too many, others or in each other's place. Empty when none is. Compares bytes.
std::string_view findNear(std::string_view typed, std::span<const std::string_view> names);

/// What goes between a complaint about `typed` and where to look names up: "; " or "; did you mean NAME? ".
std::string askWhichIsMeant(std::string_view typed, std::span<const std::string_view> names);
