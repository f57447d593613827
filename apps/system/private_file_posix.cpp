#include "private_file.h"
#include "start.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

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

}  // namespace

std::string replaceFile(const std::string& path, std::string_view text) {
  // They would go on into the file that has lost its name.
  if (isStandardOutput(path)) return "the answers go there";
  std::string beside = path + ".XXXXXX";
  const int file = mkostemp(beside.data(), O_CLOEXEC);  // for this user alone, and not through a link
  if (file < 0) return describeError(lastError());
  std::error_code error = writeAll(file, text);
  if (close(file) != 0 && !error) error = lastError();
  if (!error && std::rename(beside.c_str(), path.c_str()) != 0) error = lastError();
  if (!error) return "";
  unlink(beside.c_str());
  return describeError(error);
}
