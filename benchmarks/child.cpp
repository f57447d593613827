#include "child.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

Child::Child(std::vector<std::string> command) : program_(command.front()) {
  std::array<int, 2> input{};
  std::array<int, 2> output{};
  if (pipe2(input.data(), O_CLOEXEC) != 0 || pipe2(output.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe can be made");
  }
  toChild_.reset(fdopen(input[1], "w"));
  fromChild_.reset(fdopen(output[0], "r"));
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (std::string& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  const int error = posix_spawn(&process_, program_.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(input[0]);
  close(output[1]);
  if (error != 0) throw std::runtime_error(program_ + " can't be started");
}

Child::~Child() {
  toChild_.reset();
  waitpid(process_, nullptr, 0);
}

void Child::writeLine(const std::string& line) {
  if (std::fputs((line + "\n").c_str(), toChild_.get()) < 0 || std::fflush(toChild_.get()) != 0) {
    throw std::runtime_error(program_ + " does not listen");
  }
}

std::string Child::readLine() {
  std::array<char, 256> line{};
  if (std::fgets(line.data(), line.size(), fromChild_.get()) == nullptr) {
    throw std::runtime_error(program_ + " does not answer");
  }
  std::string text = line.data();
  text.pop_back();
  return text;
}
