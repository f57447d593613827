#include "path_text.h"
#include "private_file.h"
#include "start.h"
#include "terminal/history_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace {

namespace fs = std::filesystem;

std::string describeLastError() { return describeError({errno, std::generic_category()}); }

class Descriptor {
 public:
  explicit Descriptor(int number) noexcept : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return number_; }

 private:
  int number_;
};

/// What a file holds.
struct Contents {
  std::string text;
  std::string error;  // "" for no file, too
};

Contents readFile(const std::string& path) {
  constexpr std::size_t kMostBytes = 4 * kMostHistoryBytes;  // no store writes as much
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (file.get() < 0) return {.text = "", .error = errno == ENOENT ? "" : describeLastError()};
  struct stat about {};
  if (fstat(file.get(), &about) != 0 || !S_ISREG(about.st_mode)) return {.text = "", .error = path + " is no file"};
  Contents contents;
  std::array<char, 65536> buffer{};
  ssize_t size = 0;
  while ((size = read(file.get(), buffer.data(), buffer.size())) > 0) {
    contents.text.append(buffer.data(), static_cast<std::size_t>(size));
    if (contents.text.size() > kMostBytes) return {.text = "", .error = path + " is not of qai-chat"};
  }
  if (size < 0) return {.text = "", .error = describeLastError()};
  return contents;
}

/// Makes `folder` and those above it, for this user alone as far as they are new. @return "" or an error text
std::string makeFolders(const fs::path& folder) {
  fs::path path;
  for (const fs::path& part : folder) {
    path /= part;
    if (mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST) continue;
    std::error_code ignored;
    if (!fs::is_directory(path, ignored)) return describeLastError();  // one above may be another's
  }
  return "";
}

class FileHistoryStore final : public HistoryStore {
 public:
  explicit FileHistoryStore(fs::path path) : path_(std::move(path)) {}

  std::vector<std::string> load() override { return readEntries(readFile(path_).text); }
  std::string append(const std::string& entry) override;

 private:
  fs::path path_;
};

std::string FileHistoryStore::append(const std::string& entry) {
  if (std::string error = makeFolders(path_.parent_path()); !error.empty()) return error;
  // Another program of this user may be at it: one after the other reads and writes the whole.
  const Descriptor folder(open(path_.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.get() >= 0) flock(folder.get(), LOCK_EX);
  Contents contents = readFile(path_);
  if (!contents.error.empty()) return contents.error;
  return writePrivateFile(path_, writeEntries(withEntry(readEntries(contents.text), entry)));
}

std::optional<fs::path> findStateFolder() {
  const fs::path named = obtainVariable("XDG_STATE_HOME").value_or("");
  if (named.is_absolute()) return named;
  const fs::path home = obtainVariable("HOME").value_or("");
  if (home.is_absolute()) return home / ".local" / "state";
  return std::nullopt;
}

/// A short name for `path`, the same in each run (FNV-1a).
std::string makeKey(const std::string& path) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const char c : path) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  std::string digits;
  for (unsigned shift = 64; shift > 0; shift -= 4) digits += "0123456789abcdef"[(hash >> (shift - 4U)) & 0xFU];
  return digits;
}

}  // namespace

std::unique_ptr<HistoryStore> makeHistoryStore(const std::string& path) {
  const std::optional<fs::path> state = findStateFolder();
  if (!state) return nullptr;
  std::error_code ignored;
  const fs::path whole = fs::weakly_canonical(makePath(path), ignored);
  const std::string key = makeKey(whole.empty() ? path : whole.string());
  return std::make_unique<FileHistoryStore>(*state / "qai-chat" / "history" / key);
}
