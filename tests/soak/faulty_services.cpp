#include "faulty_services.h"

#include "support/services.h"
#include "support/streams.h"

#include <algorithm>
#include <iterator>

namespace {

using raw::Close;
using raw::Reset;
using raw::Send;
using raw::SendForever;
using raw::Stall;

constexpr std::string_view kMark = "fault=";
constexpr std::string_view kStreamingMethod = ":streamGenerateContent";

raw::Script ok(std::string_view body) { return {Send{raw::reply(200, body)}}; }

/// "NAME@STEP" behind the mark in `text`; "" when there is none.
std::string_view findFault(std::string_view text) {
  const auto begin = text.find(kMark);
  if (begin == std::string_view::npos) return {};
  text.remove_prefix(begin + kMark.size());
  return text.substr(0, text.find(';'));
}

std::string_view nameOf(std::string_view fault) { return fault.substr(0, fault.find('@')); }
std::string_view stepOf(std::string_view fault) { return fault.substr(fault.find('@') + 1); }

const raw::Script& scriptOf(std::string_view name) {
  const auto& faults = allFaults();
  const auto found = std::find_if(faults.begin(), faults.end(), [&](const auto& fault) { return fault.name == name; });
  return found->script;  // the questions name no others
}

/// The service whose own address `path` is; null when it is the Assistants service's.
const TestedService* findChatService(std::string_view path, const char* TestedService::*own) {
  const auto& services = chatServices();
  const auto found = std::find_if(services.begin(), services.end(),
                                  [&](const TestedService& service) { return path == service.*own; });
  return found == services.end() ? nullptr : &*found;
}

std::string object(std::string_view id, std::string_view further = "") {
  return R"({"id":")" + std::string(id) + '"' + std::string(further) + "}";
}

/// Whether the request asks for a stream: in its address or in its body.
bool asksForStream(std::string_view path, std::string_view request) {
  return path.ends_with(kStreamingMethod) || request.find(R"("stream":true)") != std::string_view::npos;
}

/// The path as of a request for a whole reply.
std::string withoutStreaming(std::string_view path) {
  if (!path.ends_with(kStreamingMethod)) return std::string(path);
  return std::string(path.substr(0, path.size() - kStreamingMethod.size())).append(":generateContent");
}

raw::Script reply(const TestedService& service, bool isStreamed) {
  if (!isStreamed) return ok(service.replyBody);
  return {Send{raw::reply(200, streamOf(service.form, service.replyBody),
                          "Content-Type: " + std::string(streamTypeOf(service.form)) + "\r\n")}};
}

constexpr std::string_view kThreads = "/v1/threads";
constexpr std::string_view kMessageList =
    R"({"object":"list","data":[{"id":"m","created_at":1,"role":"assistant","content":[)"
    R"({"type":"text","text":{"value":"two ","annotations":[]}},{"type":"text","text":{"value":"parts"}}]}]})";

}  // namespace

