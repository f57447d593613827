#include "openai_checks.h"

#include <cf/text.h>

#include <algorithm>
#include <array>
#include <utility>

namespace standin {
namespace {

constexpr std::array kModels{
    OpenaiModel{"standin-small", 1735689600, false},
    OpenaiModel{"standin-large", 1751328000, false},
    OpenaiModel{"standin-reasoner", 1743465600, true},
};

constexpr std::array<std::string_view, 6> kRoles{"system", "assistant", "user", "function", "tool", "developer"};

/// Enough of a wrong key to recognise it by, never the key.
std::string maskKey(std::string_view key) {
  constexpr std::size_t kLongEnough = 16;
  if (key.size() < kLongEnough) return "***";
  return std::string(key.substr(0, 5)) + "***" + std::string(key.substr(key.size() - 2));
}

std::string typeName(const COJsonValue& value) {
  switch (value.obtainType()) {
    case JsonType::Object:
      return "an object";
    case JsonType::Array:
      return "an array";
    case JsonType::String:
      return "a string";
    case JsonType::Number:
      return "a number";
    case JsonType::Bool:
      return "a boolean";
    case JsonType::Null:
      break;
  }
  return "null";
}

/// Refuses a member that is missing or of another type than `type`, which errors call `expected`.
std::optional<Refusal> checkType(const COJsonValue* value, JsonType type, const std::string& expected,
                                 const std::string& param) {
  if (value == nullptr) {
    return Refusal{400, "Missing required parameter: '" + param + "'.", param, "missing_required_parameter"};
  }
  if (value->obtainType() == type) return std::nullopt;
  return Refusal{
      400, "Invalid type for '" + param + "': expected " + expected + ", but got " + typeName(*value) + " instead.",
      param, "invalid_type"};
}

std::optional<Refusal> checkRole(std::string_view role, const std::string& param) {
  if (std::find(kRoles.begin(), kRoles.end(), role) != kRoles.end()) return std::nullopt;
  return Refusal{400,
                 "Invalid value: '" + std::string(role) +
                     "'. Supported values are: 'system', 'assistant', 'user', 'function', 'tool', and 'developer'.",
                 param, "invalid_value"};
}

std::optional<Refusal> checkMessage(const COJsonValue* message, const std::string& param) {
  if (auto refusal = checkType(message, JsonType::Object, "an object", param)) return refusal;
  const COJsonValue* role = message->obtainJsonValue("role");
  if (auto refusal = checkType(role, JsonType::String, "a string", param + ".role")) return refusal;
  if (auto refusal = checkRole(role->obtainString(), param + ".role")) return refusal;
  return checkType(message->obtainJsonValue("content"), JsonType::String, "a string", param + ".content");
}

std::optional<Refusal> checkMessages(const COJsonValue* messages) {
  if (auto refusal = checkType(messages, JsonType::Array, "an array of objects", "messages")) return refusal;
  if (messages->obtainArraySize() == 0) {
    return Refusal{400,
                   "Invalid 'messages': empty array. Expected an array with minimum length 1, but got an empty array "
                   "instead.",
                   "messages", "empty_array"};
  }
  for (std::size_t i = 0; i < messages->obtainArraySize(); ++i) {
    if (auto refusal = checkMessage(messages->obtainArrayItem(i), "messages[" + std::to_string(i) + "]")) {
      return refusal;
    }
  }
  return std::nullopt;
}

std::optional<Refusal> checkTemperature(const COJsonValue* temperature, bool fixed) {
  if (temperature == nullptr || temperature->obtainType() == JsonType::Null) return std::nullopt;
  if (auto refusal = checkType(temperature, JsonType::Number, "a decimal", "temperature")) return refusal;
  const double value = temperature->obtainNumber();
  const std::string text = cfNumberToText(value);
  if (value < 0.0) {
    return Refusal{
        400, "Invalid 'temperature': decimal below minimum value. Expected a value >= 0, but got " + text + " instead.",
        "temperature", "decimal_below_min_value"};
  }
  if (value > 2.0) {
    return Refusal{
        400, "Invalid 'temperature': decimal above maximum value. Expected a value <= 2, but got " + text + " instead.",
        "temperature", "decimal_above_max_value"};
  }
  if (!fixed || value == 1.0) return std::nullopt;
  return Refusal{400,
                 "Unsupported value: 'temperature' does not support " + text +
                     " with this model. Only the default (1) value is supported.",
                 "temperature", "unsupported_value"};
}

}  // namespace

std::span<const OpenaiModel> openaiModels() { return kModels; }

const OpenaiModel* findOpenaiModel(std::string_view id) {
  const auto* found = std::find_if(kModels.begin(), kModels.end(), [&](const auto& model) { return model.id == id; });
  return found == kModels.end() ? nullptr : found;
}

Reply refuse(const Refusal& refusal) {
  const auto setTextOrNull = [](COJsonValue* value, const std::string& text) {
    if (!text.empty()) value->setString(text);
  };
  COJson document;
  COJsonValue* error = document.addKeyValue("error");
  error->addKeyValue("message")->setString(refusal.message);
  error->addKeyValue("type")->setString("invalid_request_error");
  setTextOrNull(error->addKeyValue("param"), refusal.param);
  setTextOrNull(error->addKeyValue("code"), refusal.code);
  return {.status = refusal.status, .body = document.obtainJsonString()};
}

std::optional<Refusal> checkKey(const Call& call) {
  constexpr std::string_view kScheme = "Bearer ";
  const std::string sent = call.request.header("Authorization");
  const std::string key = sent.starts_with(kScheme) ? cfTrimAsString(sent.substr(kScheme.size())) : std::string();
  if (key.empty()) {
    return Refusal{401,
                   "You didn't provide an API key. You need to provide your API key in an Authorization header using "
                   "Bearer auth (i.e. Authorization: Bearer YOUR_KEY). You can obtain an API key from "
                   "https://platform.openai.com/account/api-keys."};
  }
  if (call.apiKey.empty() || key == call.apiKey) return std::nullopt;
  return Refusal{401,
                 "Incorrect API key provided: " + maskKey(key) +
                     ". You can find your API key at https://platform.openai.com/account/api-keys.",
                 "", "invalid_api_key"};
}

Refusal unknownModel(const std::string& id) {
  return {404, "The model `" + id + "` does not exist or you do not have access to it.", "", "model_not_found"};
}

std::optional<Refusal> checkChat(const COJson& body) {
  if (body.obtainType() != JsonType::Object) {
    return Refusal{400,
                   "We could not parse the JSON body of your request. (HINT: This likely means you aren't using your "
                   "HTTP library correctly. The API expects a JSON payload, but what was sent was not valid JSON.)"};
  }
  const COJsonValue* model = body.obtainJsonValue("model");
  if (model == nullptr) return Refusal{400, "you must provide a model parameter"};
  if (auto refusal = checkType(model, JsonType::String, "a string", "model")) return refusal;
  if (auto refusal = checkMessages(body.obtainJsonValue("messages"))) return refusal;
  const OpenaiModel* known = findOpenaiModel(model->obtainString());
  if (known == nullptr) return unknownModel(std::string(model->obtainString()));
  return checkTemperature(body.obtainJsonValue("temperature"), known->fixedTemperature);
}

}  // namespace standin
