#include "private_file.h"

#include "path_text.h"

#include <filesystem>

std::error_code writePrivateFile(const std::string& path, std::string_view text) {
  std::error_code ignored;  // what is there tells of it
  const auto there = std::filesystem::symlink_status(makePath(path), ignored).type();
  using Type = std::filesystem::file_type;
  if (there == Type::directory) return std::make_error_code(std::errc::is_a_directory);
  const bool isReplaceable = there == Type::not_found || there == Type::regular || there == Type::symlink;
  return isReplaceable ? replaceFile(path, text) : std::make_error_code(std::errc::invalid_argument);
}
