// Files that are nobody else's business; one source file for each system.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

/// Writes `text` into the file at `path` (UTF-8), which only this user may read; on Windows, whom the folder lets. It
/// takes the place of a file or a link of that name at once and only when all is written, so that no link leads it
/// elsewhere. What is neither, such as a device, is left alone.
/// @return no error, or why it was not written.
std::error_code writePrivateFile(const std::string& path, std::string_view text);

/// The system's part of it, when nothing stands in the way.
std::error_code replaceFile(const std::string& path, std::string_view text);
