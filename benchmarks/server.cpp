#include "server.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <sstream>
#include <stdexcept>

namespace {

void require(bool done) {
  if (!done) throw std::runtime_error("bench_server does not answer");
}

}  // namespace

BenchServer::BenchServer(const std::string& certificateFile, const std::string& keyFile) {
  std::array<int, 2> input{};
  std::array<int, 2> output{};
  require(pipe2(input.data(), O_CLOEXEC) == 0 && pipe2(output.data(), O_CLOEXEC) == 0);
  toServer_.reset(fdopen(input[1], "w"));
  fromServer_.reset(fdopen(output[0], "r"));

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
  std::string program = BENCH_SERVER_PROGRAM;
  std::string certificate = certificateFile;
  std::string key = keyFile;
  std::array<char*, 4> arguments{program.data(), certificate.data(), key.data(), nullptr};
  if (certificate.empty()) arguments[1] = nullptr;
  const int error = posix_spawn(&process_, program.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(input[0]);
  close(output[1]);
  require(error == 0);
  const std::string port = readLine();
  url_ = (certificate.empty() ? "http://127.0.0.1:" : "https://localhost:") + port;
}

BenchServer::~BenchServer() {
  toServer_.reset();  // the end of its input
  waitpid(process_, nullptr, 0);
}

std::string BenchServer::readLine() {
  std::array<char, 256> line{};
  require(std::fgets(line.data(), line.size(), fromServer_.get()) != nullptr);
  std::string text = line.data();
  text.pop_back();
  return text;
}

std::string BenchServer::tell(const std::string& word) {
  require(std::fputs((word + "\n").c_str(), toServer_.get()) >= 0 && std::fflush(toServer_.get()) == 0);
  return readLine();
}

BenchServer::Counts BenchServer::obtainCounts() {
  std::istringstream line(tell("stats"));
  Counts counts{};
  line >> counts.connections >> counts.handshakes >> counts.resumed >> counts.requests >> counts.bodyBytes;
  return counts;
}

void BenchServer::closeConnections() { tell("close"); }
