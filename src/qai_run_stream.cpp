#include "qai_run_stream.h"

#include "qai_chat_completions.h"

#include <cf/json_shortcuts.h>

#include <algorithm>
#include <array>

namespace {

constexpr std::string_view kRunEvent = "thread.run.";

constexpr auto kEnds =
    std::to_array<std::string_view>({kRunCompleted, kRunFailed, kRunWaiting, "cancelled", "expired", "incomplete"});

void readRun(std::string_view state, const ICOJsonValue& run, StreamedReply& reply) {
  readDetail(&run, "id", reply.run.identifier);
  readRunDetails(run, reply.details);
  if (std::find(kEnds.begin(), kEnds.end(), state) == kEnds.end()) return;
  reply.run.end = state;
  reply.isDone = true;
  reply.isInFormat = true;
}

/// The texts in the parts of a message, or in pieces of them.
void readParts(const ICOJsonValue& message, const ICOJsonValue* content, StreamedReply& reply) {
  const ICOJsonValue* id = cfFindJsonMember(&message, "id", JsonType::String);
  StreamedChoice& choice = reply.obtainChoice(message, 0);
  choice.author = StreamedChoice::Author::Assistant;
  choice.hasEnded = true;  // the run tells when there is no more
  for (std::size_t i = 0; content != nullptr && i < content->obtainArraySize(); ++i) {
    const ICOJsonValue* item = content->obtainArrayItem(i);
    const ICOJsonValue* value =
        cfFindJsonMember(cfFindJsonMember(item, "text", JsonType::Object), "value", JsonType::String);
    if (value == nullptr) continue;
    const ICOJsonValue* index = cfFindJsonMember(item, "index", JsonType::Number);
    const double part = index == nullptr ? static_cast<double>(i) : index->obtainNumber();
    const std::string_view name = id == nullptr ? std::string_view() : id->obtainString();
    if (reply.run.partStarts.empty() || reply.run.message != name || reply.run.part != part) {
      reply.run.partStarts.push_back(choice.text.size());
      reply.run.messages.emplace(name);
      reply.run.message = name;
      reply.run.part = part;
    }
    reply.append(choice, value->obtainString());
  }
}

void readCreation(const ICOJsonValue& message, StreamedReply& reply) {
  const ICOJsonValue* created = cfFindJsonMember(&message, "created_at", JsonType::Number);
  if (created != nullptr && reply.run.createdTime == 0) {
    reply.run.createdTime = completions::toSeconds(created->obtainNumber());
  }
}

/// A whole message, of which pieces may have come before.
void readWholeMessage(const ICOJsonValue& message, StreamedReply& reply) {
  readCreation(message, reply);
  const ICOJsonValue* id = cfFindJsonMember(&message, "id", JsonType::String);
  const bool isKnown = id != nullptr && reply.run.messages.contains(id->obtainString());
  if (!isKnown) readParts(message, cfFindJsonMember(&message, "content", JsonType::Array), reply);
}

}  // namespace

void readRunEvent(std::string_view type, const ICOJsonValue& event, StreamedReply& reply) {
  if (type == "thread.message.delta") {
    const ICOJsonValue* delta = cfFindJsonMember(&event, "delta", JsonType::Object);
    readParts(event, delta == nullptr ? nullptr : delta->obtainJsonValue("content"), reply);
  } else if (type == "thread.message.created") {
    readCreation(event, reply);
  } else if (type == "thread.message.completed" || type == "thread.message.incomplete") {
    readWholeMessage(event, reply);
  } else if (type.starts_with(kRunEvent) && !type.starts_with("thread.run.step.")) {
    readRun(type.substr(kRunEvent.size()), event, reply);
    if (reply.run.end == kRunFailed) reply.error = obtainRunError(event);
  }
}

void readRunDetails(const ICOJsonValue& run, ReplyDetails& details) {
  readDetail(&run, "model", details.model);
  readDetail(run.obtainJsonValue("incomplete_details"), "reason", details.finishReason);
  const ICOJsonValue* usage = run.obtainJsonValue("usage");
  readDetail(usage, "prompt_tokens", details.inputTokens);
  readDetail(usage, "completion_tokens", details.outputTokens);
  if (usage == nullptr) return;
  readDetail(usage->obtainJsonValue("prompt_token_details"), "cached_tokens", details.cachedTokens);
}

std::string obtainRunError(const ICOJsonValue& run) {
  const ICOJsonValue* error = cfFindJsonMember(&run, "last_error", JsonType::Object);
  const ICOJsonValue* code = cfFindJsonMember(error, "code", JsonType::String);
  const ICOJsonValue* message = cfFindJsonMember(error, "message", JsonType::String);
  if (code == nullptr || message == nullptr) return "";
  return std::string(code->obtainString()).append(": ").append(message->obtainString());
}
