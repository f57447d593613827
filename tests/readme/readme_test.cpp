// The host that README shows, run against the stand-in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <standin.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace {

struct ClosePipe {
  void operator()(FILE* pipe) const { pclose(pipe); }
};

std::string outputOf(const std::string& command) {
  const std::unique_ptr<FILE, ClosePipe> pipe(popen(command.c_str(), "r"));
  std::string output;
  std::array<char, 1024> buffer{};
  while (fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr) output += buffer.data();
  return output;
}

TEST(Readme, HostAsksItsQuestionAndPrintsTheReply) {
  standin::Server server;
  standin::Script reply;
  reply.body = R"({"choices":[{"message":{"role":"assistant","content":"SELECT 1;"}}]})";
  reply.status = 200;
  server.script(reply);
  EXPECT_EQ(outputOf("OPENAI_API_KEY=sk-readme '" README_HOST "' 'How high?' " + server.address()), "SELECT 1;\n");

  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].header("Authorization"), "Bearer sk-readme");
  EXPECT_THAT(requests[0].body,
              testing::HasSubstr("CREATE TABLE `glacier` (`id` INTEGER, `height` REAL, PRIMARY KEY(`id`))"));
  EXPECT_THAT(requests[0].body, testing::HasSubstr(R"({"role":"user","content":"How high?"})"));
}

TEST(Readme, HostPrintsAnErrorInTheServicesWords) {
  standin::Server server;
  EXPECT_THAT(outputOf("OPENAI_API_KEY=sk-readme '" README_HOST "' 'How high?' " + server.address() + " 2>&1"),
              testing::HasSubstr("The model `gpt-4o` does not exist"));
}

}  // namespace
