// The program as a shell or a script meets it.
#include "client.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

namespace {

/// A running qai-standin, its two outputs on one pipe.
class Program {
 public:
  explicit Program(std::vector<std::string> arguments, std::vector<std::string> environment = {}) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    arguments.insert(arguments.begin(), STANDIN_PROGRAM);
    const std::vector<char*> argv = pointers(arguments);
    const std::vector<char*> envp = pointers(environment);
    EXPECT_EQ(posix_spawn(&process_, STANDIN_PROGRAM, &actions, nullptr, argv.data(), envp.data()), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    output_ = fdopen(ends[0], "r");
  }

  ~Program() {
    if (process_ != 0) {
      kill(process_, SIGKILL);
      waitpid(process_, nullptr, 0);
    }
    fclose(output_);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  std::string readLine() {
    std::string line;
    for (int c = fgetc(output_); c != EOF && c != '\n'; c = fgetc(output_)) line += static_cast<char>(c);
    return line;
  }

  std::string readAll() {
    std::string text;
    for (int c = fgetc(output_); c != EOF; c = fgetc(output_)) text += static_cast<char>(c);
    return text;
  }

  void signal(int number) const { kill(process_, number); }

  /// The exit status; -1 when a signal ended it.
  int wait() {
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  static std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> all;
    for (std::string& text : texts) all.push_back(text.data());
    all.push_back(nullptr);
    return all;
  }

  pid_t process_ = 0;
  FILE* output_ = nullptr;
};

std::string addressIn(const std::string& line) {
  const std::string opening = "listening on ";
  EXPECT_TRUE(line.starts_with(opening + "http://127.0.0.1:")) << line;
  return line.substr(std::min(line.size(), opening.size()));
}

class ProgramEnd : public testing::TestWithParam<int> {};

TEST_P(ProgramEnd, ComesByASignalAndIsClean) {
  Program program({});
  Client client(addressIn(program.readLine()));
  EXPECT_EQ(client.get("/v1/models").status, 200);
  program.signal(GetParam());
  EXPECT_EQ(program.wait(), 0);
}

INSTANTIATE_TEST_SUITE_P(Signals, ProgramEnd, testing::Values(SIGINT, SIGTERM));

TEST(Program, TakesTheKeyFromTheEnvironment) {
  Program program({"--port", "0"}, {"QAI_STANDIN_KEY=the-key"});
  Client client(addressIn(program.readLine()));
  EXPECT_EQ(client.get("/v1/models", {"Authorization: Bearer the-key"}).status, 200);
  EXPECT_EQ(client.get("/v1/models", {"Authorization: Bearer another"}).status, 401);
}

TEST(Program, TellsItsVersion) {
  Program program({"--version"});
  EXPECT_TRUE(program.readLine().starts_with("qai-standin "));
  EXPECT_EQ(program.wait(), 0);
}

TEST(Program, TellsItsOptions) {
  Program program({"--help"});
  const std::string text = program.readAll();
  for (const std::string option : {"--host", "--port", "--cert", "--key-file", "--version", "QAI_STANDIN_KEY"}) {
    EXPECT_NE(text.find(option), std::string::npos) << option;
  }
  EXPECT_EQ(program.wait(), 0);
}

TEST(Program, RefusesAWrongAddress) {
  Program program({"--host", "192.0.2.1"});
  EXPECT_TRUE(program.readLine().starts_with("qai-standin: cannot listen on 192.0.2.1"));
  EXPECT_EQ(program.wait(), 1);
}

TEST(Program, RefusesACertificateWithoutItsKey) {
  Program program({"--cert", "/x.pem"});
  EXPECT_NE(program.wait(), 0);
}

}  // namespace
