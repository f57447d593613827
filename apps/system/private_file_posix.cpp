#include "private_file.h"
#include "start.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace {

std::error_code lastError() { return {errno, std::generic_category()}; }

std::error_code writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file, text.data(), text.size());
    if (written < 0 && errno != EINTR) return lastError();
    if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
  }
  return {};
}

bool isStandardOutput(const std::string& path) {
  struct stat there {};
  struct stat output {};
  return stat(path.c_str(), &there) == 0 && fstat(STDOUT_FILENO, &output) == 0 && there.st_dev == output.st_dev &&
         there.st_ino == output.st_ino;
}

std::string obtainFolder(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

/// The name of a new file beside `path`, and what kept it from being whole.
struct Draft {
  std::string name;  // "" when there is none
  std::error_code error;
};

Draft writeDraft(const std::string& path, std::string_view text) {
  std::string name = path + ".XXXXXX";
  const int file = mkostemp(name.data(), O_CLOEXEC);  // for this user alone, and not through a link
  if (file < 0) return {.name = "", .error = lastError()};
  std::error_code error = writeAll(file, text);
  if (close(file) != 0 && !error) error = lastError();
  return {.name = std::move(name), .error = error};
}

/// Whether nobody but its owner may give the place of the file at `path` to another one, as in /tmp.
bool isHeldByAnother(const std::string& path) {
  struct stat there {};
  struct stat folder {};
  const uid_t user = geteuid();
  return user != 0 && stat(path.c_str(), &there) == 0 && there.st_uid != user &&
         stat(obtainFolder(path).c_str(), &folder) == 0 && (folder.st_mode & S_ISVTX) != 0 && folder.st_uid != user;
}

// They would go on into the file that has lost its name.
constexpr const char* kIsOutput = "the answers go there";

}  // namespace

std::string replaceFile(const std::string& path, std::string_view text) {
  if (isStandardOutput(path)) return kIsOutput;
  auto [draft, error] = writeDraft(path, text);
  if (!error && std::rename(draft.c_str(), path.c_str()) != 0) error = lastError();
  if (!error) return "";
  unlink(draft.c_str());
  return describeError(error);
}

std::string tryToReplaceFile(const std::string& path, std::string_view text) {
  if (isStandardOutput(path)) return kIsOutput;
  auto [draft, error] = writeDraft(path, text);
  unlink(draft.c_str());
  if (!error && isHeldByAnother(path)) error = std::make_error_code(std::errc::operation_not_permitted);
  return error ? describeError(error) : "";
}
