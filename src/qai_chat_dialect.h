// What differs between the services that are sent the whole conversation on every turn.
#pragma once

#include "qai_chat_history.h"

#include <cf/json.h>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class QAIAssistantProperties;
struct InstructionsJson;

/// What a request body is made from. Borrowed, as are the body's texts: all of it outlives the body.
struct ChatTurn {
  const QAIAssistantProperties& settings;
  std::string_view instructionsRole;
  const InstructionsJson& instructions;
  std::string_view messages;  // ChatHistory::requestText: the history and the new text
};

/// Path segments of an address; empty ones end it.
using ChatPath = std::array<std::string_view, 4>;

/// Told of a reply that is no JSON, and of one that is not in the service's format.
inline constexpr std::string_view kInvalidResponse = "Invalid response";
inline constexpr std::string_view kUnsupportedFormat = "Unsupported data format";

/// How a service gets the host's key.
enum class ChatKey { None, Bearer, Query };  // "Authorization: Bearer …"; the query pair "key"

/// Where the list of models is, and what is said when it can't be read. Labels follow the text as they stand.
struct ChatModelsEndpoint {
  ChatPath path;
  std::string_view member;      // the array in the reply that lists them
  std::string_view noJsonText;  // the text when the reply is no JSON
  std::string_view label;
};

/// Where turns go, and the labels behind "Model is empty", "Invalid response" and "Unsupported data format".
struct ChatTurnEndpoint {
  ChatPath path;
  std::string_view noModelLabel;
  std::string_view noJsonLabel;
  std::string_view formatLabel;
};

/// A line of the source: what an assertion names.
struct SourcePlace {
  const char* file;
  int line;
};

/// One service. In paths and labels "{model}" stands for the model's name.
struct ChatDialect {
  std::string_view defaultHost;
  std::string_view instructionsRole;
  ChatKey key;
  bool sharesPool;  // requests go through the host's pool centre
  ChatModelsEndpoint models;
  ChatTurnEndpoint turn;

  std::vector<std::string> (*readModels)(const ICOJsonValue& list);
  ChatEntryForm entry;
  void (*writeBody)(COJson& body, const ChatTurn& turn);
  /// The reply's text; nothing when the reply is not in the service's format.
  std::optional<std::string> (*readReply)(const ICOJsonValue& reply);

  SourcePlace place;  // of the dialect: for assertions about its sessions
};
