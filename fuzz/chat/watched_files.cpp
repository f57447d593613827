#include "chat/watched_files.h"

#include "expect.h"

#include <sqlite3.h>

namespace {

std::string& watchedPath() {
  static std::string path;
  return path;
}

sqlite3_vfs& usual() {
  static sqlite3_vfs& found = *sqlite3_vfs_find(nullptr);
  return found;
}

int openFile(sqlite3_vfs* /*system*/, const char* name, sqlite3_file* file, int flags, int* outFlags) {
  const bool isNameless = name == nullptr && (flags & SQLITE_OPEN_DELETEONCLOSE) != 0;
  expect(isNameless || (name != nullptr && name == watchedPath()), "no other file is opened",
         name == nullptr ? "one without a name" : name);
  expect(isNameless || (flags & (SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) == 0, "the file is opened for reading");
  return usual().xOpen(&usual(), name, file, flags, outFlags);
}

int deleteFile(sqlite3_vfs* /*system*/, const char* name, int /*isSynced*/) {
  expect(false, "no file is deleted", name);
  return SQLITE_IOERR_DELETE;
}

void* loadCode(sqlite3_vfs* /*system*/, const char* name) {
  expect(false, "no code is loaded", name);
  return nullptr;
}

}  // namespace

void watchFiles(const std::string& path) {
  watchedPath() = path;
  static sqlite3_vfs watching = usual();
  watching.zName = "watching";
  watching.xOpen = openFile;
  watching.xDelete = deleteFile;
  watching.xDlOpen = loadCode;
  expect(sqlite3_vfs_register(&watching, 1) == SQLITE_OK, "SQLite lets its files be watched");
}
