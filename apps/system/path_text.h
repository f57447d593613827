// Paths and their texts. The path's own conversions would take the text for the code page's on Windows.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// The path that `text`, UTF-8, names; elsewhere than on Windows, where names are bytes, any text does.
inline std::filesystem::path makePath(std::string_view text) { return std::u8string(text.begin(), text.end()); }

/// `path` in UTF-8, with "/" between its parts.
inline std::string makePathText(const std::filesystem::path& path) {
  const std::u8string text = path.generic_u8string();
  return {text.begin(), text.end()};
}
