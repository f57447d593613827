#include "openai.h"

#include "services.h"

#include <array>

namespace standin {
namespace {

constexpr std::array kModels{
    CompletionModel{.id = "standin-small", .created = 1735689600},
    CompletionModel{.id = "standin-large", .created = 1751328000},
    CompletionModel{.id = "standin-reasoner", .created = 1743465600, .fixedTemperature = true},
};

constexpr std::array kRoles{
    Role{"system", Speaker::Instructions}, Role{"assistant", Speaker::Assistant},
    Role{"user", Speaker::User},           Role{"function", Speaker::Other},
    Role{"tool", Speaker::Other},          Role{"developer", Speaker::Instructions},
};

constexpr Wordings kWordings{
    .noKey = {.status = 401,
              .text = "You didn't provide an API key. You need to provide your API key in an Authorization header "
                      "using Bearer auth (i.e. Authorization: Bearer YOUR_KEY). You can obtain an API key from "
                      "https://platform.openai.com/account/api-keys."},
    .wrongKey = {401, "invalid_api_key",
                 "Incorrect API key provided: {value}. You can find your API key at "
                 "https://platform.openai.com/account/api-keys."},
    .notJson = {.text = "We could not parse the JSON body of your request. (HINT: This likely means you aren't using "
                        "your HTTP library correctly. The API expects a JSON payload, but what was sent was not valid "
                        "JSON.)"},
    .missing = {400, "missing_required_parameter", "Missing required parameter: '{path}'."},
    .wrongType = {400, "invalid_type", "Invalid type for '{path}': expected {expected}, but got {found} instead."},
    .emptyArray = {400, "empty_array",
                   "Invalid '{path}': empty array. Expected an array with minimum length 1, but got an empty array "
                   "instead."},
    .unknownRole = {400, "invalid_value",
                    "Invalid value: '{value}'. Supported values are: 'system', 'assistant', 'user', 'function', "
                    "'tool', and 'developer'."},
    .noModel = {.text = "you must provide a model parameter"},
    .unknownModel = {404, "model_not_found", "The model `{value}` does not exist or you do not have access to it."},
    .tooLow = {400, "decimal_below_min_value",
               "Invalid '{path}': decimal below minimum value. Expected a value >= 0, but got {value} instead."},
    .tooHigh = {400, "decimal_above_max_value",
                "Invalid '{path}': decimal above maximum value. Expected a value <= 2, but got {value} instead."},
    .fixedTemperature = {400, "unsupported_value",
                         "Unsupported value: '{path}' does not support {value} with this model. Only the default (1) "
                         "value is supported."},
    .optionsWithoutStream = {.text = "The '{path}' parameter is only allowed when 'stream' is enabled."},
    .expected = {"null", "an object", "an array of objects", "a string", "a decimal", "a boolean"},
    .found = {"null", "an object", "an array", "a string", "a number", "a boolean"},
};

Reply refuse(const Refusal& refusal) {
  return sendCompletionsError(refusal.status, {refusal.message, "invalid_request_error", refusal.path, refusal.label});
}

constexpr CompletionsDialect kDialect{
    .models = kModels,
    .owner = "standin",
    .roles = kRoles,
    .idPrefix = "chatcmpl-standin-",
    .opening = "",
    .streamOpening = "",
    .tellsRefusal = true,
    .tellsCacheMisses = false,
    .keyMask = {.head = 5, .stars = "***", .tail = 2},
    .wordings = kWordings,
    .refuse = refuse,
};

constexpr std::array kRoutes{
    Route{"GET", "/v1/models", [](const Call&) { return listModels(kDialect); }},
    Route{"GET", "/v1/models/*", [](const Call& call) { return tellModel(call.captured.front(), kDialect); }},
    Route{"POST", "/v1/chat/completions", [](const Call& call) { return completeChat(call, kDialect); }},
};

Reply refuseUnknownPath(const Call& call) {
  return refuse({404, "", "Invalid URL (" + call.request.method + " " + std::string(call.path) + ")", ""});
}

Reply refuseWrongMethod(const Call& call) {
  return refuse({405, "",
                 "Not allowed to " + call.request.method + " on " + std::string(call.path) +
                     ". (HINT: Perhaps you meant to use a different HTTP method?)",
                 ""});
}

}  // namespace

const CompletionsDialect& openaiDialect() { return kDialect; }

Service openaiService() {
  return {.home = "/v1/",
          .routes = kRoutes,
          .admit = [](const Call& call) { return admitByBearerKey(call, kDialect); },
          .unknownPath = refuseUnknownPath,
          .wrongMethod = refuseWrongMethod};
}

}  // namespace standin
