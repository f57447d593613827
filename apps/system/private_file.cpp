#include "private_file.h"

#include "path_text.h"
#include "start.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

/// Where the links at `path` end, which may be nowhere yet.
fs::path followLinks(fs::path path, std::error_code& error) {
  constexpr int kMostLinks = 40;
  for (int i = 0; i < kMostLinks; ++i) {
    std::error_code ignored;  // what is no link tells of itself when it is written
    if (!fs::is_symlink(fs::symlink_status(path, ignored))) return path;
    const fs::path target = fs::read_symlink(path, error);
    if (error) return path;
    path = path.parent_path() / target;
  }
  error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
  return path;
}

struct Target {
  std::string path;
  std::string obstacle;  // in words
};

/// The file that is meant by `path`.
Target findTarget(const std::string& path) {
  constexpr const char* kNoFile = "it is neither a file nor a new name";
  std::error_code error;
  const fs::path given = makePath(path);
  // By the system's own way through links, which may keep this user from another's.
  const fs::file_type there = fs::status(given, error).type();
  if (there == fs::file_type::none) return {.path = "", .obstacle = describeError(error)};
  if (there == fs::file_type::directory) return {.path = "", .obstacle = "it is a folder"};
  if (there != fs::file_type::regular && there != fs::file_type::not_found) return {.path = "", .obstacle = kNoFile};
  error.clear();
  const fs::path target = followLinks(given, error);
  if (error) return {.path = "", .obstacle = describeError(error)};
  // The system has links whose texts do not name what they lead to.
  if (there == fs::file_type::regular && !fs::equivalent(given, target, error))
    return {.path = "", .obstacle = kNoFile};
  return {.path = makePathText(target), .obstacle = ""};
}

}  // namespace

std::string writePrivateFile(const std::string& path, std::string_view text) {
  const Target target = findTarget(path);
  return target.obstacle.empty() ? replaceFile(target.path, text) : target.obstacle;
}

std::string tryPrivateFile(const std::string& path) {
  constexpr std::size_t kSize = std::size_t{64} << 10U;  // as much as a small conversation takes on a disk
  const Target target = findTarget(path);
  return target.obstacle.empty() ? tryToReplaceFile(target.path, std::string(kSize, ' ')) : target.obstacle;
}
