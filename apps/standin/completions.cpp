#include "completions.h"

#include <cf/json_shortcuts.h>
#include <cf/text.h>

#include <algorithm>
#include <atomic>
#include <chrono>

namespace standin {
namespace {

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

std::optional<Flaw> checkChat(const COJson& body, const CompletionsDialect& dialect) {
  if (body.obtainType() != JsonType::Object) return Flaw{&Wordings::notJson};
  const COJsonValue* id = body.obtainJsonValue("model");
  if (id == nullptr) return Flaw{&Wordings::noModel};
  if (auto flaw = checkMember(id, JsonType::String, "model")) return flaw;
  const auto check = [&](const COJsonValue& message, const std::string& path) {
    return checkMessage(message, path, dialect);
  };
  if (auto flaw = checkSomeItems(body.obtainJsonValue("messages"), "messages", check)) return flaw;
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
  if (model.tellsReasoning) message->addKeyValue("reasoning_content")->setString("I look for a rule that fits.");
  choice->addKeyValue("logprobs");
  choice->addKeyValue("finish_reason")->setString("stop");
}

Reply sendCompletion(const CompletionModel& model, const Answer& answer, const CompletionsDialect& dialect) {
  static std::atomic<std::int64_t> lastNumber{0};
  COJson document;
  document.addKeyValue("id")->setString(std::string(dialect.idPrefix) + std::to_string(++lastNumber));
  document.addKeyValue("object")->setString("chat.completion");
  document.addKeyValue("created")->setInteger(currentTime());
  document.addKeyValue("model")->setString(model.id);
  fillChoice(document.addKeyValue("choices")->addArrayItem(), model, answer.text, dialect.tellsRefusal);
  fillUsage(document.addKeyValue("usage"), answer);
  return {.body = std::string(dialect.opening) + document.obtainJsonString()};
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
  return sendCompletion(*model, answerConversation(conversation), dialect);
}

}  // namespace standin
