// The memory that a turn takes: how often it allocates, and how much at once.
#include "conversation.h"
#include "ratio.h"
#include "server.h"
#include "support/allocation_probe.h"

#include <stdexcept>
#include <string>

namespace {

// The first turns open the connection and fill what is kept.
constexpr int kTurnsBefore = 3;

struct MemoryCount {
  std::size_t news;         // calls of operator new: the library's and its foundation's
  std::size_t allocations;  // these and libcurl's
  std::size_t peak;         // the most bytes that were live at once, above those at the beginning
};

MemoryCount countNow() {
  return {allocationCount(), allocationCount() + curlAllocationCount(), static_cast<std::size_t>(allocatedBytes())};
}

template <class Talk>
MemoryCount countTurn(Talk& talk) {
  for (int i = 0; i < kTurnsBefore; ++i) {
    talk.keepLength();
    talk.turn();
  }
  talk.keepLength();
  mostAllocatedBytes();
  const MemoryCount before = countNow();
  talk.turn();
  const MemoryCount after = countNow();
  const auto most = static_cast<std::size_t>(mostAllocatedBytes());
  return {after.news - before.news, after.allocations - before.allocations, most - before.peak};
}

MemoryCount countOurs(const Length& length) {
  BenchServer server;
  Conversation ours(server.getURL(), length);
  return countTurn(ours);
}

MemoryCount countBare(const Length& length, std::size_t& bodySize) {
  BenchServer server;
  BareConversation bare(server.getURL(), length);
  const MemoryCount count = countTurn(bare);
  bodySize = bare.bodySize();
  return count;
}

ratio::Figures takeNews(const Length& length) { return {static_cast<double>(countOurs(length).news), std::nullopt}; }

ratio::Figures takeAllocations(const Length& length) {
  std::size_t ignored = 0;
  return {static_cast<double>(countOurs(length).allocations),
          static_cast<double>(countBare(length, ignored).allocations)};
}

/// Of the library, for each of a streamed reply's 10,000 pieces.
ratio::Figures takeNewsOfAPiece() {
  BenchServer server;
  Conversation ours(server.getURL(), {0, 1});
  std::size_t pieces = 0;
  std::size_t news = 0;
  for (int i = 0; i <= kTurnsBefore; ++i) {
    ours.keepLength();
    pieces = 0;
    const std::size_t before = allocationCount();
    ours.streamTurn([&pieces](std::string_view /*piece*/) { ++pieces; });
    news = allocationCount() - before;
  }
  return {static_cast<double>(news) / static_cast<double>(pieces), std::nullopt};
}

/// Beside the size of the body.
ratio::Figures takePeak(const Length& length) {
  std::size_t bodySize = 0;
  countBare(length, bodySize);
  return {static_cast<double>(countOurs(length).peak), static_cast<double>(bodySize)};
}

Length ofEntries(std::size_t entries) { return {entries, 1, entries != 0}; }
Length withSchema(std::size_t tables) { return {2, 1, true, tables}; }

struct MemoryRow {
  const char* name;
  Length length;
  double peak;  // times the body at most; 0: not of interest
};

}  // namespace

int main(int argc, char** argv) {
  using ratio::Bound;
  using ratio::Unit;
  if (!extendProbeToCurl()) throw std::runtime_error("libcurl does not take its memory from here");
  ratio::Table table(argc, argv);
  for (const auto& [name, length, peak] :
       {MemoryRow{"0", ofEntries(0), 0}, MemoryRow{"10", ofEntries(10), 0}, MemoryRow{"100", ofEntries(100), 0},
        MemoryRow{"1000", ofEntries(1000), 2.5}, MemoryRow{"schema/100", withSchema(100), 0},
        MemoryRow{"schema/10000", withSchema(10000), 0.5}}) {
    const std::string prefix = std::string("memory/turn/") + name;
    table.measure(prefix + "/new", {Unit::Count, Bound::AtMost, 60}, [length = length] { return takeNews(length); });
    table.measure(prefix + "/all_with_libcurl", {Unit::Count, Bound::None},
                  [length = length] { return takeAllocations(length); });
    if (peak == 0) continue;
    table.measure(prefix + "/peak", {Unit::Bytes, Bound::AtMostTimes, peak},
                  [length = length] { return takePeak(length); });
  }
  table.measure("memory/stream/new_for_each_piece", {Unit::Count, Bound::AtMost, 0.02}, takeNewsOfAPiece);
  return table.run();
}
