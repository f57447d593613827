// What differs between the services that are sent the whole conversation on every turn.
#pragma once

#include "qai_chat_body.h"
#include "qai_chat_history.h"
#include "qai_service_row.h"
#include "qai_streamed_reply.h"

#include <cf/json.h>

#include <optional>
#include <string>
#include <string_view>

/// What a request body is made from. Borrowed; the messages and what the instructions borrow outlive the body.
struct ChatTurn {
  const QAIAssistantProperties& settings;
  std::string_view instructionsStart;  // the dialect's
  const InstructionsJson& instructions;
  std::string_view messages;  // ChatHistory::writeRequestText: the history and the new text
  bool isStreamed = false;    // the reply is to come as a stream
  bool asksForUsage = false;  // and to tell the tokens, where a service only does so when asked
};

/// Where turns go, and the labels behind "Model is empty", "Invalid response" and "Unsupported data format".
struct ChatTurnEndpoint {
  std::string_view path;
  std::string_view noModelLabel;
  std::string_view noJsonLabel;
  std::string_view formatLabel;
};

/// How a streamed turn differs from one whose reply comes whole.
struct ChatStream {
  std::string_view path = {};  // empty: that of every turn
  ServicePair query = {};      // in the address
  StreamForm form;
};

/// A line of the source: what an assertion names.
struct SourcePlace {
  const char* file;
  int line;
};

/// One service.
struct ChatDialect {
  ServiceRow service;
  std::string_view instructionsStart;  // of the message that tells them
  ChatTurnEndpoint turn;
  ChatStream stream;

  ChatEntryForm entry;
  void (*writeBody)(ChatBody& body, const ChatTurn& turn);
  /// The reply's text; nothing when the reply is not in the service's format.
  std::optional<std::string> (*readReply)(const ICOJsonValue& reply);
  /// What a reply tells beside its text.
  ReadDetails* readDetails;

  SourcePlace place;  // of the dialect: for assertions about its sessions
};
