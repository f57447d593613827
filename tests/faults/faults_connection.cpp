// Faults of the connection: it is refused, it ends, it waits.
#include "faults.h"

#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;
using raw::Call;
using raw::Close;
using raw::Reset;
using raw::Script;
using raw::Send;
using raw::Stall;

constexpr auto kLimit = 25ms;
constexpr auto kWork = 50ms;

/// The healthy reply up to the middle of its body, which is announced whole.
std::string halfOf(const Exchange& exchange) {
  return head(200, "Content-Length: " + std::to_string(exchange.body.size()) + "\r\n") +
         exchange.body.substr(0, exchange.body.size() / 2);
}

/// The service works on the request, and the connection ends.
Play endsLate(raw::Step end) {
  return [end](const Exchange&) { return Script{Call{[] { std::this_thread::sleep_for(kWork); }}, end}; };
}

/// `start`, and then a byte of `rest` every other millisecond.
Script drip(std::string start, std::string_view rest) {
  Script script{Send{std::move(start)}};
  for (const char byte : rest) {
    script.emplace_back(Call{[] { std::this_thread::sleep_for(2ms); }});
    script.emplace_back(Send{std::string(1, byte)});
  }
  script.emplace_back(Stall{});
  return script;
}

/// The host cancels when the server has sent `start`.
Script cancelled(std::string start, const Exchange& exchange) {
  return {Send{std::move(start)}, Call{exchange.cancel}, Stall{}};
}

}  // namespace

std::vector<Fault> connectionFaults() {
  const std::string refused = "Could not connect to {}: connection refused";
  // libcurl may tell of a handshake with no TLS in it in several ways.
  const std::vector<std::string> noTLS{"No secure connection to {}*", kLost, kUnanswered, kNotHTTP};
  return {
      {.name = "refused", .verdict = Verdict::Transport, .texts = {refused}, .place = Place::Refusing},
      {.name = "server_of_the_other_scheme",
       .verdict = Verdict::Transport,
       .texts = noTLS,
       .place = Place::OtherScheme},
      {.name = "closed_before_the_reply",
       .play = sends("", Close{}),
       .verdict = Verdict::Transport,
       .texts = {kUnanswered}},
      {.name = "reset_before_the_reply",
       .play = sends("", Reset{}),
       .verdict = Verdict::Transport,
       .texts = {kUnanswered}},
      {.name = "closed_in_the_status_line",
       .play = sends("HTTP/1.1 20", Close{}),
       .verdict = Verdict::Transport,
       .texts = {kUnanswered}},
      {.name = "closed_in_the_headers",
       .play = sends("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n", Close{}),
       .verdict = Verdict::Transport,
       .texts = {kLost}},
      {.name = "reset_in_the_headers",
       .play = sends("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n", Reset{}),
       .verdict = Verdict::Transport,
       .texts = {kLost}},
      {.name = "closed_behind_an_interim_reply",
       .play = sends("HTTP/1.1 100 Continue\r\n\r\n", Close{}),
       .verdict = Verdict::Transport,
       .texts = {kUnanswered}},
      {.name = "closed_before_the_body",
       .play = sends(head(200, "Content-Length: 100\r\n"), Close{}),
       .verdict = Verdict::Transport,
       .texts = {kLost}},
      {.name = "closed_in_the_body",
       .play =
           [](const Exchange& exchange) {
             return Script{Send{halfOf(exchange)}, Close{}};
           },
       .verdict = Verdict::Transport,
       .texts = {kLost}},
      {.name = "reset_in_the_body",
       .play =
           [](const Exchange& exchange) {
             return Script{Send{halfOf(exchange)}, Reset{}};
           },
       .verdict = Verdict::Transport,
       .texts = {kLost}},
      {.name = "closed_after_some_work",
       .play = endsLate(Close{}),
       .verdict = Verdict::Transport,
       .texts = {kUnanswered},
       .wait = kWork},
      {.name = "reset_after_some_work",
       .play = endsLate(Reset{}),
       .verdict = Verdict::Transport,
       .texts = {kUnanswered},
       .wait = kWork},
      {.name = "closed_between_requests", .between = Between::Close},
      {.name = "reset_between_requests", .between = Between::Reset},
      {.name = "bytes_behind_a_reply", .between = Between::BytesWithTheReply},
      {.name = "bytes_between_requests", .between = Between::BytesLater},
  };
}

