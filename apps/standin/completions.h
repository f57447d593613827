// Chat completions, the format that OpenAI and DeepSeek share.
#pragma once

#include "checks.h"
#include "conversation.h"
#include "protocol.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace standin {

struct CompletionModel {
  std::string_view id;
  std::int64_t created = 0;       // 0: the list does not tell
  bool fixedTemperature = false;  // takes no other temperature than 1, as some models that reason do
  bool tellsReasoning = false;    // sends its reasoning beside the answer
};

/// What differs between the services.
struct CompletionsDialect {
  std::span<const CompletionModel> models;
  std::string_view owner;  // of the models
  std::span<const Role> roles;
  std::string_view idPrefix;       // of completions
  std::string_view opening;        // sent ahead of a completion
  std::string_view streamOpening;  // and ahead of the events of one
  bool tellsRefusal;               // messages have a member for it
  bool tellsCacheMisses;           // the usage has members for what was cached and what was not, and streams tell it
                                   // with the end of the answer, asked for or not
  KeyMask keyMask;
  Wordings wordings;
  Reply (*refuse)(const Refusal& refusal);
};

/// Null when the service has no such model.
const CompletionModel* findModel(std::string_view id, const CompletionsDialect& dialect);
/// @param temperature null: none was sent
std::optional<Flaw> checkTemperatureOf(const CompletionModel& model, const COJsonValue* temperature);

/// Seconds since 1970.
std::int64_t currentTime();

/// The words of an answer as the members of "usage".
void fillUsage(COJsonValue* usage, const Answer& answer);

/// The members of an error; an empty `param` or `code` is sent as null.
struct CompletionsError {
  std::string message;
  std::string type;
  std::string param;
  std::string code;
};
Reply sendCompletionsError(int status, const CompletionsError& error);

/// A refusal when the call comes without the right key.
std::optional<Reply> admitByBearerKey(const Call& call, const CompletionsDialect& dialect);

Reply listModels(const CompletionsDialect& dialect);
Reply tellModel(const std::string& id, const CompletionsDialect& dialect);
Reply completeChat(const Call& call, const CompletionsDialect& dialect);

}  // namespace standin
