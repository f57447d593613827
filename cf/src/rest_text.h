// Texts of the REST client: what may be sent, and what may be shown.
#pragma once

#include <string>
#include <string_view>

/// True when `text` holds a byte below 0x20 or 0x7f: it could end a line of the request early.
bool holdsControlCharacter(std::string_view text) noexcept;

/// True when `text` can be the name of a header field (RFC 9110 token).
bool isToken(std::string_view text) noexcept;

/// Whether both are the same but for the case of ASCII letters.
bool isSameHeaderName(std::string_view one, std::string_view other) noexcept;

/// The value of the first field `name` (in any case of its letters) among the lines of a message's head, without the
/// blanks around it; "" when there is none.
std::string_view findHeaderField(std::string_view head, std::string_view name) noexcept;

/// `text` from elsewhere as it may stand in a message: valid UTF-8 with spaces in place of control characters.
std::string plainText(std::string_view text);

/// plainText in the middle of a sentence: begins with a small letter, unless the first word is an abbreviation.
std::string plainTextWithin(std::string_view text);
