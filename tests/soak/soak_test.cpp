// Turn after turn leaves nothing behind: no memory, no descriptor, no thread. QAI_SOAK_TURNS says how many there are;
// ./test --soak takes a hundred thousand.
#include "../loading/process_state.h"
#include "server_process.h"
#include "soak_host.h"
#include "support/test_ca.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

namespace {

using testing::IsEmpty;

constexpr long kEverydayTurns = 3'000;
constexpr long kEverydaySecureTurns = 2'000;  // each handshake takes its time
constexpr long kWarmUp = 1'000;               // every service has met every fault by then
constexpr long kLookEvery = 1'000;

// The heap at rest is the same to the byte, but for the 3 KiB that the C library takes for itself when the thread that
// cancels frees something for the first time. A leak of 100 bytes in each turn would make at least 100,000 in the
// everyday test.
constexpr std::size_t kHeapGrowth = 16 * 1024;
// The heap was given its pages by then; what is freed is used again. The same leak would make ten times this in the
// long test.
constexpr std::size_t kResidentGrowth = 1024;  // KiB

long turnsToTake(bool isSecure) {
  const char* given = std::getenv("QAI_SOAK_TURNS");
  if (given != nullptr) return std::atol(given);
  return isSecure ? kEverydaySecureTurns : kEverydayTurns;
}

/// In KiB, as the system counts it; 0 under a sanitizer, which keeps freed memory for a while.
std::size_t residentSize() {
  if (currentHoldings().heapBytes == 0) return 0;
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word && word != "VmRSS:") continue;
  std::size_t size = 0;
  status >> size;
  return size;
}

struct Look {
  Holdings holdings = currentHoldings();
  std::size_t resident = residentSize();
};

class Soak : public testing::TestWithParam<const char*> {
 protected:
  void takeTurns(long upTo) {
    while (host_.tally().turns < upTo && host_.tally().defects.empty()) host_.takeTurn();
  }

  Look lookAtRest() {
    host_.rest();
    const Look look;
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
    std::cout << GetParam() << ": " << host_.tally().turns << " turns in " << seconds
              << " s: " << look.holdings.heapBytes << " bytes allocated, " << look.resident << " KiB resident, "
              << look.holdings.descriptors << " descriptors, " << look.holdings.threads << " threads" << std::endl;
    return look;
  }

  const bool isSecure_ = GetParam() == std::string("secure");
  const TestCA authority_;
  const ServerProcess server_{isSecure_ ? makeTLSContext(authority_.issue("localhost")) : nullptr};
  SoakHost host_{server_.address(), isSecure_ ? authority_.getFile() : ""};  // behind the server: it starts a thread
  const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

INSTANTIATE_TEST_SUITE_P(Connections, Soak, testing::Values("plain", "secure"),
                         [](const auto& row) { return std::string(row.param); });

TEST_P(Soak, TurnAfterTurnLeavesNothingBehind) {
  takeTurns(kWarmUp);
  const Look before = lookAtRest();
  const long all = turnsToTake(isSecure_);
  while (host_.tally().turns < all && host_.tally().defects.empty()) {
    takeTurns(std::min(host_.tally().turns + kLookEvery, all));
    const Look now = lookAtRest();
    ASSERT_LE(now.holdings.heapBytes, before.holdings.heapBytes + kHeapGrowth);
    ASSERT_LE(now.resident, before.resident + kResidentGrowth);
    ASSERT_EQ(now.holdings.descriptors, before.holdings.descriptors);
    ASSERT_EQ(now.holdings.threads, before.holdings.threads);
  }
  EXPECT_THAT(host_.tally().defects, IsEmpty());
  EXPECT_EQ(host_.tally().turns, all);
  EXPECT_GE(host_.tally().failed * 5, all * 9 / 10);  // a fifth, but for what a rest cuts short
  EXPECT_GE(host_.tally().streamed * 5, all * 2);
  EXPECT_GT(host_.tally().cancelled, 0);
}

}  // namespace
