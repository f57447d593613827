#include "checks.h"
#include "conversation.h"
#include "services.h"
#include "streams.h"

#include <cf/json_shortcuts.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <iomanip>
#include <sstream>

namespace standin {
namespace {

struct Model {
  std::string_view name;
  std::string_view parameterSize;
};

constexpr std::array kModels{
    Model{"standin:latest", "1B"},
    Model{"standin-code:latest", "3B"},
    Model{"standin:7b", "7B"},
};

constexpr std::array kRoles{
    Role{"system", Speaker::Instructions},
    Role{"user", Speaker::User},
    Role{"assistant", Speaker::Assistant},
};

constexpr Wordings kWordings{
    .notJson = {.text = "unexpected EOF"},
    .missing = {.text = "missing request body"},
    .wrongType = {.text = "json: cannot unmarshal {found} into Go struct field ChatRequest.{path} of type {expected}"},
    .noModel = {.text = "model is required"},
    .unknownModel = {.status = 404, .text = "model '{value}' not found"},
    .wrongOption = {.status = 500, .text = "option \"{path}\" must be of type float32"},
    .expected = {"nil", "map[string]interface {}", "[]api.Message", "string", "float32", "bool"},
    .found = {"null", "object", "array", "string", "number", "bool"},
};

constexpr std::string_view kJsonType = "application/json; charset=utf-8";

Reply refuse(const Flaw& flaw) {
  const Refusal refusal = wordFlaw(flaw, kWordings);
  COJson document;
  document.addKeyValue("error")->setString(refusal.message);
  return {refusal.status, document.obtainJsonString(), std::string(kJsonType)};
}

Reply sendText(int status, std::string text) { return {status, std::move(text), "text/plain"}; }

bool isKnown(std::string_view name) {
  const std::string tagged = std::string(name) + (name.find(':') == std::string_view::npos ? ":latest" : "");
  return std::any_of(kModels.begin(), kModels.end(), [&](const Model& model) { return model.name == tagged; });
}

std::optional<Flaw> checkMessage(const COJsonValue& message, const std::string& path) {
  if (auto flaw = checkOptional(message.obtainJsonValue("role"), JsonType::String, path + ".role")) return flaw;
  return checkOptional(message.obtainJsonValue("content"), JsonType::String, path + ".content");
}

/// That all members are of their types, as far as they are there.
std::optional<Flaw> checkTypes(const COJson& body) {
  struct Member {
    const char* name;
    JsonType type;
  };
  constexpr std::array kMembers{Member{"model", JsonType::String}, Member{"stream", JsonType::Bool},
                                Member{"options", JsonType::Object}, Member{"messages", JsonType::Array}};
  for (const Member& member : kMembers) {
    if (auto flaw = checkOptional(body.obtainJsonValue(member.name), member.type, member.name)) return flaw;
  }
  const COJsonValue* messages = body.obtainJsonValue("messages");
  if (!cfHasJsonType(messages, JsonType::Array)) return std::nullopt;
  return checkItems(messages, "messages", checkMessage);
}

std::optional<Flaw> checkOptions(const COJson& body) {
  const COJsonValue* options = body.obtainJsonValue("options");
  if (options == nullptr) return std::nullopt;
  if (!checkOptional(options->obtainJsonValue("temperature"), JsonType::Number, "")) return std::nullopt;
  return Flaw{&Wordings::wrongOption, "temperature"};
}

std::optional<Flaw> checkChat(const std::string& text, const COJson& body) {
  if (text.empty()) return Flaw{&Wordings::missing};
  if (body.obtainType() != JsonType::Object) return Flaw{&Wordings::notJson};
  if (auto flaw = checkTypes(body)) return flaw;
  const std::string model(textOf(body, "model"));
  if (model.empty()) return Flaw{&Wordings::noModel};
  if (!isKnown(model)) return Flaw{.kind = &Wordings::unknownModel, .value = model};
  return checkOptions(body);
}

/// The time as in "2026-01-31T23:59:59.123456Z".
std::string tellTime() {
  using std::chrono::microseconds;
  const auto now = std::chrono::floor<microseconds>(std::chrono::system_clock::now());
  const auto day = std::chrono::floor<std::chrono::days>(now);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss<microseconds> time(now - day);
  std::ostringstream text;
  text << std::setfill('0') << int(date.year()) << '-' << std::setw(2) << unsigned(date.month()) << '-' << std::setw(2)
       << unsigned(date.day()) << 'T' << std::setw(2) << time.hours().count() << ':' << std::setw(2)
       << time.minutes().count() << ':' << std::setw(2) << time.seconds().count() << '.' << std::setw(6)
       << time.subseconds().count() << 'Z';
  return text.str();
}

void fillReply(COJson& document, std::string_view model, std::string_view text, bool done) {
  document.addKeyValue("model")->setString(model);
  document.addKeyValue("created_at")->setString(tellTime());
  COJsonValue* message = document.addKeyValue("message");
  message->addKeyValue("role")->setString("assistant");
  message->addKeyValue("content")->setString(text);
  if (done) document.addKeyValue("done_reason")->setString("stop");
  document.addKeyValue("done")->setBool(done);
}

/// The end of an answer, with `text` as what is left of it.
std::string lastReply(std::string_view model, std::string_view text, const Answer& answer) {
  COJson document;
  fillReply(document, model, text, true);
  for (const char* duration : {"total_duration", "load_duration", "prompt_eval_duration", "eval_duration"}) {
    document.addKeyValue(duration)->setInteger(1000);  // nanoseconds; nobody measures them here
  }
  document.addKeyValue("prompt_eval_count")->setInteger(answer.wordsAsked);
  document.addKeyValue("eval_count")->setInteger(answer.wordsAnswered);
  return document.obtainJsonString();
}

/// A line of JSON for each piece, and a last one without text.
Reply streamAnswer(const std::string& model, const Answer& answer) {
  const auto write = [model](std::string_view piece, bool /*isLast*/) {
    COJson document;
    fillReply(document, model, piece, false);
    return document.obtainJsonString() + "\n";
  };
  const auto close = [model, answer] { return std::vector{lastReply(model, "", answer) + "\n"}; };
  return streamText(
      {.contentType = "application/x-ndjson", .opening = {}, .text = answer.text, .write = write, .close = close});
}

Reply handleChat(const Call& call) {
  const COJson body(call.request.body);
  if (const auto flaw = checkChat(call.request.body, body)) return refuse(*flaw);
  const COJsonValue* messages = body.obtainJsonValue("messages");
  const Answer answer = answerConversation(messages == nullptr ? Conversation() : readMessages(*messages, kRoles));
  const std::string_view model = textOf(body, "model");
  const COJsonValue* stream = body.obtainJsonValue("stream");
  const bool asksForStream = !cfHasJsonType(stream, JsonType::Bool) || stream->obtainBool();
  if (call.mayStream && asksForStream) return streamAnswer(std::string(model), answer);
  return {200, lastReply(model, answer.text, answer), std::string(kJsonType)};
}

Reply handleTags(const Call& /*call*/) {
  COJson document;
  COJsonValue* models = document.addKeyValue("models");
  for (const Model& model : kModels) {
    COJsonValue* value = models->addArrayItem();
    value->addKeyValue("name")->setString(model.name);
    value->addKeyValue("model")->setString(model.name);
    value->addKeyValue("modified_at")->setString("2026-01-01T00:00:00Z");
    value->addKeyValue("size")->setInteger(0);
    value->addKeyValue("digest")->setString(std::string(64, '0'));
    COJsonValue* details = value->addKeyValue("details");
    details->addKeyValue("format")->setString("gguf");
    details->addKeyValue("family")->setString("standin");
    details->addKeyValue("parameter_size")->setString(model.parameterSize);
  }
  return {200, document.obtainJsonString(), std::string(kJsonType)};
}

constexpr std::array kRoutes{
    Route{"GET", "/", [](const Call&) { return sendText(200, "Ollama is running"); }},
    Route{"GET", "/api/tags", handleTags},
    Route{"POST", "/api/chat", handleChat},
};

}  // namespace

Service ollamaService() {
  return {.home = "/api/",
          .routes = kRoutes,
          .admit = [](const Call&) { return std::optional<Reply>(); },
          .unknownPath = [](const Call&) { return sendText(404, "404 page not found"); },
          .wrongMethod = [](const Call&) { return sendText(405, "405 method not allowed"); }};
}

}  // namespace standin
