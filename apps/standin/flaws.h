// What can be wrong with a request, and how each service words it.
#pragma once

#include <cf/json.h>

#include <array>
#include <string>
#include <string_view>

namespace standin {

struct Wording {
  int status = 400;
  std::string_view label = {};  // the service's code, type or status text; "": none
  std::string_view text = {};   // {path}, {value}, {expected}, {found} and {detail} stand for what the flaw says
};

/// What a service calls the types of JSON, by the codes of JsonType.
using TypeNames = std::array<std::string_view, 6>;

/// A service's wording of every flaw that it looks for.
struct Wordings {
  Wording noKey = {};
  Wording noBeta = {};
  Wording wrongKey = {};
  Wording notJson = {};
  Wording missing = {};
  Wording wrongType = {};
  Wording wrongContent = {};
  Wording wrongValue = {};
  Wording emptyArray = {};
  Wording emptyText = {};
  Wording tooLong = {};
  Wording unknownRole = {};
  Wording unknownName = {};
  Wording noModel = {};
  Wording unknownModel = {};
  Wording unknownAssistant = {};
  Wording unknownThread = {};
  Wording unknownMessage = {};
  Wording unknownRun = {};
  Wording busyForMessage = {};
  Wording busyForRun = {};
  Wording runHasEnded = {};
  Wording tooLow = {};
  Wording tooHigh = {};
  Wording fixedTemperature = {};
  Wording wrongOption = {};
  Wording optionsWithoutStream = {};
  Wording wrongPageSize = {};
  Wording wrongPageToken = {};
  TypeNames expected = {};
  TypeNames found = {};
};

struct Flaw {
  Wording Wordings::*kind;
  std::string path = {};   // of the member that has it, such as "messages[0].role"; "": the whole
  std::string value = {};  // what was sent, where that is worth telling
  JsonType expected = JsonType::Null;
  JsonType found = JsonType::Null;
  std::string detail = {};  // beside the value: what would have been right, or what is in the way
};

/// A flaw in a service's words, to be put into the service's form of an error.
struct Refusal {
  int status;
  std::string label;
  std::string message;
  std::string path;
};

Refusal wordFlaw(const Flaw& flaw, const Wordings& wordings);

}  // namespace standin
