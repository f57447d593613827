// Files that are nobody else's business; one source file for each system.
#pragma once

#include <string>
#include <string_view>

/// Writes `text` into the file at `path` (UTF-8), or the one that a link there names, which only this user may read; on
/// Windows, whom the folder lets. It takes the place of a file at once and only when all is written. What is no file,
/// such as a device, and a file that the standard output goes to are left alone.
/// @return "", or in words why it was not written.
std::string writePrivateFile(const std::string& path, std::string_view text);

/// The same without the text: tries with a file beside it, which is gone afterwards, and leaves what is there as it is.
/// @return "", or in words why it can't be written now.
std::string tryPrivateFile(const std::string& path);

/// The system's part of both, when nothing stands in the way and `path` is no link.
std::string replaceFile(const std::string& path, std::string_view text);
std::string tryToReplaceFile(const std::string& path, std::string_view text);
