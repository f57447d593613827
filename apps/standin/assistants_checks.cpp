#include "assistants_checks.h"

#include "checks.h"
#include "openai.h"

#include <cf/json_shortcuts.h>

#include <algorithm>
#include <array>

namespace standin {
namespace {

constexpr std::array kRoles{
    Role{"user", Speaker::User},
    Role{"assistant", Speaker::Assistant},
};

Wordings adaptWordings() {
  Wordings wordings = openaiDialect().wordings;
  wordings.noBeta = {400, "invalid_beta",
                     "You must provide the 'OpenAI-Beta' header to access the Assistants API. Please try again by "
                     "setting the header 'OpenAI-Beta: assistants=v2'."};
  wordings.unknownName = {400, "unknown_parameter", "Unknown parameter: '{path}'."};
  wordings.tooLong = {400, "string_above_max_length",
                      "Invalid '{path}': string too long. Expected a string with maximum length {detail}, but got a "
                      "string with length {value} instead."};
  wordings.wrongContent = {400, "invalid_type",
                           "Invalid type for '{path}': expected one of a string or array of objects, but got {found} "
                           "instead."};
  wordings.emptyText = {.text = "Message content must be non-empty."};
  wordings.wrongValue = {400, "invalid_value", "Invalid value: '{value}'. Supported values are: {detail}."};
  wordings.unknownModel = {400, "model_not_found", "The requested model '{value}' does not exist."};
  wordings.unknownAssistant = {.status = 404, .text = "No assistant found with id '{value}'."};
  wordings.unknownThread = {.status = 404, .text = "No thread found with id '{value}'."};
  wordings.unknownMessage = {.status = 404, .text = "No message found with id '{value}'."};
  wordings.unknownRun = {.status = 404, .text = "No run found with id '{value}'."};
  wordings.busyForMessage = {.text = "Can't add messages to {value} while a run {detail} is active."};
  wordings.busyForRun = {.text = "Thread {value} already has an active run {detail}."};
  wordings.runHasEnded = {.text = "Cannot cancel run with status '{value}'."};
  wordings.wrongPageSize = {400, "invalid_value",
                            "Invalid '{path}': expected an integer from 1 to {detail}, but got '{value}' instead."};
  return wordings;
}

std::string pathTo(std::string_view name, const std::string& parent) {
  return parent.empty() ? std::string(name) : parent + "." + std::string(name);
}

std::optional<Flaw> checkNames(const COJsonValue& object, std::span<const MemberRule> rules, const std::string& path) {
  for (const std::string& key : object.obtainJsonKeys()) {
    const bool known =
        std::any_of(rules.begin(), rules.end(), [&](const MemberRule& rule) { return rule.name == key; });
    if (!known) return Flaw{&Wordings::unknownName, pathTo(key, path)};
  }
  return std::nullopt;
}

/// That `object` has no other members than those of `rules`, and each in its form.
std::optional<Flaw> checkMembers(const COJsonValue& object, std::span<const MemberRule> rules,
                                 const std::string& path = {}) {
  if (auto flaw = checkNames(object, rules, path)) return flaw;
  for (const MemberRule& rule : rules) {
    const COJsonValue* value = object.obtainJsonValue(rule.name);
    if (value == nullptr || !rule.type) continue;
    if (auto flaw = checkOptional(value, *rule.type, pathTo(rule.name, path))) return flaw;
    if (rule.longest == 0) continue;
    if (auto flaw = checkLength(value->obtainString(), rule.longest, pathTo(rule.name, path))) return flaw;
  }
  return std::nullopt;
}

std::optional<Flaw> checkBody(const COJson& body, std::span<const MemberRule> rules) {
  if (body.obtainType() != JsonType::Object) return Flaw{&Wordings::notJson};
  return checkMembers(body, rules);
}

std::optional<Flaw> checkText(const COJsonValue* text, const std::string& path) {
  if (auto flaw = checkMember(text, JsonType::String, path)) return flaw;
  if (text->obtainString().empty()) return Flaw{&Wordings::emptyText, path};
  return std::nullopt;
}

std::optional<Flaw> checkPart(const COJsonValue& part, const std::string& path) {
  const COJsonValue* type = part.obtainJsonValue("type");
  const std::string typePath = pathTo("type", path);
  if (auto flaw = checkMember(type, JsonType::String, typePath)) return flaw;
  if (type->obtainString() != "text") {
    return Flaw{.kind = &Wordings::wrongValue,
                .path = typePath,
                .value = std::string(type->obtainString()),
                .detail = "'text'"};
  }
  return checkText(part.obtainJsonValue("text"), pathTo("text", path));
}

std::optional<Flaw> checkContent(const COJsonValue* content, const std::string& path) {
  if (cfHasJsonType(content, JsonType::Array)) return checkSomeItems(content, path, checkPart);
  if (content == nullptr || content->obtainType() == JsonType::String) return checkText(content, path);
  return Flaw{.kind = &Wordings::wrongContent, .path = path, .found = content->obtainType()};
}

std::optional<Flaw> checkMessageAt(const COJsonValue& message, const std::string& path) {
  const COJsonValue* role = message.obtainJsonValue("role");
  const std::string rolePath = pathTo("role", path);
  if (auto flaw = checkMember(role, JsonType::String, rolePath)) return flaw;
  if (findRole(kRoles, role->obtainString()) == nullptr) {
    return Flaw{.kind = &Wordings::wrongValue,
                .path = rolePath,
                .value = std::string(role->obtainString()),
                .detail = "'user' and 'assistant'"};
  }
  if (auto flaw = checkContent(message.obtainJsonValue("content"), pathTo("content", path))) return flaw;
  return checkMembers(message, kMessageRules, path);
}

}  // namespace

const Wordings& assistantsWordings() {
  static const Wordings wordings = adaptWordings();
  return wordings;
}

std::optional<Flaw> checkNewAssistant(const COJson& body) {
  if (auto flaw = checkBody(body, kAssistantRules)) return flaw;
  return checkMember(body.obtainJsonValue(kModelRule.name), JsonType::String, std::string(kModelRule.name));
}

std::optional<Flaw> checkChangedAssistant(const COJson& body) {
  if (auto flaw = checkBody(body, kAssistantRules)) return flaw;
  return body.obtainJsonValue(kModelRule.name) == nullptr ? std::nullopt : checkNewAssistant(body);
}

std::optional<Flaw> checkThread(const COJson& body) {
  if (auto flaw = checkBody(body, kThreadRules)) return flaw;
  const COJsonValue* messages = body.obtainJsonValue("messages");
  return messages == nullptr ? std::nullopt : checkItems(messages, "messages", checkMessageAt);
}

std::optional<Flaw> checkMessage(const COJson& body) {
  if (body.obtainType() != JsonType::Object) return Flaw{&Wordings::notJson};
  return checkMessageAt(body, "");
}

std::optional<Flaw> checkRun(const COJson& body) {
  if (auto flaw = checkBody(body, kRunRules)) return flaw;
  return checkMember(body.obtainJsonValue("assistant_id"), JsonType::String, "assistant_id");
}

std::optional<Flaw> checkModel(const Members& members) {
  const std::string id = unquote(memberOf(members, kModelRule.name));
  const CompletionModel* model = findModel(id, openaiDialect());
  if (model == nullptr) return Flaw{&Wordings::unknownModel, std::string(kModelRule.name), id};
  const COJson temperature(memberOf(members, kTemperatureRule.name));
  return checkTemperatureOf(*model, &temperature);
}

}  // namespace standin
