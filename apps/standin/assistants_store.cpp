#include "assistants_store.h"

#include "assistants_checks.h"

#include <utility>

namespace standin {
namespace {

Flaw unknownAssistant(const std::string& id) { return {.kind = &Wordings::unknownAssistant, .value = id}; }
Flaw unknownThread(const std::string& id) { return {.kind = &Wordings::unknownThread, .value = id}; }

std::string writeDeleted(const std::string& id, const std::string& object) {
  return writeObject({{"id", quote(id)}, {"object", quote(object + ".deleted")}, {"deleted", "true"}});
}

}  // namespace

AssistantsStore::State AssistantsStore::copyState() const {
  const std::lock_guard lock(mutex_);
  return state_;
}

void AssistantsStore::scriptRun(RunScript script) {
  const std::lock_guard lock(mutex_);
  state_.scripts.push_back(std::move(script));
}

ObjectOrFlaw AssistantsStore::createAssistant(const Members& sent) {
  Members told;
  addMembers(told, kAssistantRules, sent);
  if (auto flaw = checkModel(told)) return std::move(*flaw);
  const std::lock_guard lock(mutex_);
  const std::string id = state_.identifiers.next("asst");
  Members members = newObject(id, "assistant");
  members.insert(members.end(), told.begin(), told.end());
  return writeObject(state_.assistants[id] = std::move(members));
}

ObjectOrFlaw AssistantsStore::tellAssistant(const std::string& id) const {
  const std::lock_guard lock(mutex_);
  const auto found = state_.assistants.find(id);
  if (found == state_.assistants.end()) return unknownAssistant(id);
  return writeObject(found->second);
}

ObjectOrFlaw AssistantsStore::modifyAssistant(const std::string& id, const Members& sent) {
  const std::lock_guard lock(mutex_);
  const auto found = state_.assistants.find(id);
  if (found == state_.assistants.end()) return unknownAssistant(id);
  Members changed = found->second;
  changeMembers(changed, kAssistantRules, sent);
  if (auto flaw = checkModel(changed)) return std::move(*flaw);
  return writeObject(found->second = std::move(changed));
}

ObjectOrFlaw AssistantsStore::deleteAssistant(const std::string& id) {
  const std::lock_guard lock(mutex_);
  if (state_.assistants.erase(id) == 0) return unknownAssistant(id);
  return writeDeleted(id, "assistant");
}

ObjectOrFlaw AssistantsStore::createThread(const Members& sent, const std::vector<Members>& messages) {
  const std::lock_guard lock(mutex_);
  const std::string id = state_.identifiers.next("thread");
  AssistantsThread& thread = state_.threads.emplace(id, AssistantsThread(id, sent)).first->second;
  for (const Members& message : messages) thread.addMessage(message, state_.identifiers);
  return thread.write();
}

ObjectOrFlaw AssistantsStore::tellThread(const std::string& id) const {
  const std::lock_guard lock(mutex_);
  const auto found = state_.threads.find(id);
  if (found == state_.threads.end()) return unknownThread(id);
  return found->second.write();
}

ObjectOrFlaw AssistantsStore::deleteThread(const std::string& id) {
  const std::lock_guard lock(mutex_);
  if (state_.threads.erase(id) == 0) return unknownThread(id);
  return writeDeleted(id, "thread");
}

ObjectOrFlaw AssistantsStore::addMessage(const std::string& threadId, const Members& sent) {
  const std::lock_guard lock(mutex_);
  const auto found = state_.threads.find(threadId);
  if (found == state_.threads.end()) return unknownThread(threadId);
  return found->second.addMessage(sent, state_.identifiers);
}

ObjectOrFlaw AssistantsStore::listMessages(const std::string& threadId, const MessageFilter& filter) const {
  const std::lock_guard lock(mutex_);
  const auto found = state_.threads.find(threadId);
  if (found == state_.threads.end()) return unknownThread(threadId);
  return found->second.listMessages(filter);
}

ObjectOrFlaw AssistantsStore::startRun(const std::string& threadId, const Members& sent) {
  const std::lock_guard lock(mutex_);
  const auto thread = state_.threads.find(threadId);
  if (thread == state_.threads.end()) return unknownThread(threadId);
  const std::string assistantId = unquote(memberOf(sent, "assistant_id"));
  const auto assistant = state_.assistants.find(assistantId);
  if (assistant == state_.assistants.end()) return unknownAssistant(assistantId);
  return thread->second.startRun(assistant->second, sent, state_.scripts, state_.identifiers);
}

ObjectOrFlaw AssistantsStore::tellRun(const std::string& threadId, const std::string& runId) {
  const std::lock_guard lock(mutex_);
  const auto found = state_.threads.find(threadId);
  if (found == state_.threads.end()) return unknownThread(threadId);
  return found->second.tellRun(runId);
}

}  // namespace standin
