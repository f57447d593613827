// Streamed replies that go wrong behind a good beginning.
#include "faults.h"

#include <chrono>

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using raw::Call;
using raw::Close;
using raw::Reset;
using raw::Script;
using raw::Send;
using raw::Stall;

/// Where the second half of a stream's events begins, whether they are lines or have blank lines between them.
std::size_t middleOf(const std::string& stream) {
  const std::string end = stream.find("\n\n") == std::string::npos ? "\n" : "\n\n";
  return stream.find(end, stream.size() / 2) + end.size();
}

/// Half of the events, and then `steps`.
Play behindHalf(const Script& steps) {
  return [steps](const Exchange& exchange) {
    Script script{Send{head(200, kClosing) + exchange.body.substr(0, middleOf(exchange.body))}};
    script.insert(script.end(), steps.begin(), steps.end());
    return script;
  };
}

/// The same, and then an event of this text, as the service's streams have them.
Play behindHalfEvent(const std::string& data) {
  return [data](const Exchange& exchange) {
    const bool isLines = exchange.body.find("\n\n") == std::string::npos;
    return behindHalf({Send{isLines ? data + "\n" : "data: " + data + "\n\n"}, Close{}})(exchange);
  };
}

Fault ofStream(const char* name, Play play, Verdict verdict, std::vector<std::string> texts = {}) {
  return {.name = name,
          .play = std::move(play),
          .verdict = verdict,
          .texts = std::move(texts),
          .readings = {{Reading::Stream, {"", verdict}}}};
}

Fault limited(Fault fault) {
  fault.limit = 25ms;
  return fault;
}

Fault cancelled() {
  Fault fault = limited(ofStream(
      "stream_cancelled",
      [](const Exchange& exchange) {
        return behindHalf({Call{exchange.cancel}, Stall{}})(exchange);
      },
      Verdict::Transport,
      {"The request was cancelled", "No reply from {} within 0.025 s", "Could not connect to {} within 0.025 s"}));
  fault.cancels = true;
  return fault;
}

}  // namespace

std::vector<Fault> streamFaults() {
  const std::vector<std::string> tooLate{"No reply from {} within 0.025 s", "Could not connect to {} within 0.025 s"};
  return {
      ofStream("stream_closed_in_the_middle", behindHalf({Close{}}), Verdict::Incomplete),
      ofStream("stream_closed_in_an_event", behindHalf({Send{"{\"x"}, Close{}}), Verdict::Incomplete),
      ofStream("stream_reset_in_the_middle", behindHalf({Reset{}}), Verdict::Transport, {kLost}),
      ofStream("stream_event_of_no_json", behindHalfEvent("hello"), Verdict::NoJson),
      ofStream("stream_event_of_no_utf8", behindHalfEvent("\"\xff\xfe\""), Verdict::NoJson),
      ofStream("stream_event_of_deep_json", behindHalfEvent(std::string(100'000, '[')), Verdict::NoJson),
      ofStream("stream_error_told", behindHalfEvent(R"({"error":{"message":"overloaded"}})"), Verdict::Status,
               {"overloaded"}),
      ofStream("stream_error_told_as_text", behindHalfEvent(R"({"error":"overloaded"})"), Verdict::Status,
               {"overloaded"}),
      ofStream("stream_error_that_is_mute", behindHalfEvent(R"({"error":{"code":7}})"), Verdict::Status,
               {R"({"error":{"code":7}})"}),
      limited(ofStream("stream_stalls", behindHalf({Stall{}}), Verdict::Transport, tooLate)),
      cancelled(),
  };
}
