#include "completions.h"

#include "streams.h"

#include <cf/json_shortcuts.h>
#include <cf/text.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <utility>
#include <vector>

namespace standin {
namespace {

constexpr std::string_view kReasoning = "I look for a rule that fits.";

Reply refuse(const Flaw& flaw, const CompletionsDialect& dialect) {
  return dialect.refuse(wordFlaw(flaw, dialect.wordings));
}

Flaw unknownModel(std::string_view id) { return {.kind = &Wordings::unknownModel, .value = std::string(id)}; }

std::optional<Flaw> checkMessage(const COJsonValue& message, const std::string& path,
                                 const CompletionsDialect& dialect) {
  const COJsonValue* role = message.obtainJsonValue("role");
  const std::string rolePath = path + ".role";
  if (auto flaw = checkMember(role, JsonType::String, rolePath)) return flaw;
  if (findRole(dialect.roles, role->obtainString()) == nullptr) {
    return Flaw{&Wordings::unknownRole, rolePath, std::string(role->obtainString())};
  }
  return checkMember(message.obtainJsonValue("content"), JsonType::String, path + ".content");
}

std::optional<Flaw> checkStreamOptions(const COJson& body) {
  constexpr const char* kPath = "stream_options";
  if (auto flaw = checkOptional(body.obtainJsonValue("stream"), JsonType::Bool, "stream")) return flaw;
  const COJsonValue* options = body.obtainJsonValue(kPath);
  if (auto flaw = checkOptional(options, JsonType::Object, kPath)) return flaw;
  if (!cfHasJsonType(options, JsonType::Object) || flagOf(body, "stream")) return std::nullopt;
  return Flaw{&Wordings::optionsWithoutStream, kPath};
}

std::optional<Flaw> checkChat(const COJson& body, const CompletionsDialect& dialect) {
  if (body.obtainType() != JsonType::Object) return Flaw{&Wordings::notJson};
  const COJsonValue* id = body.obtainJsonValue("model");
  if (id == nullptr) return Flaw{&Wordings::noModel};
  if (auto flaw = checkMember(id, JsonType::String, "model")) return flaw;
  const auto check = [&](const COJsonValue& message, const std::string& path) {
    return checkMessage(message, path, dialect);
  };
  if (auto flaw = checkSomeItems(body.obtainJsonValue("messages"), "messages", check)) return flaw;
  if (auto flaw = checkStreamOptions(body)) return flaw;
  const CompletionModel* model = findModel(id->obtainString(), dialect);
  if (model == nullptr) return unknownModel(id->obtainString());
  return checkTemperatureOf(*model, body.obtainJsonValue("temperature"));
}

void fillModel(COJsonValue* value, const CompletionModel& model, const CompletionsDialect& dialect) {
  value->addKeyValue("id")->setString(model.id);
  value->addKeyValue("object")->setString("model");
  if (model.created != 0) value->addKeyValue("created")->setInteger(model.created);
  value->addKeyValue("owned_by")->setString(dialect.owner);
}

void fillChoice(COJsonValue* choice, const CompletionModel& model, const std::string& text, bool tellsRefusal) {
  choice->addKeyValue("index")->setInteger(0);
  COJsonValue* message = choice->addKeyValue("message");
  message->addKeyValue("role")->setString("assistant");
  message->addKeyValue("content")->setString(text);
  if (tellsRefusal) message->addKeyValue("refusal");
  if (model.tellsReasoning) message->addKeyValue("reasoning_content")->setString(kReasoning);
  choice->addKeyValue("logprobs");
  choice->addKeyValue("finish_reason")->setString("stop");
}

void fillDetailedUsage(COJsonValue* usage, const Answer& answer, const CompletionsDialect& dialect) {
  fillUsage(usage, answer);
  usage->addKeyValue("prompt_tokens_details")->addKeyValue("cached_tokens")->setInteger(answer.wordsCached);
  if (!dialect.tellsCacheMisses) return;
  usage->addKeyValue("prompt_cache_hit_tokens")->setInteger(answer.wordsCached);
  usage->addKeyValue("prompt_cache_miss_tokens")->setInteger(answer.wordsAsked - answer.wordsCached);
}

/// What a completion and each event of a stream begin with.
struct CompletionHead {
  std::string id;
  std::int64_t created;
  const CompletionModel& model;
};

CompletionHead beginCompletion(const CompletionModel& model, const CompletionsDialect& dialect) {
  static std::atomic<std::int64_t> lastNumber{0};
  return {.id = std::string(dialect.idPrefix) + std::to_string(++lastNumber), .created = currentTime(), .model = model};
}

void fillHead(COJson& document, const CompletionHead& head, std::string_view object) {
  document.addKeyValue("id")->setString(head.id);
  document.addKeyValue("object")->setString(object);
  document.addKeyValue("created")->setInteger(head.created);
  document.addKeyValue("model")->setString(head.model.id);
}

Reply sendCompletion(const CompletionHead& head, const Answer& answer, const CompletionsDialect& dialect) {
  COJson document;
  fillHead(document, head, "chat.completion");
  fillChoice(document.addKeyValue("choices")->addArrayItem(), head.model, answer.text, dialect.tellsRefusal);
  fillDetailedUsage(document.addKeyValue("usage"), answer, dialect);
  return {.body = std::string(dialect.opening) + document.obtainJsonString()};
}

/// A completion on its way.
struct CompletionStream {
  CompletionHead head;
  Answer answer;
  const CompletionsDialect& dialect;
  bool asksForUsage;
};

/// What the events of a stream differ in.
struct Chunk {
  std::vector<std::pair<std::string_view, std::optional<std::string_view>>> delta = {};  // nothing: null
  bool isEnd = false;                                                                    // of the answer
  bool hasChoice = true;  // the answer's; usage may come without
  bool hasUsage = false;
};

void fillChunkChoice(COJsonValue* choice, const Chunk& chunk) {
  choice->addKeyValue("index")->setInteger(0);
  COJsonValue* delta = choice->addKeyValue("delta");
  delta->setObject();
  for (const auto& [name, text] : chunk.delta) {
    COJsonValue* value = delta->addKeyValue(name);
    if (text) value->setString(*text);
  }
  choice->addKeyValue("logprobs");
  COJsonValue* reason = choice->addKeyValue("finish_reason");
  if (chunk.isEnd) reason->setString("stop");
}

std::string writeChunk(const CompletionStream& stream, const Chunk& chunk) {
  COJson document;
  fillHead(document, stream.head, "chat.completion.chunk");
  COJsonValue* choices = document.addKeyValue("choices");
  choices->setArray();
  if (chunk.hasChoice) fillChunkChoice(choices->addArrayItem(), chunk);
  if (stream.asksForUsage || stream.dialect.tellsCacheMisses) {
    COJsonValue* usage = document.addKeyValue("usage");
    if (chunk.hasUsage) fillDetailedUsage(usage, stream.answer, stream.dialect);
  }
  return writeEvent(document.obtainJsonString());
}

std::vector<std::string> openCompletion(const CompletionStream& stream) {
  Chunk role{.delta = {{"role", "assistant"}, {"content", ""}}};
  if (stream.dialect.tellsRefusal) role.delta.emplace_back("refusal", std::nullopt);
  std::vector<std::string> events{std::string(stream.dialect.streamOpening), writeChunk(stream, role)};
  if (!stream.head.model.tellsReasoning) return events;
  for (const std::string& piece : cutText(kReasoning)) {
    events.push_back(writeChunk(stream, {.delta = {{"content", std::nullopt}, {"reasoning_content", piece}}}));
  }
  return events;
}

std::vector<std::string> closeCompletion(const CompletionStream& stream) {
  std::vector<std::string> events{writeChunk(stream, {.isEnd = true, .hasUsage = stream.dialect.tellsCacheMisses})};
  if (stream.asksForUsage) events.push_back(writeChunk(stream, {.hasChoice = false, .hasUsage = true}));
  events.push_back(writeEvent("[DONE]"));
  return events;
}

Reply streamCompletion(const CompletionStream& stream) {
  return streamText({.contentType = "text/event-stream; charset=utf-8",
                     .opening = openCompletion(stream),
                     .text = stream.answer.text,
                     .write =
                         [stream](std::string_view piece, bool /*isLast*/) {
                           return writeChunk(stream, {.delta = {{"content", piece}}});
                         },
                     .close = [stream] { return closeCompletion(stream); }});
}

}  // namespace

const CompletionModel* findModel(std::string_view id, const CompletionsDialect& dialect) {
  const auto found = std::find_if(dialect.models.begin(), dialect.models.end(),
                                  [&](const CompletionModel& model) { return model.id == id; });
  return found == dialect.models.end() ? nullptr : &*found;
}

std::optional<Flaw> checkTemperatureOf(const CompletionModel& model, const COJsonValue* temperature) {
  constexpr const char* kPath = "temperature";
  if (auto flaw = checkTemperature(temperature, kPath)) return flaw;
  if (!model.fixedTemperature || !cfHasJsonType(temperature, JsonType::Number)) return std::nullopt;
  const double value = temperature->obtainNumber();
  if (value == 1.0) return std::nullopt;
  return Flaw{&Wordings::fixedTemperature, kPath, cfNumberToText(value)};
}

std::int64_t currentTime() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::seconds>(now).count();
}

