// What a host can ask of each service that sends a request: the requests, their healthy replies, and what is said of
// replies that are none, in one table.
#pragma once

#include "support/host.h"
#include "support/services.h"

#include <string>
#include <string_view>
#include <vector>

/// The key of every assistant. Its marks differ when they are percent-encoded or escaped in JSON.
inline const std::string kKey = R"(sk-canary/7f3a+9c"x\y=)";
/// The model of every assistant; a question's healthy reply.
inline constexpr const char* kModel = "m1";
inline constexpr const char* kReply = "two parts";

/// What the library reads out of a reply; `Nothing` when its status says all.
enum class Reading {
  CompletionModels,
  AssistantModels,
  OllamaModels,
  GoogleModels,
  CompletionTurn,
  OllamaTurn,
  GoogleTurn,
  Identifier,
  RunState,
  Messages,
  Stream,
  Nothing
};

/// A host with an assistant, and a session when there is one.
struct Host {
  Owned<IQAIAssistant> assistant;
  Owned<IQAISession> session;
};

/// What a host is told.
struct Told {
  bool gave = false;  // a reply, a list, a session
  std::string error;
  std::string text;  // of the reply, or of the list
};

struct Operation {
  const char* name;
  Told (*run)(Host& host);
  std::string before;  // the request before the one that counts, as a line begins
  std::string request;
  Reading reading;
  std::string noJsonError;
  std::string formatError;
  std::string healthyText = "";
  std::string incompleteError = "";  // of a stream
  bool startsBare = false;           // before there is an assistant at the service
  bool endsSession = false;          // when it succeeds
  bool ignoresFailure = false;       // of this request, which comes last
  bool isWithin = false;             // the request before is one of the operation's own
};

struct FaultedService : TestedService {
  std::vector<Operation> operations;
  std::string streamPath;  // where a streamed turn goes
  std::string streamBody;  // its healthy reply
};

const std::vector<FaultedService>& faultedServices();

/// The healthy body for a request; null when there is none. Two services with one path have one form.
const char* findHealthyBody(std::string_view request);

/// Opens what a host needs for a turn, as far as it is missing; gives an error text.
std::string prepareTurn(Host& host);
/// A turn.
Told runTurn(Host& host);
/// The same, streamed.
Told runStreamedTurn(Host& host);
/// The list of models.
Told runModels(Host& host);
