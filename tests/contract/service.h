// The services under contract: what a host sees of each that differs, in one table.
#pragma once

#include <qai.h>

#include <string>
#include <vector>

struct Service {
  const char* name;
  QAIAssistantType type;
  const char* defaultHost;
  const char* model;  // one that the stand-in has
  bool usesKey;       // sends it with every request
  bool usesPool;      // its requests go through the assistant's pool centre

  // Of the chat services only:
  const char* modelsPath{};
  const char* chatPath{};
  const char* modelsBody{};               // a list of models as the service sends it …
  std::vector<std::string> modelsInIt{};  // … and what the host gets of it

  const char* noModelError{};
  const char* noJsonError{};
  const char* formatError{};
  const char* modelsNoJsonError{};
  const char* modelsFormatError{};

  const char* emptyReplyBody{};    // a success without any text
  const char* replyBody{};         // a reply by the assistant: "two parts"
  const char* wrongFormatBody{};   // JSON, but no reply
  const char* instructionsPart{};  // of the request body, when the instructions are "I\n\n"
  const char* historyPart{};       // of the request body, after the turn "first" -> "two parts", when "second" is asked
  const char* temperaturePart{};   // of the request body, at 0.7
};
void PrintTo(const Service& service, std::ostream* out);

/// All that are sent the whole conversation on every turn.
const std::vector<Service>& chatServices();
/// The one that keeps conversations itself.
const Service& assistantsService();
std::vector<Service> allServices();
/// The chat services whose requests go through the pool centre.
std::vector<Service> pooledServices();
/// All whose requests can be cancelled: these, and the Assistants service.
std::vector<Service> cancellableServices();
/// Those that get the key.
std::vector<Service> keyedServices();
