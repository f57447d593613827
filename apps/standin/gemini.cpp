#include "checks.h"
#include "conversation.h"
#include "request.h"
#include "services.h"
#include "streams.h"

#include <cf/json.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <variant>

namespace standin {
namespace {

constexpr std::string_view kGenerate = "generateContent";
constexpr std::string_view kEmbed = "embedContent";

struct Model {
  std::string_view id;
  std::string_view method;  // the one by which it is called
};

constexpr std::array kModels{
    Model{"gemini-standin-pro", kGenerate},
    Model{"gemini-standin", kGenerate},
    Model{"gemini-standin-embedding", kEmbed},
    Model{"gemini-standin-lite", kGenerate},
};

constexpr std::array kRoles{
    Role{"user", Speaker::User},
    Role{"model", Speaker::Assistant},
};

constexpr std::array<std::string_view, 8> kBodyNames{"contents",         "tools",        "toolConfig",
                                                     "safetySettings",   "model",        "systemInstruction",
                                                     "generationConfig", "cachedContent"};

constexpr std::string_view kInvalid = "INVALID_ARGUMENT";

constexpr Wordings kWordings{
    .noKey = {403, "PERMISSION_DENIED",
              "Method doesn't allow unregistered callers (callers without established identity). Please use API Key or "
              "other form of API consumer identity to call this API."},
    .wrongKey = {400, kInvalid, "API key not valid. Please pass a valid API key."},
    .notJson = {400, kInvalid, "Invalid JSON payload received. Unable to parse the request as an object."},
    .missing = {400, kInvalid, "* GenerateContentRequest.{path}: {path} is not specified\n"},
    .wrongType = {400, kInvalid, "Invalid value at '{path}' ({expected}), found {found}"},
    .emptyArray = {400, kInvalid, "* GenerateContentRequest.{path}: {path} is not specified\n"},
    .unknownRole = {400, kInvalid, "Please use a valid role: user, model."},
    .unknownName = {400, kInvalid, "Invalid JSON payload received. Unknown name \"{value}\": Cannot find field."},
    .unknownModel = {404, "NOT_FOUND",
                     "models/{value} is not found for API version v1beta, or is not supported for generateContent. "
                     "Call ListModels to see the list of available models and their supported methods."},
    .tooLow = {400, kInvalid, "* GenerateContentRequest.{path}: temperature must be in the range [0.0, 2.0].\n"},
    .tooHigh = {400, kInvalid, "* GenerateContentRequest.{path}: temperature must be in the range [0.0, 2.0].\n"},
    .wrongPageSize = {400, kInvalid, "Invalid value at 'page_size' (TYPE_INT32), \"{value}\""},
    .wrongPageToken = {400, kInvalid, "Invalid page token."},
    .expected = {"TYPE_NULL", "TYPE_MESSAGE", "repeated TYPE_MESSAGE", "TYPE_STRING", "TYPE_FLOAT", "TYPE_BOOL"},
    .found = {"null", "an object", "a list", "a string", "a number", "a boolean"},
};

Reply refuse(const Flaw& flaw) {
  const Refusal refusal = wordFlaw(flaw, kWordings);
  COJson document;
  COJsonValue* error = document.addKeyValue("error");
  error->addKeyValue("code")->setInteger(refusal.status);
  error->addKeyValue("message")->setString(refusal.message);
  error->addKeyValue("status")->setString(refusal.label);
  return {.status = refusal.status, .body = document.obtainJsonString()};
}

std::optional<Reply> admit(const Call& call) {
  const auto flaw = checkKey(queryValue(call.request, "key"), call.apiKey);
  if (!flaw) return std::nullopt;
  return refuse(*flaw);
}

/// The second way in which the service takes names: "system_instruction" for "systemInstruction".
std::string snakeCase(std::string_view name) {
  std::string snake;
  for (const char c : name) {
    const auto letter = static_cast<unsigned char>(c);
    if (std::isupper(letter) != 0) snake += '_';
    snake += static_cast<char>(std::tolower(letter));
  }
  return snake;
}

/// The member `name`, in either way; a null is as good as none.
const COJsonValue* findMember(const COJsonValue& object, std::string_view name) {
  for (const std::string& key : {std::string(name), snakeCase(name)}) {
    const COJsonValue* value = object.obtainJsonValue(key);
    if (value != nullptr && value->obtainType() != JsonType::Null) return value;
  }
  return nullptr;
}

std::optional<Flaw> checkNames(const COJson& body) {
  for (const std::string& key : body.obtainJsonKeys()) {
    const bool known = std::any_of(kBodyNames.begin(), kBodyNames.end(),
                                   [&](std::string_view name) { return key == name || key == snakeCase(name); });
    if (!known) return Flaw{.kind = &Wordings::unknownName, .value = key};
  }
  return std::nullopt;
}

std::optional<Flaw> checkPart(const COJsonValue& part, const std::string& path) {
  return checkOptional(part.obtainJsonValue("text"), JsonType::String, path + ".text");
}

std::optional<Flaw> checkParts(const COJsonValue& content, const std::string& path) {
  return checkSomeItems(findMember(content, "parts"), path + ".parts", checkPart);
}

std::optional<Flaw> checkContent(const COJsonValue& content, const std::string& path) {
  if (auto flaw = checkOptional(content.obtainJsonValue("role"), JsonType::String, path + ".role")) return flaw;
  const std::string_view role = textOf(content, "role");
  if (!role.empty() && findRole(kRoles, role) == nullptr) return Flaw{&Wordings::unknownRole, path};
  return checkParts(content, path);
}

std::optional<Flaw> checkSystemInstruction(const COJson& body) {
  const COJsonValue* instruction = findMember(body, "systemInstruction");
  if (instruction == nullptr) return std::nullopt;
  if (auto flaw = checkMember(instruction, JsonType::Object, "system_instruction")) return flaw;
  return checkParts(*instruction, "system_instruction");
}

std::optional<Flaw> checkGenerationConfig(const COJson& body) {
  const COJsonValue* config = findMember(body, "generationConfig");
  if (config == nullptr) return std::nullopt;
  if (auto flaw = checkMember(config, JsonType::Object, "generation_config")) return flaw;
  return checkTemperature(config->obtainJsonValue("temperature"), "generation_config.temperature");
}

std::optional<Flaw> checkGenerate(const COJson& body, const std::string& id) {
  if (body.obtainType() != JsonType::Object) return Flaw{&Wordings::notJson};
  if (auto flaw = checkNames(body)) return flaw;
  const bool known = std::any_of(kModels.begin(), kModels.end(),
                                 [&](const Model& model) { return model.id == id && model.method == kGenerate; });
  if (!known) return Flaw{.kind = &Wordings::unknownModel, .value = id};
  if (auto flaw = checkSomeItems(findMember(body, "contents"), "contents", checkContent)) return flaw;
  if (auto flaw = checkSystemInstruction(body)) return flaw;
  return checkGenerationConfig(body);
}

std::string joinParts(const COJsonValue& content) {
  const COJsonValue* parts = content.obtainJsonValue("parts");
  std::string text;
  for (std::size_t i = 0; i < parts->obtainArraySize(); ++i) text += textOf(*parts->obtainArrayItem(i), "text");
  return text;
}

Conversation readContents(const COJson& body) {
  Conversation conversation;
  const COJsonValue* instruction = findMember(body, "systemInstruction");
  if (instruction != nullptr) conversation.add(Speaker::Instructions, joinParts(*instruction));
  const COJsonValue* contents = body.obtainJsonValue("contents");
  for (std::size_t i = 0; i < contents->obtainArraySize(); ++i) {
    const COJsonValue& content = *contents->obtainArrayItem(i);
    const Role* role = findRole(kRoles, textOf(content, "role"));
    conversation.add(role == nullptr ? Speaker::User : role->speaker, joinParts(content));
  }
  return conversation;
}

/// An answer to one request, whole or on its way.
struct Generation {
  std::string model;
  std::string id;
  Answer answer;
};

/// @return a refusal when the request can't be answered
std::variant<Generation, Reply> generate(const Call& call) {
  static std::atomic<int> lastNumber{0};
  const COJson body(call.request.body);
  const std::string& model = call.captured.front();
  if (const auto flaw = checkGenerate(body, model)) return refuse(*flaw);
  return Generation{.model = model,
                    .id = "standin-" + std::to_string(++lastNumber),
                    .answer = answerConversation(readContents(body))};
}

void fillUsage(COJsonValue* usage, const Answer& answer, std::int64_t wordsAnswered) {
  usage->addKeyValue("promptTokenCount")->setInteger(answer.wordsAsked);
  if (answer.wordsCached > 0) usage->addKeyValue("cachedContentTokenCount")->setInteger(answer.wordsCached);
  if (wordsAnswered > 0) usage->addKeyValue("candidatesTokenCount")->setInteger(wordsAnswered);
  usage->addKeyValue("totalTokenCount")->setInteger(answer.wordsAsked + wordsAnswered);
}

/// @param text the answer, or a part of it
std::string writeGeneration(const Generation& generation, std::string_view text, bool isLast) {
  COJson document;
  COJsonValue* candidate = document.addKeyValue("candidates")->addArrayItem();
  COJsonValue* content = candidate->addKeyValue("content");
  content->addKeyValue("parts")->addArrayItem()->addKeyValue("text")->setString(text);
  content->addKeyValue("role")->setString("model");
  if (isLast) candidate->addKeyValue("finishReason")->setString("STOP");
  candidate->addKeyValue("index")->setInteger(0);
  const Answer& answer = generation.answer;
  fillUsage(document.addKeyValue("usageMetadata"), answer, isLast ? answer.wordsAnswered : 0);
  document.addKeyValue("modelVersion")->setString(generation.model);
  document.addKeyValue("responseId")->setString(generation.id);
  return document.obtainJsonString();
}

Reply handleGenerate(const Call& call) {
  const auto generation = generate(call);
  if (const Reply* refusal = std::get_if<Reply>(&generation)) return *refusal;
  const auto& whole = std::get<Generation>(generation);
  return {.body = writeGeneration(whole, whole.answer.text, true)};
}

/// Unless events are asked for, what they would hold comes as an array; here of one.
Reply handleStream(const Call& call) {
  if (!call.mayStream) return handleGenerate(call);
  const auto generation = generate(call);
  if (const Reply* refusal = std::get_if<Reply>(&generation)) return *refusal;
  const auto& whole = std::get<Generation>(generation);
  if (queryValue(call.request, "alt") != "sse") {
    return {.body = "[" + writeGeneration(whole, whole.answer.text, true) + "]"};
  }
  // The service's lines end so.
  const auto write = [whole](std::string_view piece, bool isLast) {
    return "data: " + writeGeneration(whole, piece, isLast) + "\r\n\r\n";
  };
  return streamText(
      {.contentType = "text/event-stream", .opening = {}, .text = whole.answer.text, .write = write, .close = {}});
}

void fillModel(COJsonValue* value, const Model& model) {
  value->addKeyValue("name")->setString("models/" + std::string(model.id));
  value->addKeyValue("version")->setString("001");
  value->addKeyValue("displayName")->setString(model.id);
  COJsonValue* methods = value->addKeyValue("supportedGenerationMethods");
  methods->addArrayItem()->setString(model.method);
  methods->addArrayItem()->setString("countTokens");
}

/// A page's token is the identifier of its first model.
Reply handleModels(const Call& call) {
  constexpr std::size_t kUsualSize = 50;
  const auto asked = queryNumber(call.request, "pageSize", 0);
  if (!asked) return refuse({.kind = &Wordings::wrongPageSize, .value = queryValue(call.request, "pageSize")});
  const std::size_t size = *asked == 0 ? kUsualSize : *asked;
  const std::string token = queryValue(call.request, "pageToken");
  std::span<const Model> page = kModels;
  while (!page.empty() && !token.empty() && page.front().id != token) page = page.subspan(1);
  if (page.empty()) return refuse({&Wordings::wrongPageToken});
  COJson document;
  COJsonValue* models = document.addKeyValue("models");
  for (const Model& model : page.first(std::min(size, page.size()))) fillModel(models->addArrayItem(), model);
  if (size < page.size()) document.addKeyValue("nextPageToken")->setString(page[size].id);
  return {.body = document.obtainJsonString()};
}

constexpr std::array kRoutes{
    Route{"GET", "/v1beta/models", handleModels},
    Route{"POST", "/v1beta/models/*:generateContent", handleGenerate},
    Route{"POST", "/v1beta/models/*:streamGenerateContent", handleStream},
};

/// What stands ahead of the service does not know its form of errors; a wrong method is no different to it.
Reply sendNotFoundPage(const Call& /*call*/) {
  return {404,
          "<!DOCTYPE html>\n<html lang=en>\n<title>Error 404 (Not Found)!!1</title>\n<p><b>404.</b> <ins>That's an "
          "error.</ins>\n<p>The requested URL was not found on this server.\n",
          "text/html; charset=UTF-8"};
}

}  // namespace

Service geminiService() {
  return {.home = "/v1beta/",
          .routes = kRoutes,
          .admit = admit,
          .unknownPath = sendNotFoundPage,
          .wrongMethod = sendNotFoundPage};
}

}  // namespace standin
