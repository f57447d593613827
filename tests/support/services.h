// The services under test: what hosts and servers see of each that differs, a row each, for every kind of test.
#pragma once

#include <qai.h>

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

/// How a request carries the key.
enum class KeyWay { None, Bearer, Query };

/// What the bodies of requests and replies look like.
enum class BodyForm { Completions, Ollama, Gemini, Assistants };

struct TestedService {
  const char* name;
  QAIAssistantType type;
  const char* typeName;  // as qai.h writes it
  const char* title;     // for people
  const char* provider;  // in qai-chat
  const char* defaultHost;
  const char* model;  // one that the stand-in has
  KeyWay key;
  std::vector<std::string> keyVariables;  // of the environment, where qai-chat looks for one
  bool usesPool;                          // its requests go through the assistant's pool centre
  BodyForm form;
  bool keepsConversations = false;  // else it is sent the whole of one on every turn

  const char* modelsPath;
  const char* modelsBody;               // a list of models as the service sends it …
  std::vector<std::string> modelsInIt;  // … and what the host gets of it
  const char* modelsNoJsonError;
  const char* modelsFormatError;

  // Of the chat services only. In paths and errors stands the row's model.
  const char* chatPath{};
  const char* noModelError{};
  const char* noJsonError{};
  const char* formatError{};

  const char* emptyReplyBody{};   // a success without any text
  const char* replyBody{};        // a reply by the assistant: "two parts"
  const char* wrongFormatBody{};  // JSON, but no reply
  // Of the request body:
  const char* instructionsPart{};  // when the instructions are "I\n\n"
  const char* temperaturePart{};   // at 0.7, without instructions
  const char* userEntry{};         // of the text "%"
  const char* assistantEntry{};    // the same

  bool usesKey() const { return key != KeyWay::None; }
};
void PrintTo(const TestedService& service, std::ostream* out);

/// All, in the order in which qai-chat lists them.
const std::vector<TestedService>& allServices();
/// All that are sent the whole conversation on every turn.
const std::vector<TestedService>& chatServices();
/// The one that keeps conversations itself.
const TestedService& assistantsService();
/// The chat services whose requests go through the pool centre, and the others.
std::vector<TestedService> pooledServices();
std::vector<TestedService> poollessServices();
/// All whose requests can be cancelled: the pooled ones, and the Assistants service.
std::vector<TestedService> cancellableServices();
/// The chat services that get the key, in one way or in any.
std::vector<TestedService> servicesWithKey(KeyWay way);
std::vector<TestedService> keyedServices();

/// The row of this type; null when there is none.
const TestedService* findService(QAIAssistantType type);

/// `text`, a path or an error of `service`, with `model` in the place of the row's.
std::string withModel(const TestedService& service, std::string text, std::string_view model);

/// Conversation as it stands in a chat service's request, between its brackets: texts by the user and the assistant in
/// turn.
std::string historyPart(const TestedService& service, const std::vector<std::string>& texts);

/// The names of all in qai-chat, for people.
std::string listProviderNames();
