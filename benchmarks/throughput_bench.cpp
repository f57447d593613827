// Turns of several assistants at once, each on a thread of its own.
#include "conversation.h"
#include "processor.h"
#include "ratio.h"
#include "server.h"

#include <algorithm>
#include <barrier>
#include <chrono>
#include <exception>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr Length kLength{0, 40};  // a conversation from its first turn on

/// All talks at once, each through its turns; gives turns per second.
template <class Talk>
double runRound(std::vector<std::unique_ptr<Talk>>& talks) {
  std::barrier together(static_cast<std::ptrdiff_t>(talks.size() + 1));
  std::vector<std::exception_ptr> errors(talks.size());
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < talks.size(); ++i) {
    threads.emplace_back([&, i] {
      stayOnProcessor(static_cast<unsigned>(i) % countProcessors());
      talks[i]->keepLength();
      together.arrive_and_wait();
      try {
        talks[i]->turn();
        for (std::size_t turn = 1; turn < kLength.turns; ++turn) {
          talks[i]->keepLength();
          talks[i]->turn();
        }
      } catch (...) {
        errors[i] = std::current_exception();
      }
    });
  }
  together.arrive_and_wait();
  const auto begin = std::chrono::steady_clock::now();
  for (std::thread& thread : threads) thread.join();
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
  for (const std::exception_ptr& error : errors) {
    if (error) std::rethrow_exception(error);
  }
  return static_cast<double>(talks.size() * kLength.turns) / time.count();
}

/// In so many rounds, of which odd ones begin with ours.
ratio::Figures takeThroughput(std::size_t threads, int rounds) {
  BenchServer server;
  std::vector<std::unique_ptr<Conversation>> ours;
  std::vector<std::unique_ptr<BareConversation>> bare;
  for (std::size_t i = 0; i < threads; ++i) {
    ours.push_back(std::make_unique<Conversation>(server.getURL(), kLength));
    bare.push_back(std::make_unique<BareConversation>(server.getURL(), kLength));
  }
  std::vector<double> oursRates;
  std::vector<double> bareRates;
  for (int round = 0; round < rounds; ++round) {
    const bool oursFirst = round % 2 == 1;
    if (oursFirst) oursRates.push_back(runRound(ours));
    bareRates.push_back(runRound(bare));
    if (!oursFirst) oursRates.push_back(runRound(ours));
  }
  return {ratio::median(oursRates), ratio::median(bareRates)};
}

}  // namespace

int main(int argc, char** argv) {
  ratio::Table table(argc, argv);
  const int rounds = table.isOnce() ? 2 : 100;
  for (const std::size_t threads : {1U, 2U, 4U, 8U, 16U}) {
    table.measure("throughput/assistants/" + std::to_string(threads),
                  {ratio::Unit::PerSecond, ratio::Bound::AtLeastTimes, 0.9},
                  [threads, rounds] { return takeThroughput(threads, rounds); });
  }
  return table.run();
}
