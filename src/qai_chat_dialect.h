// What differs between the services that are sent the whole conversation on every turn.
#pragma once

#include "qai_message.h"

#include <cf/json.h>

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class QAIAssistantProperties;

/// The turns so far, oldest first; each with one text section.
using ChatHistory = std::vector<std::unique_ptr<QAIMessage>>;

/// What a request body is made from. Borrowed, as are the body's texts: all of it outlives the body.
struct ChatTurn {
  const QAIAssistantProperties& settings;
  std::string_view instructionsRole;
  std::string_view instructions;  // may be empty
  const ChatHistory& history;
  std::string_view text;
};

/// Path segments of an address; empty ones end it.
using ChatPath = std::array<std::string_view, 4>;

/// One service. In paths and labels "{model}" stands for the model's name.
struct ChatDialect {
  std::string_view defaultHost;
  std::string_view instructionsRole;

  bool bearerKey;   // the key goes out as "Authorization: Bearer"
  bool queryKey;    // the key goes out as the query pair "key"
  bool sharesPool;  // requests go through the host's pool centre

  ChatPath modelsPath;
  std::string_view modelsMember;      // the array in the reply that lists the models
  std::string_view modelsNoJsonText;  // told when the reply is no JSON
  std::string_view modelsLabel;

  ChatPath chatPath;
  std::string_view noModelLabel;  // behind "Model is empty"
  std::string_view noJsonLabel;   // behind "Invalid response"
  std::string_view formatLabel;   // behind "Unsupported data format"

  std::vector<std::string> (*readModels)(const ICOJsonValue& list);
  void (*writeBody)(COJson& body, const ChatTurn& turn);
  /// The reply's text; nothing when the reply is not in the service's format.
  std::optional<std::string> (*readReply)(const ICOJsonValue& reply);

  const char* file;  // where the dialect stands: what an assertion about one of its sessions names
  int line;
};
