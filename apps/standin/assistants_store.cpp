#include "assistants_store.h"

#include "completions.h"

#include <algorithm>
#include <array>
#include <utility>

namespace standin {
namespace {

StoreResult unknown(const std::string& kind, const std::string& id) {
  return {404, "No " + kind + " found with id '" + id + "'."};
}

StoreResult deleted(const std::string& id, const std::string& object) {
  return {.text = writeObject({{"id", quote(id)}, {"object", quote(object + ".deleted")}, {"deleted", "true"}})};
}

/// The members that every object begins with.
Members newObject(const std::string& id, const std::string& object) {
  return {{"id", quote(id)}, {"object", quote(object)}, {"created_at", std::to_string(currentTime())}};
}

constexpr std::array<std::string_view, 4> kActiveStatuses{"queued", "in_progress", "requires_action", "cancelling"};

bool isActive(std::string_view status) {
  return std::find(kActiveStatuses.begin(), kActiveStatuses.end(), status) != kActiveStatuses.end();
}

}  // namespace

AssistantsStore::AssistantsStore(std::string idTail) { state_.idTail = std::move(idTail); }

AssistantsStore::AssistantsStore(const AssistantsStore& other) : state_(other.copyState()) {}

AssistantsStore::State AssistantsStore::copyState() const {
  const std::lock_guard lock(mutex_);
  return state_;
}

void AssistantsStore::scriptRun(RunScript script) {
  const std::lock_guard lock(mutex_);
  state_.scripts.push_back(std::move(script));
}

std::string AssistantsStore::State::newId(std::string_view opening) {
  return std::string(opening) + "_standin_" + std::to_string(++counts[opening]) + idTail;
}

StoreResult AssistantsStore::createAssistant(const Members& sent) {
  const std::lock_guard lock(mutex_);
  const std::string id = state_.newId("asst");
  Members& members = state_.assistants[id] = newObject(id, "assistant");
  addMembers(members, kAssistantRules, sent);
  return {.text = writeObject(members)};
}

StoreResult AssistantsStore::tellAssistant(const std::string& id) const {
  const std::lock_guard lock(mutex_);
  const auto found = state_.assistants.find(id);
  if (found == state_.assistants.end()) return unknown("assistant", id);
  return {.text = writeObject(found->second)};
}

StoreResult AssistantsStore::modifyAssistant(const std::string& id, const Members& sent) {
  const std::lock_guard lock(mutex_);
  const auto found = state_.assistants.find(id);
  if (found == state_.assistants.end()) return unknown("assistant", id);
  changeMembers(found->second, kAssistantRules, sent);
  return {.text = writeObject(found->second)};
}

StoreResult AssistantsStore::deleteAssistant(const std::string& id) {
  const std::lock_guard lock(mutex_);
  return state_.assistants.erase(id) == 0 ? unknown("assistant", id) : deleted(id, "assistant");
}

StoreResult AssistantsStore::createThread(const Members& sent, const std::vector<Members>& messages) {
  const std::lock_guard lock(mutex_);
  const std::string id = state_.newId("thread");
  Thread& thread = state_.threads[id];
  thread.members = newObject(id, "thread");
  addMembers(thread.members, kThreadRules, sent);
  for (const Members& message : messages) thread.messages.push_back(state_.newMessage(id, message));
  return {.text = writeObject(thread.members)};
}

StoreResult AssistantsStore::tellThread(const std::string& id) const {
  const std::lock_guard lock(mutex_);
  const auto found = state_.threads.find(id);
  if (found == state_.threads.end()) return unknown("thread", id);
  return {.text = writeObject(found->second.members)};
}

StoreResult AssistantsStore::deleteThread(const std::string& id) {
  const std::lock_guard lock(mutex_);
  return state_.threads.erase(id) == 0 ? unknown("thread", id) : deleted(id, "thread");
}

AssistantsStore::Message AssistantsStore::State::newMessage(const std::string& threadId, const Members& sent) {
  const std::string id = newId("msg");
  Members members = newObject(id, "thread.message");
  members.emplace_back("assistant_id", memberOf(sent, "assistant_id"));
  members.emplace_back("thread_id", quote(threadId));
  members.emplace_back("run_id", memberOf(sent, "run_id"));
  addMembers(members, kMessageRules, sent);
  return {.id = id,
          .runId = unquote(memberOf(members, "run_id")),
          .turn = {.fromUser = memberOf(members, "role") == quote("user"),
                   .text = readContent(memberOf(members, "content"))},
          .json = writeObject(members)};
}

std::string AssistantsStore::activeRun(const Thread& thread) {
  const auto found =
      std::find_if(thread.runs.begin(), thread.runs.end(), [](const auto& run) { return run.second.active; });
  return found == thread.runs.end() ? std::string() : found->first;
}

StoreResult AssistantsStore::addMessage(const std::string& threadId, const Members& sent) {
  const std::lock_guard lock(mutex_);
  const auto found = state_.threads.find(threadId);
  if (found == state_.threads.end()) return unknown("thread", threadId);
  Thread& thread = found->second;
  const std::string active = activeRun(thread);
  if (!active.empty()) return {400, "Can't add messages to " + threadId + " while a run " + active + " is active."};
  thread.messages.push_back(state_.newMessage(threadId, sent));
  return {.text = thread.messages.back().json};
}

StoreResult AssistantsStore::listMessages(const std::string& threadId, const MessageFilter& filter) const {
  const std::lock_guard lock(mutex_);
  const auto found = state_.threads.find(threadId);
  if (found == state_.threads.end()) return unknown("thread", threadId);
  std::vector<const Message*> listed;
  for (const Message& message : found->second.messages) {
    if (filter.runId.empty() || filter.runId == message.runId) listed.push_back(&message);
  }
  if (!filter.oldestFirst) std::reverse(listed.begin(), listed.end());
  const bool hasMore = listed.size() > filter.limit;
  if (hasMore) listed.resize(filter.limit);
  std::string data;
  for (const Message* message : listed) data += (data.empty() ? "" : ",") + message->json;
  return {.text = writeObject({{"object", quote("list")},
                               {"data", "[" + data + "]"},
                               {"first_id", listed.empty() ? "null" : quote(listed.front()->id)},
                               {"last_id", listed.empty() ? "null" : quote(listed.back()->id)},
                               {"has_more", hasMore ? "true" : "false"}})};
}

AssistantsStore::Run AssistantsStore::State::newRun(const std::string& id, const std::string& threadId,
                                                    const Members& assistant, const Members& sent) {
  Members effective = sent;
  for (const MemberRule& rule : kInheritedRules) {
    if (memberOf(sent, rule.name) == "null") effective.emplace_back(rule.name, memberOf(assistant, rule.name));
  }
  Run run{.members = newObject(id, "thread.run"),
          .statuses = {"completed"},
          .lastError = "null",
          .usage = "null",
          .active = false};
  run.members.emplace_back("thread_id", quote(threadId));
  run.members.emplace_back("status", quote("queued"));
  for (const char* name : {"started_at", "expires_at", "cancelled_at", "failed_at", "completed_at", "last_error",
                           "incomplete_details", "usage"}) {
    run.members.emplace_back(name, "null");
  }
  addMembers(run.members, kRunRules, effective);
  return run;
}

void AssistantsStore::State::writeAnswers(const std::string& runId, const std::string& threadId, Run& run,
                                          const RunScript& script) {
  Thread& thread = threads.at(threadId);
  Conversation conversation;
  conversation.add(Speaker::Instructions, unquote(memberOf(run.members, "instructions")));
  for (const Message& message : thread.messages) conversation.turns.push_back(message.turn);
  const Answer answer = answerConversation(conversation);
  COJson usage;
  fillUsage(&usage, answer);
  run.usage = usage.obtainJsonString();
  const std::array texts{answer.text};
  for (const std::string& content : script.contents.value_or(std::vector{writeContent(texts)})) {
    thread.messages.push_back(newMessage(threadId, {{"role", quote("assistant")},
                                                    {"content", content},
                                                    {"run_id", quote(runId)},
                                                    {"assistant_id", memberOf(run.members, "assistant_id")}}));
  }
}

StoreResult AssistantsStore::startRun(const std::string& threadId, const Members& sent) {
  const std::lock_guard lock(mutex_);
  const auto thread = state_.threads.find(threadId);
  if (thread == state_.threads.end()) return unknown("thread", threadId);
  const std::string assistantId = unquote(memberOf(sent, "assistant_id"));
  const auto assistant = state_.assistants.find(assistantId);
  if (assistant == state_.assistants.end()) return unknown("assistant", assistantId);
  const std::string active = activeRun(thread->second);
  if (!active.empty()) return {400, "Thread " + threadId + " already has an active run " + active + "."};
  const std::string id = state_.newId("run");
  Run run = state_.newRun(id, threadId, assistant->second, sent);
  RunScript script;
  if (!state_.scripts.empty()) {
    script = std::move(state_.scripts.front());
    state_.scripts.pop_front();
    run.active = true;
    run.lastError = script.lastError.value_or("null");
    run.statuses.assign(script.statuses.begin(), script.statuses.end());
    if (run.statuses.empty()) run.statuses.emplace_back("queued");
  }
  state_.writeAnswers(id, threadId, run, script);
  return {.text = writeObject((thread->second.runs[id] = std::move(run)).members)};
}

void AssistantsStore::advance(Run& run) {
  const std::string status = run.statuses.front();
  if (run.statuses.size() > 1) run.statuses.pop_front();
  setMember(run.members, "status", quote(status));
  setMember(run.members, "last_error", run.lastError);
  if (isActive(status)) return;
  run.active = false;
  setMember(run.members, "usage", run.usage);
}

StoreResult AssistantsStore::tellRun(const std::string& threadId, const std::string& runId) {
  const std::lock_guard lock(mutex_);
  const auto thread = state_.threads.find(threadId);
  if (thread == state_.threads.end()) return unknown("thread", threadId);
  const auto run = thread->second.runs.find(runId);
  if (run == thread->second.runs.end()) return unknown("run", runId);
  advance(run->second);
  return {.text = writeObject(run->second.members)};
}

}  // namespace standin
