// The events of an assistant's run: https://platform.openai.com/docs/api-reference/assistants-streaming/events
#pragma once

#include "qai_streamed_reply.h"

/// How a run ends when all is well, and when it says why not.
inline constexpr std::string_view kRunCompleted = "completed";
inline constexpr std::string_view kRunFailed = "failed";
/// Where it waits for the results of tools, for ever: a host has none to give.
inline constexpr std::string_view kRunWaiting = "requires_action";

/// The text of all messages is choice 0's.
void readRunEvent(std::string_view type, const ICOJsonValue& event, StreamedReply& reply);

inline constexpr StreamForm kRunStream{.read = readRunEvent};

/// What a run tells beside the text of its messages.
void readRunDetails(const ICOJsonValue& run, ReplyDetails& details);

/// What a failed run says of itself, for the user as it stands; "" when it does not.
std::string obtainRunError(const ICOJsonValue& run);
