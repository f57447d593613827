// Refusals of the service: statuses with bodies of every kind.
#include "faults.h"

#include <cf/json.h>

namespace {

using raw::Script;
using raw::Send;

// Services, and what stands in front of them, use these.
constexpr int kStatuses[] = {401, 403, 404, 408, 409, 413, 422, 429, 500, 502, 503, 529};

struct Body {
  const char* name;
  std::string bytes;
  std::string told;  // empty: what the status means
};

const std::vector<Body>& bodies() {
  static const std::string kHTML = "<html><body><h1>Sorry</h1></body></html>\r\n";
  static const std::string kLong(std::size_t{1} << 20, 'x');
  static const std::string kNotUTF8 = "\xff\xfe gr\xfc\xdf";
  static const std::string kWrongTypes = R"({"error":{"message":{"text":"no"},"code":7}})";
  static const std::vector<Body> kBodies{
      {"json", R"({"error":{"message":"Слишком много","type":"x","code":null}})", "Слишком много"},
      {"html", kHTML, kHTML},
      {"nothing", "", ""},
      {"a_mebibyte", kLong, kLong},
      {"other_than_utf8", kNotUTF8, kNotUTF8},
      {"json_of_wrong_types", kWrongTypes, kWrongTypes},
  };
  return kBodies;
}

Fault refusal(const std::string& name, int status, const std::string& body, const std::string& told) {
  return {.name = name,
          .play = [status, &body](const Exchange&) { return Script{Send{raw::reply(status, body)}}; },
          .verdict = Verdict::Status,
          .texts = {told.empty() ? "HTTP " + std::to_string(status) + "*" : told}};
}

/// A body that says what was asked, the key in it included, as proxies' pages do.
raw::Script echo(int status, const Exchange& exchange) { return {Send{raw::reply(status, exchange.request)}}; }

raw::Script echoInJson(int status, const Exchange& exchange) {
  COJson body;
  body.addKeyValue("error")->addKeyValue("message")->setString(exchange.request);
  return {Send{raw::reply(status, body.obtainJsonString())}};
}

}  // namespace

std::vector<Fault> statusFaults() {
  std::vector<Fault> faults;
  for (const int status : kStatuses) {
    for (const Body& body : bodies()) {
      faults.push_back(
          refusal("status_" + std::to_string(status) + "_with_" + body.name, status, body.bytes, body.told));
    }
  }
  faults.push_back({.name = "echo_of_the_request",
                    .play = [](const Exchange& exchange) { return echo(502, exchange); },
                    .verdict = Verdict::TheRequest});
  faults.push_back({.name = "echo_of_the_request_in_json",
                    .play = [](const Exchange& exchange) { return echoInJson(401, exchange); },
                    .verdict = Verdict::TheRequest});
  faults.push_back({.name = "echo_of_the_request_under_200",
                    .play = [](const Exchange& exchange) { return echo(200, exchange); },
                    .verdict = Verdict::NoJson});
  faults.push_back({.name = "echo_of_the_key_in_the_reason",
                    .play = sends("HTTP/1.1 403 No " + kKey + "\r\nX: " + kKey + "\r\nContent-Length: 0\r\n\r\n"),
                    .verdict = Verdict::Status,
                    .texts = {"HTTP 403 Forbidden"}});
  return faults;
}
