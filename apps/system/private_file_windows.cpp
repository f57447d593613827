#include "path_text.h"
#include "private_file.h"
#include "start.h"

#include <filesystem>
#include <fstream>

std::string replaceFile(const std::string& path, std::string_view text) {
  std::error_code error;
  const std::filesystem::path beside = makePath(path + ".new");
  std::filesystem::remove(beside, error);  // a link, too
  std::ofstream file(beside, std::ios::binary);
  file << text;
  file.close();
  if (!file) {
    std::error_code ignored;
    std::filesystem::remove(beside, ignored);
    return describeError(std::make_error_code(std::errc::io_error));
  }
  std::filesystem::rename(beside, makePath(path), error);
  return error ? describeError(error) : "";
}
