// Replies of a wrong form, which differ with what is read; and runs that do not go as they should.
#include "faults.h"

#include <algorithm>
#include <chrono>
#include <cstddef>

namespace {

using namespace std::chrono_literals;
using raw::Call;
using raw::Script;
using raw::Send;
using raw::Stall;

using Readings = std::map<Reading, ReadingFault>;

constexpr Verdict kFormat = Verdict::Format;
constexpr Verdict kSuccess = Verdict::Success;
constexpr Verdict kStatus = Verdict::Status;

Fault perReading(const char* name, Readings readings) {
  return {.name = name,
          .play =
              [readings](const Exchange& exchange) {
                return Script{Send{raw::reply(200, readings.at(exchange.reading).body)}};
              },
          .readings = readings};
}

/// One body whatever is read; `exceptions` says of what is read where more than the form is told.
Readings everywhere(const std::string& body, Readings exceptions) {
  Readings readings = std::move(exceptions);
  for (int reading = 0; reading <= static_cast<int>(Reading::Messages); ++reading) {
    readings.try_emplace(static_cast<Reading>(reading), ReadingFault{body, kFormat});
  }
  readings.try_emplace(Reading::Nothing, ReadingFault{body, kSuccess});
  return readings;
}

Readings errorUnder200() {
  const std::string body = R"({"error":{"message":"said under 200","code":"x"}})";
  return everywhere(body, {{Reading::AssistantModels, {body, kStatus, "said under 200"}}});
}

const Readings kNullMembers{
    {Reading::CompletionModels, {R"({"object":"list","data":null})", kFormat}},
    {Reading::AssistantModels, {R"({"object":"list","data":null,"error":null})", kFormat}},
    {Reading::OllamaModels, {R"({"models":null})", kFormat}},
    {Reading::GoogleModels, {R"({"models":null})", kFormat}},
    {Reading::CompletionTurn, {R"({"choices":null})", kFormat}},
    {Reading::OllamaTurn, {R"({"message":null})", kFormat}},
    {Reading::GoogleTurn, {R"({"candidates":null})", kFormat}},
    {Reading::Identifier, {R"({"id":null})", kFormat}},
    {Reading::RunState, {R"({"status":null})", kFormat}},
    {Reading::Messages, {R"({"data":null})", kFormat}},
};

const Readings kMembersOfWrongTypes{
    {Reading::CompletionModels, {R"({"data":{"id":"m1","object":"model","created":1}})", kFormat}},
    {Reading::AssistantModels, {R"({"data":"m1","error":"no object"})", kFormat}},
    {Reading::OllamaModels, {R"({"models":"m1"})", kFormat}},
    {Reading::GoogleModels, {R"({"models":{"name":"models/m1"}})", kFormat}},
    {Reading::CompletionTurn, {R"({"choices":{"message":{"role":"assistant","content":"x"}}})", kFormat}},
    {Reading::OllamaTurn, {R"({"message":["assistant","x"]})", kFormat}},
    {Reading::GoogleTurn, {R"({"candidates":"x"})", kFormat}},
    {Reading::Identifier, {R"({"id":7})", kFormat}},
    {Reading::RunState, {R"({"status":["completed"]})", kFormat}},
    {Reading::Messages, {R"({"data":{"0":{}}})", kFormat}},
};

// An empty list is a list, and an empty identifier names nothing.
const Readings kEmptyMembers{
    {Reading::CompletionModels, {R"({"data":[]})", kSuccess}},
    {Reading::AssistantModels, {R"({"data":[]})", kSuccess}},
    {Reading::OllamaModels, {R"({"models":[]})", kSuccess}},
    {Reading::GoogleModels, {R"({"models":[]})", kSuccess}},
    {Reading::CompletionTurn, {R"({"choices":[]})", kSuccess}},
    {Reading::OllamaTurn, {R"({"message":{}})", kFormat}},
    {Reading::GoogleTurn, {R"({"candidates":[]})", kSuccess}},
    {Reading::Identifier, {R"({"id":""})", kFormat}},
    {Reading::Messages, {R"({"data":[]})", kSuccess}},
};

const Readings kNullContent{
    {Reading::CompletionModels, {R"({"data":[null]})", kSuccess}},
    {Reading::AssistantModels, {R"({"data":[null]})", kSuccess}},
    {Reading::OllamaModels, {R"({"models":[null]})", kSuccess}},
    {Reading::GoogleModels, {R"({"models":[null]})", kSuccess}},
    {Reading::CompletionTurn, {R"({"choices":[{"message":{"role":"assistant","content":null}}]})", kSuccess}},
    {Reading::OllamaTurn, {R"({"message":{"role":"assistant","content":null}})", kFormat}},
    {Reading::GoogleTurn, {R"({"candidates":[{"content":null,"finishReason":"SAFETY"}]})", kSuccess}},
    {Reading::Messages, {R"({"data":[{"created_at":1,"content":null}]})", kSuccess}},
};

const Readings kItemsOfWrongTypes{
    {Reading::CompletionModels,
     {R"({"data":[1,"x",[],{},{"id":1,"object":"model","created":1},{"id":"a","object":7}]})", kSuccess}},
    {Reading::AssistantModels, {R"({"data":[1,"x",[],{},{"id":"a","object":"model","created":"1"}]})", kSuccess}},
    {Reading::OllamaModels, {R"({"models":[1,"x",[],{},{"name":{}}]})", kSuccess}},
    {Reading::GoogleModels,
     {R"({"models":[1,"x",{"name":1},{"name":"models/a"},{"name":"models/b","supportedGenerationMethods":[1,null]}]})",
      kSuccess}},
    {Reading::CompletionTurn,
     {R"({"choices":[1,"x",[],{},{"message":1},{"message":{"role":1,"content":2}}]})", kSuccess}},
    {Reading::OllamaTurn, {R"({"message":{"role":7,"content":"x"}})", kSuccess}},
    {Reading::GoogleTurn,
     {R"({"candidates":[1,{"content":[]},{"content":{"role":"model","parts":[1,{"text":2},null]}}]})", kSuccess}},
    {Reading::Messages,
     {R"({"data":[1,{"created_at":1,"content":[1,{"type":2},{"type":"text","text":3},{"type":"image_file"}]}]})",
      kSuccess}},
};

const Readings kNumbersBeyondRange{
    {Reading::CompletionModels, {R"({"data":[{"id":"m1","object":"model","created":1e400}]})", kSuccess, kModel}},
    {Reading::AssistantModels, {R"({"data":[{"id":"m1","object":"model","created":-1e400}]})", kSuccess, kModel}},
    {Reading::Messages,
     {R"({"data":[{"created_at":18446744073709551616,"content":[{"type":"text","text":{"value":"x"}}]}]})", kSuccess,
      "x"}},
};

/// Only of a run's state: the reply to poll number n (from 0) is body n, the later ones the last.
Fault ofRun(const char* name, std::vector<std::string> bodies, Verdict verdict, std::vector<std::string> texts = {}) {
  const std::chrono::milliseconds wait = bodies.size() == 1 ? 0ms : 1000ms;
  return {.name = name,
          .play =
              [bodies](const Exchange& exchange) {
                const auto number = std::min(static_cast<std::size_t>(exchange.played), bodies.size() - 1);
                return Script{Send{raw::reply(200, bodies[number])}};
              },
          .verdict = verdict,
          .texts = std::move(texts),
          .readings = {{Reading::RunState, {"", verdict}}},
          .wait = wait};
}

/// A run that never comes to its end: it is polled again, and then the host cancels.
Fault endlessRun(const char* name, const std::string& body) {
  return {.name = name,
          .play =
              [body](const Exchange& exchange) {
                if (exchange.played == 0) return Script{Send{raw::reply(200, body)}};
                return Script{Call{exchange.cancel}, Stall{}};
              },
          .verdict = Verdict::Transport,
          .texts = {"The request was cancelled"},
          .readings = {{Reading::RunState, {"", Verdict::Transport}}},
          .wait = 250ms,
          .cancels = true};
}

std::string state(const char* name) { return R"({"id":"run_1","status":")" + std::string(name) + R"("})"; }

}  // namespace

