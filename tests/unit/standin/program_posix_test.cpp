// The program as a shell starts it without some of its standard streams.
#include "support/process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

TEST(Program, OpensNothingInThePlaceOfAClosedStream) {
  Child program({.arguments = {"/bin/sh", "-c", R"(echo $$; exec "$0" <&- 2>&-)", STANDIN_PROGRAM},
                 .environment = {},
                 .input = ""});
  const std::filesystem::path open = "/proc/" + program.readLine().value_or("") + "/fd";
  EXPECT_TRUE(program.readLine().value_or("").starts_with("listening on "));
  for (const char* number : {"0", "2"}) EXPECT_EQ(std::filesystem::read_symlink(open / number), "/dev/null");
}

}  // namespace
