// The first verified HTTPS turn of a process, each time in a process of its own.
#include "authorities.h"
#include "child.h"
#include "conversation.h"
#include "processor.h"
#include "ratio.h"
#include "server.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr Length kLength{10, 1};
constexpr int kPairs = 200;

/// first_bench --once ours|bare URL AUTHORITIES: one turn, from the making of all that it needs on. Prints nanoseconds.
/// `AUTHORITIES` is the library's file, or libcurl's folder.
int runOnce(std::string_view side, const std::string& url, const std::string& authorities) {
  const auto begin = std::chrono::steady_clock::now();
  if (side == "ours") {
    CMRestGlobalSettings settings;
    settings.caFile = authorities;
    QAISetHTTPSettings(settings);
    Conversation conversation(url, kLength);
    conversation.keepLength();
    conversation.turn();
  } else {
    BareConversation conversation(url, kLength, authorities);
    conversation.keepLength();
    conversation.turn();
  }
  const std::chrono::nanoseconds time = std::chrono::steady_clock::now() - begin;
  std::cout << time.count() << '\n';
  return 0;
}

double runInProcess(const std::string& program, const std::string& side, const BenchServer& server,
                    const std::string& authorities) {
  return 1e-9 * std::stod(Child({program, "--once", side, server.getURL(), authorities}).readLine());
}

// Not the median: on a machine that is busy about half of the processes wait for another one's time slice, 4 ms, and a
// median falls between the two kinds.
double lowerQuartile(std::vector<double> values) {
  const auto quartile = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 4);
  std::nth_element(values.begin(), quartile, values.end());
  return *quartile;
}

ratio::Figures takeFirstTurns(const std::string& program) {
  const BenchAuthority authority;
  BenchServer server(authority.getServer().certificateFile, authority.getServer().keyFile);
  std::vector<double> ours;
  std::vector<double> bare;
  for (int pair = 0; pair < kPairs; ++pair) {
    ours.push_back(runInProcess(program, "ours", server, authority.getFile()));
    bare.push_back(runInProcess(program, "bare", server, authority.getFolder()));
  }
  return {lowerQuartile(std::move(ours)), lowerQuartile(std::move(bare))};
}

}  // namespace

int main(int argc, char** argv) {
  stayOnClientsProcessor();
  const std::vector<std::string> arguments(argv, argv + argc);
  if (argc == 5 && arguments[1] == "--once") return runOnce(arguments[2], arguments[3], arguments[4]);
  ratio::Table table(argc, argv);
  table.measure("turn/tls/first_of_a_process", {ratio::Unit::Seconds, ratio::Bound::AtMostTimes, 1.10},
                [&] { return takeFirstTurns(arguments[0]); });
  return table.run();
}
