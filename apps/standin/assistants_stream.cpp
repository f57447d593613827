#include "assistants_stream.h"

#include "conversation.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace standin {
namespace {

/// In these a run is not where its stream may end, so that such a stream lacks its last event.
constexpr std::array<std::string_view, 3> kPassing{"queued", "in_progress", "cancelling"};

std::string runEvent(std::string_view status, std::string_view run) {
  return writeNamedEvent("thread.run." + std::string(status), run);
}

std::string writeDelta(std::string_view messageId, std::size_t part, std::string_view text) {
  COJson document;
  document.addKeyValue("id")->setString(messageId);
  document.addKeyValue("object")->setString("thread.message.delta");
  COJsonValue* item = document.addKeyValue("delta")->addKeyValue("content")->addArrayItem();
  item->addKeyValue("index")->setInteger(static_cast<std::int64_t>(part));
  item->addKeyValue("type")->setString("text");
  item->addKeyValue("text")->addKeyValue("value")->setString(text);
  return document.obtainJsonString();
}

/// Only texts come in pieces; what else a message holds is told with its end.
void addMessage(std::vector<std::string>& events, const Members& message) {
  Members begun = message;
  setMember(begun, "content", "[]");
  for (const char* name : {"thread.message.created", "thread.message.in_progress"}) {
    events.push_back(writeNamedEvent(name, writeObject(begun)));
  }
  const std::string id = unquote(memberOf(message, "id"));
  const COJson content(memberOf(message, "content"));
  for (std::size_t part = 0; part < content.obtainArraySize(); ++part) {
    const COJsonValue* text = content.obtainArrayItem(part)->obtainJsonValue("text");
    if (text == nullptr) continue;
    for (const std::string& piece : cutText(textOf(*text, "value"))) {
      events.push_back(writeNamedEvent("thread.message.delta", writeDelta(id, part, piece)));
    }
  }
  events.push_back(writeNamedEvent("thread.message.completed", writeObject(message)));
}

class RunEvents {
 public:
  RunEvents(AssistantsStore& store, std::string threadId, const RunOpening& opening)
      : store_(&store),
        threadId_(std::move(threadId)),
        runId_(opening.id),
        begun_{runEvent("created", opening.queued), runEvent("queued", opening.queued),
               runEvent("in_progress", opening.inProgress)} {
    for (const Members& message : opening.messages) addMessage(begun_, message);
  }

  std::optional<std::string> operator()() {
    if (next_ < begun_.size() && store_->holdsRun(threadId_, runId_)) return begun_[next_++];
    next_ = begun_.size();
    if (ended_) return std::exchange(end_, std::nullopt);
    const std::optional<RunStep> step = store_->stepRun(threadId_, runId_);
    if (!step) return std::nullopt;
    ended_ = step->isLast;
    if (ended_ && std::find(kPassing.begin(), kPassing.end(), step->status) != kPassing.end()) end_.reset();
    return runEvent(step->status, step->run);
  }

 private:
  AssistantsStore* store_;
  std::string threadId_;
  std::string runId_;
  std::vector<std::string> begun_;
  std::size_t next_ = 0;
  bool ended_ = false;
  std::optional<std::string> end_ = writeNamedEvent("done", "[DONE]");
};

}  // namespace

EventSource runEvents(AssistantsStore& store, const std::string& threadId, const RunOpening& opening) {
  return RunEvents(store, threadId, opening);
}

}  // namespace standin
