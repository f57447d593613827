// A folder for a test's files.
#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <system_error>

/// `path` in UTF-8, as settings and command lines take it; the system's own text on Windows may be in a code page.
inline std::string toText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {reinterpret_cast<const char*>(text.data()), text.size()};
}

inline std::filesystem::path toPath(std::string_view text) {
  return std::u8string(reinterpret_cast<const char8_t*>(text.data()), text.size());
}

/// Empty at first, this user's alone, and removed with all in it when the object goes.
class TemporaryFolder {
 public:
  /// @param name (UTF-8) begins the folder's name.
  explicit TemporaryFolder(std::string_view name) {
    std::random_device random;
    do {
      path_ = std::filesystem::temp_directory_path() / toPath(std::string(name) + '-' + std::to_string(random()));
    } while (!std::filesystem::create_directory(path_));
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};
