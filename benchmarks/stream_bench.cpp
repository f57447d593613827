// A streamed turn through the library beside the same by hand: what the library adds while a reply comes.
#include "bare_stream.h"
#include "conversation.h"
#include "processor.h"
#include "ratio.h"
#include "server.h"

#include <qai_extensions.h>

#include <charconv>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using std::chrono::steady_clock;

constexpr Length kShort{.entries = 0, .turns = 1};
constexpr std::size_t kBurstBytes = 40'000;

/// Both sides of a streamed turn: an assistant of the chat-completions service, and libcurl by hand with the same body.
class Streams {
 public:
  using Sink = std::function<void(std::string_view)>;

  /// `path` is the server's way to stream: "" at once.
  Streams(const std::string& path, Length length)
      : ours_(server_.getURL() + path, length),
        parser_([this](std::string_view piece) { sink_(piece); }),
        bare_(server_.getURL() + path, length, "", [this](std::string_view part) { parser_.receive(part); }) {}

  std::size_t stream(bool isOurs, Sink sink) {
    sink_ = std::move(sink);
    if (isOurs) return ours_.streamTurn(sink_);
    bare_.turn();
    return parser_.takeText().size();
  }
  void prepare(bool isOurs) {
    if (isOurs) {
      ours_.keepLength();
    } else {
      bare_.keepLength();
    }
  }

 private:
  BenchServer server_;
  Conversation ours_;
  Sink sink_;
  BareStream parser_;
  BareConversation bare_;
};

void requireBurst(std::size_t bytes) {
  if (bytes != kBurstBytes) throw std::runtime_error("the text is not the one that was sent");
}

ratio::Pair makeBurst() {
  const auto streams = std::make_shared<Streams>("", kShort);
  const auto run = [streams](bool isOurs) {
    std::size_t bytes = 0;
    requireBurst(streams->stream(isOurs, [&bytes](std::string_view piece) { bytes += piece.size(); }));
    requireBurst(bytes);
  };
  return {.ours = [run] { run(true); },
          .baseline = [run] { run(false); },
          .beforeEachOurs = [streams] { streams->prepare(true); },
          .beforeEachBaseline = [streams] { streams->prepare(false); }};
}

/// Seconds from the server's write of a piece to the sink, over a whole reply.
double takeDelay(Streams& streams, bool isOurs) {
  std::vector<double> delays;
  streams.prepare(isOurs);
  streams.stream(isOurs, [&delays](std::string_view piece) {
    const auto now = steady_clock::now().time_since_epoch();
    std::int64_t sent = 0;
    std::from_chars(piece.data(), piece.data() + piece.size(), sent);
    delays.push_back(std::chrono::duration<double>(now - std::chrono::nanoseconds(sent)).count());
  });
  return ratio::median(delays);
}

/// Seconds from the call to the first piece.
double takeFirst(Streams& streams, bool isOurs) {
  streams.prepare(isOurs);
  const auto begin = steady_clock::now();
  std::optional<double> time;
  streams.stream(isOurs, [&](std::string_view) {
    if (!time) time = std::chrono::duration<double>(steady_clock::now() - begin).count();
  });
  return time.value();
}

/// The medians of both sides, taken in turn.
ratio::Figures compare(Streams& streams, double (*take)(Streams&, bool), int rounds) {
  std::vector<double> ours;
  std::vector<double> bare;
  take(streams, true);  // a process's first call makes what the later ones have
  take(streams, false);
  for (int i = 0; i < rounds; ++i) {
    ours.push_back(take(streams, true));
    bare.push_back(take(streams, false));
  }
  return {.ours = ratio::median(ours), .baseline = ratio::median(bare)};
}

}  // namespace

int main(int argc, char** argv) {
  stayOnClientsProcessor();
  ratio::Table table(argc, argv);
  const int rounds = table.isOnce() ? 1 : 21;
  table.compare("stream/burst/10000", {.wall = 1.15, .cpu = 1.15}, makeBurst);
  table.measure("stream/delay", {ratio::Unit::Seconds, ratio::Bound::AtMostTimes, 1.10}, [rounds] {
    Streams streams("/paced", kShort);
    return compare(streams, takeDelay, rounds);
  });
  table.measure("stream/first/schema/1000", {ratio::Unit::Seconds, ratio::Bound::AtMostTimes, 1.10}, [rounds] {
    Streams streams("", {.entries = 2, .turns = 20, .isGoingOn = true, .tables = 1000});
    return compare(streams, takeFirst, rounds);
  });
  return table.run();
}
