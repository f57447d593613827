// How much room a text takes on a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// The columns that `text` takes: what people see as one character (a letter with its accents, an emoji joined of
/// several) counts once, and twice where it is wide. The text is well-formed UTF-8 on one line without control
/// characters. Linear time.
std::size_t displayWidth(std::string_view text);

/// `text` when it takes no more than `width` columns, else its beginning with "…" behind it, cut between such
/// characters.
std::string fitText(std::string_view text, std::size_t width);

enum class Alignment { Left, Right };

/// `text` with spaces up to `width` columns.
std::string padText(std::string_view text, std::size_t width, Alignment alignment);
