// What OpenAI's service checks before it answers, and how it words a refusal.
#pragma once

#include "protocol.h"

#include <cf/json.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace standin {

struct OpenaiModel {
  std::string_view id;
  std::int64_t created;
  bool fixedTemperature;  // takes no other temperature than 1, as models that reason do
};

std::span<const OpenaiModel> openaiModels();
/// Null when there is none.
const OpenaiModel* findOpenaiModel(std::string_view id);

/// An error; an empty `param` or `code` is sent as null.
struct Refusal {
  int status = 400;
  std::string message;
  std::string param = {};
  std::string code = {};
};

Reply refuse(const Refusal& refusal);

std::optional<Refusal> checkKey(const Call& call);
Refusal unknownModel(const std::string& id);
/// A whole request for a chat completion.
std::optional<Refusal> checkChat(const COJson& body);

}  // namespace standin
