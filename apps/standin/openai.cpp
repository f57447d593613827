#include "openai.h"

#include "openai_checks.h"
#include "rules.h"

#include <cf/json.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <sstream>
#include <utility>

namespace standin {
namespace {

/// What a chat request asks: the instructions, the conversation so far and the question at its end.
struct Conversation {
  std::string instructions;
  std::vector<Turn> history;
  std::string question;
};

Conversation readConversation(const COJsonValue& messages) {
  Conversation conversation;
  for (std::size_t i = 0; i < messages.obtainArraySize(); ++i) {
    const COJsonValue* message = messages.obtainArrayItem(i);
    const std::string_view role = message->obtainJsonValue("role")->obtainString();
    const std::string text(message->obtainJsonValue("content")->obtainString());
    if (role == "developer" || role == "system") conversation.instructions += text + "\n";
    if (role == "user" || role == "assistant") conversation.history.push_back({role == "user", text});
  }
  if (!conversation.history.empty() && conversation.history.back().fromUser) {
    conversation.question = std::move(conversation.history.back().text);
    conversation.history.pop_back();
  }
  return conversation;
}

/// No tokens are counted here, only words.
std::int64_t countWords(const std::string& text) {
  std::istringstream words(text);
  std::int64_t count = 0;
  for (std::string word; words >> word;) ++count;
  return count;
}

std::int64_t countWords(const Conversation& conversation) {
  std::int64_t count = countWords(conversation.instructions) + countWords(conversation.question);
  for (const Turn& turn : conversation.history) count += countWords(turn.text);
  return count;
}

void fillModel(COJsonValue* value, const OpenaiModel& model) {
  value->addKeyValue("id")->setString(model.id);
  value->addKeyValue("object")->setString("model");
  value->addKeyValue("created")->setInteger(model.created);
  value->addKeyValue("owned_by")->setString("standin");
}

void fillUsage(COJsonValue* usage, std::int64_t asked, std::int64_t answered) {
  usage->addKeyValue("prompt_tokens")->setInteger(asked);
  usage->addKeyValue("completion_tokens")->setInteger(answered);
  usage->addKeyValue("total_tokens")->setInteger(asked + answered);
}

void fillChoice(COJsonValue* choice, const std::string& text) {
  choice->addKeyValue("index")->setInteger(0);
  COJsonValue* message = choice->addKeyValue("message");
  message->addKeyValue("role")->setString("assistant");
  message->addKeyValue("content")->setString(text);
  message->addKeyValue("refusal");
  choice->addKeyValue("finish_reason")->setString("stop");
}

Reply completeChat(std::string_view model, const Conversation& conversation) {
  static std::atomic<std::int64_t> lastNumber{0};
  const std::string answer = answerQuestion(conversation.instructions, conversation.history, conversation.question);
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  COJson document;
  document.addKeyValue("id")->setString("chatcmpl-standin-" + std::to_string(++lastNumber));
  document.addKeyValue("object")->setString("chat.completion");
  document.addKeyValue("created")->setInteger(std::chrono::duration_cast<std::chrono::seconds>(now).count());
  document.addKeyValue("model")->setString(model);
  fillChoice(document.addKeyValue("choices")->addArrayItem(), answer);
  fillUsage(document.addKeyValue("usage"), countWords(conversation), countWords(answer));
  return {.body = document.obtainJsonString()};
}

Reply handleModels(const Call& call) {
  if (const auto refusal = checkKey(call)) return refuse(*refusal);
  COJson document;
  document.addKeyValue("object")->setString("list");
  COJsonValue* data = document.addKeyValue("data");
  for (const OpenaiModel& model : openaiModels()) fillModel(data->addArrayItem(), model);
  return {.body = document.obtainJsonString()};
}

Reply handleModel(const Call& call) {
  if (const auto refusal = checkKey(call)) return refuse(*refusal);
  const OpenaiModel* model = findOpenaiModel(call.captured.front());
  if (model == nullptr) return refuse(unknownModel(call.captured.front()));
  COJson document;
  fillModel(&document, *model);
  return {.body = document.obtainJsonString()};
}

Reply handleChat(const Call& call) {
  if (const auto refusal = checkKey(call)) return refuse(*refusal);
  const COJson body(call.request.body);
  if (const auto refusal = checkChat(body)) return refuse(*refusal);
  return completeChat(body.obtainJsonValue("model")->obtainString(),
                      readConversation(*body.obtainJsonValue("messages")));
}

Reply handleUnknownPath(const Call& call) {
  return refuse({404, "Invalid URL (" + call.request.method + " " + call.request.path + ")"});
}

Reply handleWrongMethod(const Call& call) {
  return refuse({405, "Not allowed to " + call.request.method + " on " + call.request.path +
                          ". (HINT: Perhaps you meant to use a different HTTP method?)"});
}

constexpr std::array kRoutes{
    Route{"GET", "/v1/models", handleModels},
    Route{"GET", "/v1/models/*", handleModel},
    Route{"POST", "/v1/chat/completions", handleChat},
};

}  // namespace

Service openaiService() {
  return {.routes = kRoutes, .unknownPath = handleUnknownPath, .wrongMethod = handleWrongMethod};
}

}  // namespace standin
