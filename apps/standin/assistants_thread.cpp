#include "assistants_thread.h"

#include "assistants_checks.h"
#include "completions.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>

namespace standin {
namespace {

constexpr std::array<std::string_view, 4> kActiveStatuses{"queued", "in_progress", "requires_action", "cancelling"};

struct EndTime {
  std::string_view status;
  std::string_view member;
};
constexpr std::array kEndTimes{
    EndTime{"completed", "completed_at"},
    EndTime{"failed", "failed_at"},
    EndTime{"cancelled", "cancelled_at"},
};

bool isActive(std::string_view status) {
  return std::find(kActiveStatuses.begin(), kActiveStatuses.end(), status) != kActiveStatuses.end();
}

/// Sets a time that was not set yet.
void setTime(Members& members, std::string_view name) {
  if (memberOf(members, name) == "null") setMember(members, name, std::to_string(currentTime()));
}

/// What a run is asked to do, by its own members or else by its assistant's.
Members runMembers(const Members& assistant, const Members& sent) {
  Members members;
  addMembers(members, kRunRules, sent);
  for (const MemberRule& rule : kInheritedRules) {
    if (memberOf(sent, rule.name) == "null") setMember(members, rule.name, memberOf(assistant, rule.name));
  }
  return members;
}

Members newRunObject(const std::string& id, const std::string& threadId, const Members& asked) {
  Members members = newObject(id, "thread.run");
  members.emplace_back("thread_id", quote(threadId));
  members.emplace_back("status", quote("queued"));
  for (const char* name : {"started_at", "expires_at", "cancelled_at", "failed_at", "completed_at", "last_error",
                           "incomplete_details", "usage"}) {
    members.emplace_back(name, "null");
  }
  members.insert(members.end(), asked.begin(), asked.end());
  return members;
}

}  // namespace

std::string Identifiers::next(const std::string& kind) {
  return kind + "_standin_" + std::to_string(++counts_[kind]) + tail_;
}

AssistantsThread::AssistantsThread(const std::string& id, const Members& sent)
    : id_(id), members_(newObject(id, "thread")) {
  addMembers(members_, kThreadRules, sent);
}

const std::string* AssistantsThread::activeRun() const {
  const auto found = std::find_if(runs_.begin(), runs_.end(), [](const auto& run) { return run.second.active; });
  return found == runs_.end() ? nullptr : &found->first;
}

const AssistantsThread::Message& AssistantsThread::appendMessage(const Members& sent, Identifiers& identifiers) {
  const std::string id = identifiers.next("msg");
  Members members = newObject(id, "thread.message");
  members.emplace_back("assistant_id", memberOf(sent, "assistant_id"));
  members.emplace_back("thread_id", quote(id_));
  members.emplace_back("run_id", memberOf(sent, "run_id"));
  addMembers(members, kMessageRules, sent);
  messages_.push_back({.id = id,
                       .runId = unquote(memberOf(members, "run_id")),
                       .turn = {.fromUser = memberOf(members, "role") == quote("user"),
                                .text = readContent(memberOf(members, "content"))},
                       .members = members});
  return messages_.back();
}

ObjectOrFlaw AssistantsThread::addMessage(const Members& sent, Identifiers& identifiers) {
  if (const std::string* run = activeRun()) {
    return Flaw{.kind = &Wordings::busyForMessage, .value = id_, .detail = *run};
  }
  return writeObject(appendMessage(sent, identifiers).members);
}

ObjectOrFlaw AssistantsThread::listMessages(const MessageFilter& filter) const {
  std::vector<const Message*> listed;
  for (const Message& message : messages_) {
    if (filter.runId.empty() || filter.runId == message.runId) listed.push_back(&message);
  }
  if (!filter.oldestFirst) std::reverse(listed.begin(), listed.end());
  if (!filter.after.empty()) {
    const auto cursor =
        std::find_if(listed.begin(), listed.end(), [&](const Message* message) { return message->id == filter.after; });
    if (cursor == listed.end()) return Flaw{.kind = &Wordings::unknownMessage, .value = filter.after};
    listed.erase(listed.begin(), std::next(cursor));
  }
  const bool hasMore = listed.size() > filter.limit;
  if (hasMore) listed.resize(filter.limit);
  std::string data;
  for (const Message* message : listed) data += (data.empty() ? "" : ",") + writeObject(message->members);
  return writeObject({{"object", quote("list")},
                      {"data", "[" + data + "]"},
                      {"first_id", listed.empty() ? "null" : quote(listed.front()->id)},
                      {"last_id", listed.empty() ? "null" : quote(listed.back()->id)},
                      {"has_more", hasMore ? "true" : "false"}});
}

std::variant<AssistantsThread::Run*, Flaw> AssistantsThread::beginRun(const Members& assistant, const Members& sent,
                                                                      std::deque<RunScript>& scripts,
                                                                      Identifiers& identifiers) {
  if (const std::string* run = activeRun()) {
    return Flaw{.kind = &Wordings::busyForRun, .value = id_, .detail = *run};
  }
  const Members asked = runMembers(assistant, sent);
  if (auto flaw = checkModel(asked)) return std::move(*flaw);
  RunScript script;
  const bool scripted = !scripts.empty();
  if (scripted) {
    script = std::move(scripts.front());
    scripts.pop_front();
  }
  const std::string id = identifiers.next("run");
  Run& run = runs_[id];
  run = {.members = newRunObject(id, id_, asked),
         .statuses = {script.statuses.begin(), script.statuses.end()},
         .lastError = script.lastError.value_or("null"),
         .usage = {},
         .active = scripted};
  if (run.statuses.empty()) run.statuses.emplace_back("queued");
  writeAnswers(id, run, script, identifiers);
  return &run;
}

ObjectOrFlaw AssistantsThread::startRun(const Members& assistant, const Members& sent, std::deque<RunScript>& scripts,
                                        Identifiers& identifiers) {
  auto begun = beginRun(assistant, sent, scripts, identifiers);
  if (Flaw* flaw = std::get_if<Flaw>(&begun)) return std::move(*flaw);
  return writeObject(std::get<Run*>(begun)->members);
}

OpeningOrFlaw AssistantsThread::openRun(const Members& assistant, const Members& sent, std::deque<RunScript>& scripts,
                                        Identifiers& identifiers) {
  auto begun = beginRun(assistant, sent, scripts, identifiers);
  if (Flaw* flaw = std::get_if<Flaw>(&begun)) return std::move(*flaw);
  Run& run = *std::get<Run*>(begun);
  run.active = true;
  RunOpening opening{
      .id = unquote(memberOf(run.members, "id")), .queued = writeObject(run.members), .inProgress = {}, .messages = {}};
  const auto isTold = [](const std::string& status) { return status == "queued" || status == "in_progress"; };
  while (run.statuses.size() > 1 && isTold(run.statuses.front())) run.statuses.pop_front();
  enter(run, "in_progress");
  opening.inProgress = writeObject(run.members);
  for (const Message& message : messages_) {
    if (message.runId == opening.id) opening.messages.push_back(message.members);
  }
  return opening;
}

void AssistantsThread::writeAnswers(const std::string& runId, Run& run, const RunScript& script,
                                    Identifiers& identifiers) {
  Conversation conversation;
  conversation.add(Speaker::Instructions, unquote(memberOf(run.members, "instructions")));
  for (const Message& message : messages_) conversation.turns.push_back(message.turn);
  Answer answer = answerConversation(conversation);
  const std::vector<std::string> contents = script.contents.value_or(std::vector{writeContent({answer.text})});
  answer.wordsAnswered = 0;
  for (const std::string& content : contents) {
    appendMessage({{"role", quote("assistant")},
                   {"content", content},
                   {"run_id", quote(runId)},
                   {"assistant_id", memberOf(run.members, "assistant_id")}},
                  identifiers);
    answer.wordsAnswered += countWords(messages_.back().turn.text);
  }
  COJson usage;
  fillUsage(&usage, answer);
  run.usage = usage.obtainJsonString();
}

void AssistantsThread::advance(Run& run) {
  const std::string status = run.statuses.front();
  if (run.statuses.size() > 1) run.statuses.pop_front();
  enter(run, status);
}

void AssistantsThread::enter(Run& run, const std::string& status) {
  setMember(run.members, "status", quote(status));
  setMember(run.members, "last_error", run.lastError);
  if (status != "queued") setTime(run.members, "started_at");
  if (isActive(status)) return;
  run.active = false;
  setMember(run.members, "usage", run.usage);
  const auto time =
      std::find_if(kEndTimes.begin(), kEndTimes.end(), [&](const EndTime& it) { return it.status == status; });
  if (time != kEndTimes.end()) setTime(run.members, time->member);
}

ObjectOrFlaw AssistantsThread::tellRun(const std::string& id) {
  const auto found = runs_.find(id);
  if (found == runs_.end()) return Flaw{.kind = &Wordings::unknownRun, .value = id};
  advance(found->second);
  return writeObject(found->second.members);
}

ObjectOrFlaw AssistantsThread::cancelRun(const std::string& id) {
  const auto found = runs_.find(id);
  if (found == runs_.end()) return Flaw{.kind = &Wordings::unknownRun, .value = id};
  Run& run = found->second;
  const std::string status = unquote(memberOf(run.members, "status"));
  if (!isActive(status)) return Flaw{.kind = &Wordings::runHasEnded, .value = status};
  run.statuses = {"cancelled"};
  advance(run);
  return writeObject(run.members);
}

bool AssistantsThread::holdsRun(const std::string& id) const { return runs_.at(id).active; }

RunStep AssistantsThread::stepRun(const std::string& id) {
  Run& run = runs_.at(id);
  const bool isLastScripted = run.statuses.size() == 1;
  advance(run);
  return {.status = unquote(memberOf(run.members, "status")),
          .run = writeObject(run.members),
          .isLast = isLastScripted || !run.active};
}

}  // namespace standin
