// The program as a shell or a script meets it.
#include "client.h"
#include "support/process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

Command standIn(std::vector<std::string> arguments, std::vector<std::string> environment = {}) {
  arguments.insert(arguments.begin(), STANDIN_PROGRAM);
  return {.arguments = std::move(arguments), .environment = std::move(environment), .input = ""};
}

std::string addressIn(const std::string& line) {
  const std::string opening = "listening on ";
  EXPECT_TRUE(line.starts_with(opening + "http://127.0.0.1:")) << line;
  return line.substr(std::min(line.size(), opening.size()));
}

class ProgramEnd : public testing::Test {
 protected:
  Child program_{standIn({})};

  void SetUp() override {
    Client client(addressIn(program_.readLine().value_or("")));
    EXPECT_EQ(client.get("/v1/models").status, 200);
  }
};

TEST_F(ProgramEnd, ComesByCtrlCAndIsClean) {
  program_.interrupt();
  EXPECT_EQ(program_.finish().code, 0);
}

TEST_F(ProgramEnd, ComesBySIGTERMAndIsClean) {
  if (!program_.terminate()) GTEST_SKIP() << "There is no such signal on Windows";
  EXPECT_EQ(program_.finish().code, 0);
}

TEST(Program, TakesTheKeyFromTheEnvironment) {
  Child program(standIn({"--port", "0"}, {"QAI_STANDIN_KEY=the-key"}));
  Client client(addressIn(program.readLine().value_or("")));
  EXPECT_EQ(client.get("/v1/models", {"Authorization: Bearer the-key"}).status, 200);
  EXPECT_EQ(client.get("/v1/models", {"Authorization: Bearer another"}).status, 401);
}

TEST(Program, TellsItsVersion) {
  const ProgramRun outcome = runCommand(standIn({"--version"}));
  EXPECT_TRUE(outcome.out.starts_with("qai-standin "));
  EXPECT_TRUE(outcome.out.ends_with(STANDIN_VERSION "\n")) << outcome.out;
  EXPECT_EQ(outcome.code, 0);
}

TEST(Program, TellsItsOptions) {
  const ProgramRun outcome = runCommand(standIn({"--help"}));
  for (const std::string option :
       {"--host", "--port", "--cert", "--key-file", "--pace", "--version", "QAI_STANDIN_KEY"}) {
    EXPECT_NE(outcome.out.find(option), std::string::npos) << option;
  }
  EXPECT_EQ(outcome.code, 0);
}

TEST(Program, RefusesAWrongAddress) {
  const ProgramRun outcome = runCommand(standIn({"--host", "192.0.2.1"}));
  EXPECT_TRUE(outcome.err.starts_with("qai-standin: cannot listen on 192.0.2.1")) << outcome.err;
  EXPECT_EQ(outcome.code, 1);
}

TEST(Program, RefusesACertificateWithoutItsKey) { EXPECT_NE(runCommand(standIn({"--cert", "/x.pem"})).code, 0); }

}  // namespace