void fillUsage(COJsonValue* usage, const Answer& answer) {
  usage->addKeyValue("prompt_tokens")->setInteger(answer.wordsAsked);
  usage->addKeyValue("completion_tokens")->setInteger(answer.wordsAnswered);
  usage->addKeyValue("total_tokens")->setInteger(answer.wordsAsked + answer.wordsAnswered);
}

Reply sendCompletionsError(int status, const CompletionsError& error) {
  const auto setTextOrNull = [](COJsonValue* value, const std::string& text) {
    if (!text.empty()) value->setString(text);
  };
  COJson document;
  COJsonValue* value = document.addKeyValue("error");
  value->addKeyValue("message")->setString(error.message);
  value->addKeyValue("type")->setString(error.type);
  setTextOrNull(value->addKeyValue("param"), error.param);
  setTextOrNull(value->addKeyValue("code"), error.code);
  return {.status = status, .body = document.obtainJsonString()};
}

std::optional<Reply> admitByBearerKey(const Call& call, const CompletionsDialect& dialect) {
  const auto flaw = checkKey(bearerKey(call.request), call.apiKey, dialect.keyMask);
  if (!flaw) return std::nullopt;
  return refuse(*flaw, dialect);
}

Reply listModels(const CompletionsDialect& dialect) {
  COJson document;
  document.addKeyValue("object")->setString("list");
  COJsonValue* data = document.addKeyValue("data");
  for (const CompletionModel& model : dialect.models) fillModel(data->addArrayItem(), model, dialect);
  return {.body = document.obtainJsonString()};
}

Reply tellModel(const std::string& id, const CompletionsDialect& dialect) {
  const CompletionModel* model = findModel(id, dialect);
  if (model == nullptr) return refuse(unknownModel(id), dialect);
  COJson document;
  fillModel(&document, *model, dialect);
  return {.body = document.obtainJsonString()};
}

Reply completeChat(const Call& call, const CompletionsDialect& dialect) {
  const COJson body(call.request.body);
  if (const auto flaw = checkChat(body, dialect)) return refuse(*flaw, dialect);
  const Conversation conversation = readMessages(*body.obtainJsonValue("messages"), dialect.roles);
  const CompletionModel* model = findModel(body.obtainJsonValue("model")->obtainString(), dialect);
  const CompletionHead head = beginCompletion(*model, dialect);
  const Answer answer = answerConversation(conversation);
  if (!call.mayStream || !flagOf(body, "stream")) return sendCompletion(head, answer, dialect);
  const COJsonValue* options = body.obtainJsonValue("stream_options");
  const bool asksForUsage = options != nullptr && flagOf(*options, "include_usage");
  return streamCompletion({.head = head, .answer = answer, .dialect = dialect, .asksForUsage = asksForUsage});
}

}  // namespace standin
