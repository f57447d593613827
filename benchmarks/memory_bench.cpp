// The memory that a turn takes: how often it allocates, and how much at once.
#include "conversation.h"
#include "memory_count.h"
#include "ratio.h"
#include "server.h"

#include <string>

namespace {

// The first turns open the connection and fill what is kept.
constexpr int kTurnsBefore = 3;

template <class Talk>
MemoryCount countTurn(Talk& talk) {
  for (int i = 0; i < kTurnsBefore; ++i) {
    talk.keepLength();
    talk.turn();
  }
  talk.keepLength();
  beginMemoryCount();
  talk.turn();
  return endMemoryCount();
}

MemoryCount countOurs(std::size_t entries) {
  BenchServer server;
  Conversation ours(server.getURL(), {entries, 1, entries != 0});
  return countTurn(ours);
}

MemoryCount countBare(std::size_t entries, std::size_t& bodySize) {
  BenchServer server;
  BareConversation bare(server.getURL(), {entries, 1, entries != 0});
  const MemoryCount count = countTurn(bare);
  bodySize = bare.bodySize();
  return count;
}

ratio::Figures takeNews(std::size_t entries) { return {static_cast<double>(countOurs(entries).news), std::nullopt}; }

ratio::Figures takeAllocations(std::size_t entries) {
  std::size_t ignored = 0;
  return {static_cast<double>(countOurs(entries).allocations),
          static_cast<double>(countBare(entries, ignored).allocations)};
}

ratio::Figures takePeak(std::size_t entries) {
  std::size_t bodySize = 0;
  countBare(entries, bodySize);
  return {static_cast<double>(countOurs(entries).peak), static_cast<double>(bodySize)};
}

}  // namespace

int main(int argc, char** argv) {
  using ratio::Bound;
  using ratio::Unit;
  ratio::Table table(argc, argv);
  for (const std::size_t entries : {0U, 10U, 100U, 1000U}) {
    const std::string length = std::to_string(entries);
    table.measure("memory/turn/" + length + "/new", {Unit::Count, Bound::AtMost, 60},
                  [entries] { return takeNews(entries); });
    table.measure("memory/turn/" + length + "/all_with_libcurl", {Unit::Count, Bound::None},
                  [entries] { return takeAllocations(entries); });
  }
  // The baseline is the size of the body.
  table.measure("memory/turn/1000/peak", {Unit::Bytes, Bound::AtMostTimes, 2.5}, [] { return takePeak(1000); });
  return table.run();
}
