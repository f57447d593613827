// A turn through the library beside the same request by hand: what the library adds to the network's time.
#include "authorities.h"
#include "conversation.h"
#include "processor.h"
#include "ratio.h"
#include "server.h"

#include <array>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

void require(bool holds, const char* text) {
  if (!holds) throw std::runtime_error(text);
}

/// Both sides of a row of turns, on a server of their own; in TLS when there is an authority.
class Turns {
 public:
  Turns(const Length& length, const BenchAuthority* authority)
      : server_(authority == nullptr ? std::make_unique<BenchServer>()
                                     : std::make_unique<BenchServer>(authority->getServer().certificateFile,
                                                                     authority->getServer().keyFile)),
        ours_(server_->getURL(), length),
        idle_(server_->getURL(), length),
        bare_(server_->getURL(), length, authority == nullptr ? "" : authority->getFolder()) {
    if (authority != nullptr) authority->trustInLibrary();
  }

  Conversation& ours() { return ours_; }
  BareConversation& bare() { return bare_; }
  BenchServer& server() { return *server_; }

  void beforeOurs() { ours_.keepLength(); }
  /// The pause is as long as before ours: while a session is restored the caches empty and the server falls asleep.
  void beforeBare() {
    if (bare_.keepLength()) idle_.restore();
  }

  /// The bytes that a turn of each side sends as its body, which are the same.
  void checkBodies() {
    const long begin = server_->obtainCounts().bodyBytes;
    ours_.turn();
    const long middle = server_->obtainCounts().bodyBytes;
    bare_.turn();
    require(middle - begin == server_->obtainCounts().bodyBytes - middle, "the sides sent different bodies");
  }

 private:
  std::unique_ptr<BenchServer> server_;
  Conversation ours_;
  Conversation idle_;
  BareConversation bare_;
};

ratio::Pair makeTurns(const Length& length, const BenchAuthority* authority) {
  const auto turns = std::make_shared<Turns>(length, authority);
  const long sides = length.isGoingOn ? 3 : 2;  // with the one that only restores
  const long handshakes = authority == nullptr ? 0 : sides;
  turns->beforeOurs();
  turns->beforeBare();
  turns->checkBodies();
  return {.ours = [turns] { turns->ours().turn(); },
          .baseline = [turns] { turns->bare().turn(); },
          .beforeEachOurs = [turns] { turns->beforeOurs(); },
          .beforeEachBaseline = [turns] { turns->beforeBare(); },
          .afterAll =
              [turns, sides, handshakes] {
                const BenchServer::Counts counts = turns->server().obtainCounts();
                require(counts.connections == sides, "a side opened more than one connection");
                require(counts.handshakes == handshakes, "a side shook hands more than once");
              }};
}

/// The server ends the connection before each turn, as services do with those that are idle for long.
ratio::Pair makeReturns(const BenchAuthority& authority) {
  const auto turns = std::make_shared<Turns>(Length{10, 1}, &authority);
  return {.ours = [turns] { turns->ours().turn(); },
          .baseline = [turns] { turns->bare().turn(); },
          .beforeEachOurs =
              [turns] {
                turns->beforeOurs();
                turns->server().closeConnections();
              },
          .beforeEachBaseline =
              [turns] {
                turns->beforeBare();
                turns->bare().client().forgetRetries();
                turns->server().closeConnections();
              },
          .afterAll =
              [turns] {
                const BenchServer::Counts counts = turns->server().obtainCounts();
                require(counts.connections == counts.requests, "a connection outlived the server's end");
                require(counts.resumed == counts.handshakes - 2, "a side shook hands in full more than once");
              }};
}

struct TurnRow {
  const char* name;
  Length length;
  double wall;
};

/// A schema of so many tables before a conversation of so many entries. It is restored after so many turns that they
/// are all alike: the first one makes the text of the schema.
Length withSchema(std::size_t tables, std::size_t entries = 2) {
  return {.entries = entries, .turns = 20, .isGoingOn = true, .tables = tables};
}

const std::vector<TurnRow>& rows() {
  static const std::vector<TurnRow> kRows{{"0", Length::about(0), 1.08},
                                          {"10", Length::about(10), 1.10},
                                          {"100", Length::about(100), 1.10},
                                          {"1000", Length::about(1000), 1.15},
                                          {"schema/10", withSchema(10), 1.10},
                                          {"schema/100", withSchema(100), 1.10},
                                          {"schema/1000", withSchema(1000), 1.10},
                                          {"schema/10000", withSchema(10000), 1.10},
                                          {"schema/1000/after/1000", withSchema(1000, 1000), 1.10}};
  return kRows;
}

}  // namespace

int main(int argc, char** argv) {
  stayOnClientsProcessor();
  const BenchAuthority authority;
  ratio::Table table(argc, argv);
  for (const BenchAuthority* chosen : {static_cast<const BenchAuthority*>(nullptr), &authority}) {
    const std::string prefix = chosen == nullptr ? "turn/plain/" : "turn/tls/";
    for (const auto& [name, length, wall] : rows()) {
      table.compare(prefix + name, {.wall = wall, .cpu = 1.15},
                    [length = length, chosen] { return makeTurns(length, chosen); });
    }
  }
  table.compare("turn/tls/after_idle_close", {.wall = 1.10, .cpu = std::nullopt},
                [&] { return makeReturns(authority); });
  return table.run();
}
