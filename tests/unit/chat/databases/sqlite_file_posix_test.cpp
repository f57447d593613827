// Files that Windows does not have.
#include "sqlite_file_fixture.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

TEST_F(SqliteFile, NamesThatWindowsRefusesAreTakenAsTheyStand) {
  for (const char* name : {"a?mode=rwc", "file:x", "back\\slash", "no UTF-8 \xFF"}) {
    writer(name, "CREATE TABLE t(a)");
    EXPECT_EQ(countTables(path(name)), 1U) << name;
  }
}

TEST_F(SqliteFile, WriteAheadModeThroughALinkChangesNothing) {
  writer("a.db", "PRAGMA journal_mode=WAL; CREATE TABLE t(a)");
  fs::create_symlink("a.db", folder() / "link.db");
  const auto before = contents();
  EXPECT_EQ(countTables(path("link.db")), 1U);
  EXPECT_EQ(contents(), before);
}

TEST_F(SqliteFile, IsReadInAFolderThatCannotBeWritten) {
  writer("a.db", "CREATE TABLE t(a)");
  writer("b.db", "PRAGMA journal_mode=WAL; CREATE TABLE t(a)");
  fs::permissions(folder(), fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_EQ(countTables(path("a.db")), 1U);
  EXPECT_EQ(countTables(path("b.db")), 1U);
}

TEST_F(SqliteFile, PipeIsSaidAndNotWaitedFor) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  expectFailure(path("pipe"), ExitCode::NoInput, "is not a regular file");
}

TEST_F(SqliteFile, UnreadableIsSaid) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser reads everything";
  fs::permissions(write("a.db", ""), fs::perms::none);
  expectFailure(path("a.db"), ExitCode::NoInput, "permission denied");
}

TEST_F(SqliteFile, UnreadableFolderOfItIsSaid) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser reads everything";
  write("a.db", "");
  fs::permissions(folder(), fs::perms::none);
  expectFailure(path("a.db"), ExitCode::NoInput, "can't be read");
}

}  // namespace