std::vector<Fault> readingFaults() {
  return {perReading("error_under_200", errorUnder200()),
          perReading("null_members", kNullMembers),
          perReading("members_of_wrong_types", kMembersOfWrongTypes),
          perReading("empty_members", kEmptyMembers),
          perReading("null_content", kNullContent),
          perReading("items_of_wrong_types", kItemsOfWrongTypes),
          perReading("numbers_beyond_range", kNumbersBeyondRange)};
}

std::vector<Fault> runFaults() {
  const std::string failed = R"({"status":"failed","last_error":{"code":"server_error","message":"Sorry"}})";
  return {
      endlessRun("run_stuck", state("in_progress")),
      endlessRun("run_of_unknown_state", state("dreaming")),
      endlessRun("run_cancelled_at_the_service", state("cancelled")),
      endlessRun("run_that_needs_action", state("requires_action")),
      endlessRun("run_of_empty_state", state("")),
      ofRun("run_that_regresses", {state("in_progress"), state("queued"), state("completed")}, kSuccess),
      ofRun("run_failed", {failed}, kStatus, {"server_error: Sorry"}),
      ofRun("run_failed_without_a_word", {state("failed")}, kFormat),
      ofRun("run_failed_with_wrong_types", {R"({"status":"failed","last_error":{"code":1,"message":[]}})"}, kFormat),
      ofRun("run_expired", {state("expired")}, kStatus, {"Timeout"}),
      ofRun("run_incomplete", {state("incomplete")}, kStatus, {"Timeout"}),
      ofRun("run_without_its_id", {R"({"status":"completed"})"}, kSuccess),
      ofRun("run_under_another_id", {R"({"id":"run_2","status":"completed"})"}, kSuccess),
  };
}
