#include "server.h"

#include <sstream>

namespace {

std::vector<std::string> makeCommand(const std::vector<std::string>& arguments) {
  std::vector<std::string> command{BENCH_SERVER_PROGRAM};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

}  // namespace

BenchServer::BenchServer(std::string beginOfURL, const std::vector<std::string>& arguments)
    : program_(makeCommand(arguments)), url_(std::move(beginOfURL) + program_.readLine()) {}

BenchServer::Counts BenchServer::obtainCounts() {
  program_.writeLine("stats");
  std::istringstream line(program_.readLine());
  Counts counts{};
  line >> counts.connections >> counts.handshakes >> counts.resumed >> counts.requests >> counts.bodyBytes;
  return counts;
}

void BenchServer::closeConnections() {
  program_.writeLine("close");
  program_.readLine();
}