const std::vector<NamedFault>& allFaults() {
  static const std::string kHead = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n";
  static const std::string kStream = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n";
  static const std::string kRun = "event: thread.run.created\ndata: {\"id\":\"run_1\"}\n\n";
  static const std::vector<NamedFault> kFaults{
      {"unauthorised", {Send{raw::reply(401, R"({"error":{"message":"Incorrect API key","code":"x"}})")}}},
      {"reset", {Reset{}}},
      {"stall", {Stall{}}},
      {"error_page", {Send{raw::reply(502, "<html>Bad Gateway</html>", "Connection: close\r\n")}, Close{}}},
      {"cut_head", {Send{"HTTP/1.1 200 OK\r\nContent-Le"}, Close{}}},
      {"cut_body", {Send{kHead + "Content-Length: 100\r\n\r\n{\"choices\":["}, Close{}}},
      {"reset_body", {Send{kHead + "Content-Length: 100\r\n\r\n{\"choices\":["}, Reset{}}},
      {"cut_chunks", {Send{kHead + "Transfer-Encoding: chunked\r\n\r\n5\r\n{\"a\":\r\n"}, Close{}}},
      {"bad_chunk", {Send{kHead + "Transfer-Encoding: chunked\r\n\r\nxyz\r\n{}"}, Close{}}},
      {"bad_gzip", {Send{raw::reply(200, "{}", "Content-Encoding: gzip\r\n")}}},
      {"empty", {Send{raw::reply(200, "")}}},
      {"bad_json", {Send{raw::reply(200, R"({"choices":[{"message":)")}}},
      {"wrong_format", {Send{raw::reply(200, R"({"choices":7,"error":[]})")}}},
      {"deep_json", {Send{raw::reply(200, std::string(20'000, '['))}}},
      {"no_utf8", {Send{raw::reply(200, "{\"choices\":\"\xC3\x28\"}")}}},
      {"endless", {Send{kHead + "\r\n"}, SendForever{std::string(4096, ' ')}}},
      {"busy", {Send{raw::reply(429, "")}}},
      {"cut_stream", {Send{kStream + kRun + "data: {\"choices\":["}, Close{}}},
      {"reset_stream", {Send{kStream + kRun}, Reset{}}},
      {"stream_without_an_end", {Send{kStream + kRun}, Close{}}},
      {"bad_event", {Send{kStream + kRun + "data: no JSON\n\n"}, Close{}}},
      {"error_in_a_stream", {Send{kStream + kRun + "data: {\"error\":{\"message\":\"overloaded\"}}\n\n"}, Close{}}},
      {"moved", {Send{raw::reply(307, "", "Location: http://127.0.0.1:1/\r\n")}}},
  };
  return kFaults;
}

raw::Script FaultyServices::answer(const std::string& request) {
  const auto space = request.find(' ');
  const std::string method = request.substr(0, space);
  const std::string target = request.substr(space + 1, request.find(' ', space + 1) - space - 1);
  const std::string sentTo = target.substr(0, target.find('?'));
  const bool isStreamed = asksForStream(sentTo, request);
  const std::string path = withoutStreaming(sentTo);
  if (path.starts_with(kThreads)) return answerThread(method, path, request);
  if (method == "DELETE") return ok(object("gone", R"(,"deleted":true)"));
  if (path.starts_with("/v1/assistants")) return ok(object("asst_1"));
  if (method == "GET") return ok(findChatService(path, &TestedService::modelsPath)->modelsBody);
  const std::string_view fault = findFault(request);
  if (!fault.empty()) return scriptOf(nameOf(fault));
  return reply(*findChatService(path, &TestedService::chatPath), isStreamed);
}

/// What is below /v1/threads: its step is what the path ends with.
raw::Script FaultyServices::answerThread(const std::string& method, const std::string& path,
                                         const std::string& request) {
  if (path == kThreads) return ok(object(newId("thread")));
  if (method == "DELETE") return ok(object("gone", R"(,"deleted":true)"));
  const std::string rest = path.substr(kThreads.size() + 1);
  if (rest.ends_with("/cancel")) return ok(object("run_1", R"(,"status":"cancelled")"));
  const std::string thread = rest.substr(0, rest.find('/'));
  const bool isPost = method == "POST";
  const bool isMessage = rest.ends_with("/messages");
  if (isMessage && isPost) remember(thread, findFault(request));
  const std::string_view step = isMessage ? (isPost ? kSteps[0] : kSteps[3]) : (isPost ? kSteps[1] : kSteps[2]);
  if (const std::string fault = findDue(thread, step); !fault.empty()) return scriptOf(nameOf(fault));
  if (isMessage) return ok(isPost ? object(newId("msg")) : kMessageList);
  const std::string run = object("run_1", R"(,"status":"completed")");
  if (!asksForStream(path, request)) return ok(run);
  return {Send{raw::reply(200, streamOfRun(run, std::string(kMessageList)), "Content-Type: text/event-stream\r\n")}};
}

/// Until the thread's next message.
void FaultyServices::remember(const std::string& thread, std::string_view fault) {
  const std::lock_guard lock(mutex_);
  due_.erase(thread);
  if (!fault.empty()) due_[thread] = fault;
}

/// The fault that `thread` meets at `step`; "" when there is none.
std::string FaultyServices::findDue(const std::string& thread, std::string_view step) {
  const std::lock_guard lock(mutex_);
  const auto due = due_.find(thread);
  return due == due_.end() || stepOf(due->second) != step ? std::string() : due->second;
}

std::string FaultyServices::newId(std::string_view kind) {
  const std::lock_guard lock(mutex_);
  return std::string(kind) + "_" + std::to_string(++ids_);
}
