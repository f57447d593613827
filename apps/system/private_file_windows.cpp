#include "path_text.h"
#include "private_file.h"

#include <cerrno>
#include <filesystem>
#include <fstream>

std::error_code writePrivateFile(const std::string& path, std::string_view text) {
  std::error_code error;
  const auto there = std::filesystem::symlink_status(makePath(path), error).type();
  using Type = std::filesystem::file_type;
  if (there == Type::directory) return std::make_error_code(std::errc::is_a_directory);
  if (there != Type::not_found && there != Type::regular && there != Type::symlink)
    return std::make_error_code(std::errc::invalid_argument);

  const std::filesystem::path beside = makePath(path + ".new");
  std::filesystem::remove(beside, error);  // a link, too
  std::ofstream file(beside, std::ios::binary);
  file << text;
  file.close();
  if (!file) {
    std::error_code ignored;
    std::filesystem::remove(beside, ignored);
    return std::make_error_code(std::errc::io_error);
  }
  std::filesystem::rename(beside, makePath(path), error);
  return error;
}
