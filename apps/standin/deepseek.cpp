#include "completions.h"
#include "services.h"

#include <array>

namespace standin {
namespace {

constexpr std::array kModels{
    CompletionModel{.id = "deepseek-chat"},
    CompletionModel{.id = "deepseek-reasoner", .tellsReasoning = true},
    CompletionModel{.id = "deepseek-coder"},
};

constexpr std::array kRoles{
    Role{"system", Speaker::Instructions},
    Role{"user", Speaker::User},
    Role{"assistant", Speaker::Assistant},
    Role{"tool", Speaker::Other},
};

constexpr std::string_view kInvalid = "invalid_request_error";
constexpr std::string_view kNoAccess = "authentication_error";

constexpr Wordings kWordings{
    .noKey = {401, kNoAccess, "Authentication Fails (auth header format should be Bearer sk-...)"},
    .wrongKey = {401, kNoAccess, "Authentication Fails, Your api key: {value} is invalid"},
    .notJson = {400, kInvalid, "Failed to parse the request body as JSON: expected an object"},
    .missing = {400, kInvalid, "Failed to deserialize the JSON body into the target type: missing field `{path}`"},
    .wrongType = {400, kInvalid,
                  "Failed to deserialize the JSON body into the target type: {path}: invalid type: {found}, expected "
                  "{expected}"},
    .emptyArray = {400, kInvalid, "Empty input messages"},
    .unknownRole = {400, kInvalid,
                    "Failed to deserialize the JSON body into the target type: {path}: unknown variant `{value}`, "
                    "expected one of `system`, `user`, `assistant`, `tool`"},
    .noModel = {400, kInvalid, "Failed to deserialize the JSON body into the target type: missing field `model`"},
    .unknownModel = {400, kInvalid, "Model Not Exist"},
    .tooLow = {400, kInvalid, "Invalid temperature value, the valid range of temperature is [0, 2]"},
    .tooHigh = {400, kInvalid, "Invalid temperature value, the valid range of temperature is [0, 2]"},
    .optionsWithoutStream = {400, kInvalid, "{path} should be set along with stream = true"},
    .expected = {"unit value", "a map", "a sequence", "a string", "f32", "a boolean"},
    .found = {"null", "map", "sequence", "string", "number", "boolean"},
};

Reply refuse(const Refusal& refusal) {
  return sendCompletionsError(refusal.status, {refusal.message, refusal.label, "", std::string(kInvalid)});
}

constexpr CompletionsDialect kDialect{
    .models = kModels,
    .owner = "deepseek",
    .roles = kRoles,
    .idPrefix = "standin-",
    .opening = "\n\n",  // the real service sends blank lines while one waits, or comments
    .streamOpening = ": keep-alive\n\n",
    .tellsRefusal = false,
    .tellsCacheMisses = true,
    .keyMask = {.head = 0, .stars = "****", .tail = 4},
    .wordings = kWordings,
    .refuse = refuse,
};

constexpr std::array kRoutes{
    Route{"GET", "/models", [](const Call&) { return listModels(kDialect); }},
    Route{"POST", "/chat/completions", [](const Call& call) { return completeChat(call, kDialect); }},
};

/// Beside its routes the service says nothing at all.
template <int status>
Reply sendNothing(const Call& /*call*/) {
  return {.status = status, .body = "", .contentType = "text/plain"};
}

}  // namespace

Service deepseekService() {
  return {.home = "/chat/",
          .routes = kRoutes,
          .admit = [](const Call& call) { return admitByBearerKey(call, kDialect); },
          .unknownPath = sendNothing<404>,
          .wrongMethod = sendNothing<405>};
}

}  // namespace standin
