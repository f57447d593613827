// A turn through the library beside the same request by hand: what the library adds to the network's time.
#include "conversation.h"
#include "processor.h"
#include "ratio.h"
#include "server.h"
#include "support/test_ca.h"

#include <qai.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace {

/// Both sides of a row of turns on a server of their own.
class Turns {
 public:
  explicit Turns(std::size_t entries) : ours_(server_.getURL(), entries), bare_(server_.getURL(), entries) {}

  Conversation& ours() { return ours_; }
  BareConversation& bare() { return bare_; }

  /// The pool must have kept the one connection; the numbers of requests are equal by how rows are run.
  void check() {
    const BenchServer::Counts counts = server_.obtainCounts();
    if (counts.connections != 2) throw std::runtime_error("a side opened a connection more than once");
  }

 private:
  BenchServer server_;
  Conversation ours_;
  BareConversation bare_;
};

ratio::Pair makeTurns(std::size_t entries) {
  const auto turns = std::make_shared<Turns>(entries);
  return {.ours = [turns] { turns->ours().turn(); },
          .baseline = [turns] { turns->bare().turn(); },
          .beforeEachOurs = [turns] { turns->ours().keepLength(); },
          .beforeEachBaseline = [turns] { turns->bare().keepLength(); },
          .afterAll = [turns] { turns->check(); }};
}

struct Length {
  std::size_t entries;
  double wall;
};
constexpr Length kLengths[] = {{0, 1.08}, {10, 1.10}, {100, 1.10}, {1000, 1.15}};

}  // namespace

int main(int argc, char** argv) {
  stayOn(Processor::First);
  ratio::Table table(argc, argv);
  for (const auto& [entries, wall] : kLengths) {
    table.compare("turn/plain/" + std::to_string(entries), {.wall = wall, .cpu = 1.15},
                  [entries = entries] { return makeTurns(entries); });
  }
  return table.run();
}
