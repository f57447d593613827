#include "rest_hashed_name.h"
#include "rest_system.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <string_view>
#include <system_error>

namespace {

struct FolderCloser {
  void operator()(DIR* folder) const noexcept { closedir(folder); }
};

// The folder alone says nothing: a small system may have one that holds but the bundle. Read with readdir because
// std::filesystem ends the process when memory runs out.
const char* findFolder() noexcept {
  const char* path = curl_version_info(CURLVERSION_NOW)->capath;
  if (path == nullptr) return nullptr;
  const std::unique_ptr<DIR, FolderCloser> folder(opendir(path));
  if (folder == nullptr) return nullptr;
  while (const dirent* entry = readdir(folder.get())) {
    if (isHashedName(entry->d_name)) return path;
  }
  return nullptr;
}

}  // namespace

const char* obtainAuthoritiesFolder() noexcept {
  static const char* const kFolder = findFolder();
  return kFolder;
}

bool prepareRestSocket(curl_socket_t socket) noexcept { return fcntl(socket, F_SETFD, FD_CLOEXEC) == 0; }

bool endWhenUnasked(curl_socket_t socket) noexcept {
  char byte = 0;
  if (recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) <= 0) return false;
  shutdown(socket, SHUT_RDWR);
  // The end shows behind what has come already; a server that goes on sending is not read for ever.
  std::array<char, 4096> unasked;
  for (int reads = 0; reads < 256 && recv(socket, unasked.data(), unasked.size(), MSG_DONTWAIT) > 0; ++reads) continue;
  return false;
}

int closeRestSocket(curl_socket_t socket) noexcept { return close(socket); }

std::string describeConnectError(int number) { return std::system_category().message(number); }

std::string_view clarifyVerdict(std::string_view text) noexcept { return text; }

void stayLoaded() noexcept {}  // the library is linked so (-z nodelete)
