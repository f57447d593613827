// The library comes and goes in a running process, as an application's plug-ins do.
#include <gtest/gtest.h>
#include <standin.h>

#include <cstdlib>
#include <string>

TEST(Loading, AHundredTimesWithTwoTurnsEachLeavesNothingAndStartsNoThread) {
  for (const char* host : {LOADING_HOSTS}) {
    const standin::Server server;
    const std::string command =
        LOADING_START R"(")" + std::string(host) + R"(" ")" QAI_LIBRARY R"(" )" + server.address();
    // NOLINTNEXTLINE(cert-env33-c): our own program, with our own arguments
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    EXPECT_GE(server.requests().size(), 220U);
  }
}
