// Dates as databases without a type for them keep them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// The milliseconds from 1970 to the date in `text` (ISO 8601: "2024-03", "2024-03-09", with "T07:30", " 07:30:15.250"
/// and "Z" or "+01:00" behind it; without a zone as in UTC); nothing when it is none.
std::optional<std::int64_t> readIsoDate(std::string_view text);
