#include "private_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

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

}  // namespace

std::error_code replaceFile(const std::string& path, std::string_view text) {
  std::string beside = path + ".XXXXXX";
  const int file = mkostemp(beside.data(), O_CLOEXEC);  // for this user alone, and not through a link
  if (file < 0) return lastError();
  std::error_code error = writeAll(file, text);
  if (close(file) != 0 && !error) error = lastError();
  if (!error && std::rename(beside.c_str(), path.c_str()) != 0) error = lastError();
  if (error) unlink(beside.c_str());
  return error;
}
