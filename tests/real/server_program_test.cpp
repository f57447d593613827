// Servers that don't start: what the cases that need one are told, and that nobody waits for them for long.
#include "server_program.h"

#include "support/temporary_folder.h"

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <fstream>
#include <ostream>

namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

constexpr auto kPatience = 300ms;      // with a server that says nothing more
constexpr auto kNeverReached = 3600s;  // with one that is seen to have ended

class StartedServer : public testing::Test {
 protected:
  /// A program of its own for each test, as one that did not start is remembered.
  std::string makeProgram(const std::string& script) const {
    const std::filesystem::path file = folder_.path() / "server";
    std::ofstream(file) << "#!/bin/sh\n" << script << '\n';
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    return file.string();
  }
  static std::string errorOf(const std::string& program, std::chrono::milliseconds patience,
                             std::span<const ReservedPort> ports = {}) {
    try {
      const ServerProgram server({program}, "listens", ports, patience);
      return "";
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }

  const TemporaryFolder folder_{"qai-server"};
};

struct FailedStart {
  const char* name;
  const char* script;
  std::chrono::milliseconds patience;
  const char* told;
};
void PrintTo(const FailedStart& row, std::ostream* out) { *out << row.name; }

class ServerThatDoesNotStart : public StartedServer, public testing::WithParamInterface<FailedStart> {};

TEST_P(ServerThatDoesNotStart, IsGivenUpInTimeAndTellsWhy) {
  EXPECT_EQ(errorOf(makeProgram(GetParam().script), GetParam().patience),
            std::string("server did not start: it ") + GetParam().told);
}

INSTANTIATE_TEST_SUITE_P(
    All, ServerThatDoesNotStart,
    testing::Values(FailedStart{"ends", "echo no port; echo >&2; echo no memory >&2; exit 1", kNeverReached,
                                "ended; it said: no port\n\nno memory\n"},
                    FailedStart{"ends_without_a_word", "exit 0", kNeverReached, "ended; it said nothing"},
                    FailedStart{"ends_and_leaves_its_output_to_a_child", "echo no port; sleep 3 & exit 1",
                                kNeverReached, "ended; it said: no port\n"},
                    FailedStart{"stays", "echo no port; exec sleep 3600", kPatience,
                                R"(did not say "listens" in 300 ms, no line came in time; it said: no port)"
                                "\n"},
                    FailedStart{
                        "stays_in_the_middle_of_a_line", "printf 'no po'; exec sleep 3600", kPatience,
                        R"(did not say "listens" in 300 ms, no line came in time; it began: no po; it said nothing)"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(StartedServer, IsGivenUpInTimeWhenItSaysOtherThingsForEver) {
  const std::string program = makeProgram("while echo no port; do sleep 0.01; done");
  EXPECT_THAT(errorOf(program, kPatience),
              StartsWith("server did not start: it did not say \"listens\" in 300 ms; it said: no port\nno port\n"));
}

TEST_F(StartedServer, IsGivenUpInTimeWhenItTakesNoConnections) {
  const std::string program = makeProgram("echo It listens; exec sleep 3600");
  const std::array<ReservedPort, 1> ports;
  EXPECT_EQ(errorOf(program, kPatience, ports), "server did not start: it takes no connections at port " +
                                                    ports[0].text() + " in 300 ms; it said: It listens\n");
}

TEST_F(StartedServer, IsNotTriedAgainAfterItDidNotStart) {
  const std::string program = makeProgram("echo >> \"$0.starts\"; echo no port");
  EXPECT_EQ(errorOf(program, kNeverReached), "server did not start: it ended; it said: no port\n");
  EXPECT_EQ(errorOf(program, kNeverReached),
            "server did not start before and is not tried again: it ended; it said: no port\n");
  EXPECT_EQ(std::filesystem::file_size(program + ".starts"), 1U);
}

TEST_F(StartedServer, IsReadLineByLineToItsEnd) {
  ServerProgram server({makeProgram("echo It listens; echo; echo more; printf last")}, "listens", {}, kNeverReached);
  EXPECT_EQ(server.readLine(), "");
  EXPECT_EQ(server.readLine(), "more");
  EXPECT_EQ(server.readLine(), "last");
  EXPECT_EQ(server.readLine(), std::nullopt);
}

TEST_F(StartedServer, ThatFallsSilentFailsWhoReads) {
  ServerProgram server({makeProgram("echo It listens; exec sleep 3600")}, "listens", {}, kPatience);
  EXPECT_THROW(server.readLine(), std::runtime_error);
}

TEST(FinishedProgram, IsEndedWhenItClosesItsOutputsAndStays) {
  const ProgramRun outcome = runCommand({.arguments = {"/bin/sh", "-c", "echo said; exec sleep 3600 >&- 2>&-"},
                                         .environment = {},
                                         .input = {},
                                         .patience = kPatience});
  EXPECT_EQ(outcome.out, "said\n");
  EXPECT_EQ(outcome.code, 128 + SIGKILL);
}

TEST(FinishedProgram, IsNotWaitedForWhenAChildKeepsItsOutputs) {
  const ProgramRun outcome = runCommand({.arguments = {"/bin/sh", "-c", "echo said; sleep 3 & exit 7"},
                                         .environment = {},
                                         .input = {},
                                         .patience = kNeverReached});
  EXPECT_EQ(outcome.out, "said\n");
  EXPECT_EQ(outcome.code, 7);
}

}  // namespace
