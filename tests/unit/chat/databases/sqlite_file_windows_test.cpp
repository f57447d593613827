// Files as they are named on Windows alone.
#include "sqlite_file_fixture.h"

#include <windows.h>

namespace {

TEST_F(SqliteFile, IsNamedWithBackslashesOrSlashes) {
  writer("a.db", "CREATE TABLE t(a)");
  std::filesystem::path file = toPath(path("a.db"));
  EXPECT_EQ(countTables(toText(file.make_preferred())), 1U);
  EXPECT_EQ(countTables(file.generic_string()), 1U);
}

TEST_F(SqliteFile, DeviceIsRefusedAndNotWaitedFor) { expectFailure("NUL", ExitCode::NoInput, "NUL"); }

TEST_F(SqliteFile, OpenedByAnotherForItselfIsSaid) {
  writer("a.db", "CREATE TABLE t(a)");
  const HANDLE other = CreateFileW(toPath(path("a.db")).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  expectFailure(path("a.db"), ExitCode::NoInput, "can't be read");
  CloseHandle(other);
}

}  // namespace
