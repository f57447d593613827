// What the program settles with the system before it does anything else.
#include "support/raw_server.h"
#include "workplace.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <fstream>
#include <sstream>

namespace {

using testing::HasSubstr;

/// `command` by way of a shell that does `first` before.
Command after(const std::string& first, Command command) {
  command.arguments.insert(command.arguments.begin(), {"/bin/sh", "-c", first + "\nexec \"$@\"", "sh"});
  return command;
}

class ProcessState : public Workplace {};

TEST_F(ProcessState, LeavesNoCoreWithAKeyInIt) {
  rlimit cores{};
  ASSERT_EQ(getrlimit(RLIMIT_CORE, &cores), 0);
  if (cores.rlim_max == 0) GTEST_SKIP() << "No program here may leave a core";
  const RawServer server(std::vector<raw::Script>{{raw::Stall{}}});
  Child child(after("ulimit -S -c $(ulimit -H -c); echo $$",
                    chat({"--host", server.getURL(), "--list-models"}, {std::string("OPENAI_API_KEY=") + kKey})));
  const std::string id = child.readLine().value_or("");
  ASSERT_TRUE(server.waitForRequests(1));
  std::ostringstream limits;
  limits << std::ifstream("/proc/" + id + "/limits").rdbuf();
  EXPECT_THAT(limits.str(), testing::ContainsRegex("Max core file size +0 +0 "));
  child.interrupt();
  child.finish();
}

TEST_F(ProcessState, KeepsWhatIsClosedFromBeingAConnection) {
  struct Row {
    const char* closing;
    int code;
    const char* complaint;
  };
  for (const Row& row : {Row{"exec <&-", 0, ""}, Row{"exec >&-", 74, "The answer can't be written"},
                         Row{"exec 2>&-", 0, ""}, Row{"exec <&- >&- 2>&-", 74, ""}}) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--list-models"}, {shop_, "How many customers are there?"}}) {
      const standin::Server server;
      const ProgramRun outcome = runCommand(after(row.closing, chatWith(server, arguments)));
      EXPECT_EQ(outcome.code, row.code) << row.closing;
      EXPECT_THAT(outcome.err, HasSubstr(row.complaint)) << row.closing;
      EXPECT_EQ(outcome.out.empty(), row.code != 0) << outcome.out;
      EXPECT_GE(server.requests().size(), 1U);
    }
  }
}

TEST_F(ProcessState, TakesAClosedInputForItsEnd) {
  const standin::Server server;
  const ProgramRun outcome = runCommand(after("exec <&-", chatWith(server, {"--model", kModel, shop_})));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(server.connectionCount(), 0U);
}

}  // namespace
