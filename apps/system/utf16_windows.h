// Between UTF-8, in which the programs think, and the UTF-16 of the system.
#pragma once

#include <string>
#include <string_view>

/// What is ill-formed becomes U+FFFD, in both directions.
std::wstring toUTF16(std::string_view text);
std::string toUTF8(std::wstring_view text);

/// `text` in this machine's code page for programs that know no Unicode, as the C and C++ libraries give messages.
std::wstring fromCodePage(std::string_view text);
