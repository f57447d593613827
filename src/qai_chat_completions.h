// The chat-completions format, which several services speak.
#pragma once

#include "qai_chat_dialect.h"

#include <cf/json.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace completions {

/// {"model", "temperature" when it was assigned, "messages", "stream" when it is one, and what asks for the tokens}
void writeBody(ChatBody& body, const ChatTurn& turn);

/// {"role", "content"}
inline constexpr ChatEntryForm kEntry{.userStart = R"({"role":"user","content":")",
                                      .assistantStart = R"({"role":"assistant","content":")",
                                      .end = R"("})"};

/// How the message with the instructions begins where its role is the usual one.
inline constexpr std::string_view kSystemStart = R"({"role":"system","content":)";

/// "messages": the instructions (when there are any), the history and the new text as objects with "role" and
/// "content".
void writeMessages(ChatBody& body, const ChatTurn& turn);

/// Whether the "role" of `message` is "assistant".
bool isByAssistant(const ICOJsonValue& message);

/// The texts of all choices by the assistant, with nothing between them; nothing when there is no array "choices".
std::optional<std::string> readReply(const ICOJsonValue& reply);

/// What a reply tells beside its text.
void readDetails(const ICOJsonValue& reply, ReplyDetails& details);

/// An event of a stream, in which a choice has a "delta" in place of its "message".
void readEvent(std::string_view type, const ICOJsonValue& event, StreamedReply& reply);

inline constexpr ChatStream kStream{.form = {.read = readEvent}};

/// The identifiers of a model list in its order.
std::vector<std::string> readModels(const ICOJsonValue& list);

/// The identifiers of a model list, the newest first; models of the same second keep their order.
std::vector<std::string> readModelsByCreated(const ICOJsonValue& list);

/// A time in seconds as the services send it: truncated, held within 64 bits.
std::int64_t toSeconds(double created);

/// The same as a signed 32-bit number: taken modulo 2^32.
std::int32_t createdAsInt32(double created);

}  // namespace completions
