#include "path_text.h"
#include "private_file.h"
#include "start.h"

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

/// A new file with `text` at `draft`. @return "" or what kept it from being whole, and it is gone
std::string writeDraft(const fs::path& draft, std::string_view text) {
  std::error_code error;
  fs::remove(draft, error);  // a link, too
  std::ofstream file(draft, std::ios::binary);
  file << text;
  file.close();
  if (file) return "";
  fs::remove(draft, error);
  return describeError(std::make_error_code(std::errc::io_error));
}

fs::path nameDraft(const std::string& path) { return makePath(path + ".new"); }

}  // namespace

std::string replaceFile(const std::string& path, std::string_view text) {
  const fs::path draft = nameDraft(path);
  if (std::string obstacle = writeDraft(draft, text); !obstacle.empty()) return obstacle;
  std::error_code error;
  fs::rename(draft, makePath(path), error);
  return error ? describeError(error) : "";
}

std::string tryToReplaceFile(const std::string& path, std::string_view text) {
  const fs::path draft = nameDraft(path);
  if (std::string obstacle = writeDraft(draft, text); !obstacle.empty()) return obstacle;
  std::error_code error;
  fs::remove(draft, error);
  return "";
}