std::vector<Fault> waitingFaults() {
  const std::vector<std::string> tooLate{"No reply from {} within 0.025 s", "Could not connect to {} within 0.025 s"};
  std::vector<std::string> cancelledOrLate = tooLate;  // a service that does not use its pool can't be cancelled
  cancelledOrLate.emplace_back("The request was cancelled");
  return {
      {.name = "no_reply",
       .play = sends("", Stall{}),
       .verdict = Verdict::Transport,
       .texts = tooLate,
       .limit = kLimit},
      {.name = "stalls_in_the_headers",
       .play = sends("HTTP/1.1 200 OK\r\nContent-", Stall{}),
       .verdict = Verdict::Transport,
       .texts = tooLate,
       .limit = kLimit},
      {.name = "stalls_in_the_body",
       .play =
           [](const Exchange& exchange) {
             return Script{Send{halfOf(exchange)}, Stall{}};
           },
       .verdict = Verdict::Transport,
       .texts = tooLate,
       .limit = kLimit},
      {.name = "crawls_in_the_headers",
       .play = [](const Exchange&) { return drip("HTTP/1.1 200 OK\r\nX: ", std::string(200, 'x')); },
       .verdict = Verdict::Transport,
       .texts = tooLate,
       .limit = kLimit},
      {.name = "crawls_in_the_body",
       .play = [](const Exchange&) { return drip(head(200, "Content-Length: 1000\r\n"), std::string(200, ' ')); },
       .verdict = Verdict::Transport,
       .texts = tooLate,
       .limit = kLimit},
      {.name = "cancelled_before_the_reply",
       .play = [](const Exchange& exchange) { return cancelled("", exchange); },
       .verdict = Verdict::Transport,
       .texts = cancelledOrLate,
       .limit = kLimit,
       .cancels = true},
      {.name = "cancelled_in_the_headers",
       .play = [](const Exchange& exchange) { return cancelled("HTTP/1.1 200 OK\r\n", exchange); },
       .verdict = Verdict::Transport,
       .texts = cancelledOrLate,
       .limit = kLimit,
       .cancels = true},
      {.name = "cancelled_in_the_body",
       .play = [](const Exchange& exchange) { return cancelled(halfOf(exchange), exchange); },
       .verdict = Verdict::Transport,
       .texts = cancelledOrLate,
       .limit = kLimit,
       .cancels = true},
  };
}

std::string head(int status, std::string_view fields) {
  return "HTTP/1.1 " + std::to_string(status) + " Whatever\r\n" + std::string(fields) + "\r\n";
}

Play sends(std::string bytes, raw::Step end) {
  return [script = Script{Send{std::move(bytes)}, std::move(end)}](const Exchange&) { return script; };
}

Play sends(std::string bytes) {
  return [script = Script{Send{std::move(bytes)}}](const Exchange&) { return script; };
}

Play sendsBody(std::function<std::string(std::string body)> change) {
  return [change = std::move(change)](const Exchange& exchange) {
    return Script{Send{raw::reply(200, change(exchange.body))}};
  };
}

const std::vector<Fault>& allFaults() {
  static const std::vector<Fault> kFaults = [] {
    std::vector<Fault> faults;
    for (auto* part : {connectionFaults, waitingFaults, framingFaults, redirectFaults, statusFaults, contentFaults,
                       readingFaults, runFaults, streamFaults}) {
      for (Fault& fault : part()) faults.push_back(std::move(fault));
    }
    return faults;
  }();
  return kFaults;
}
