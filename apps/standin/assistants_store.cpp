#include "assistants_store.h"

#include "assistants_checks.h"

#include <utility>

namespace standin {
namespace {

std::string writeDeleted(const std::string& id, const std::string& object) {
  return writeObject({{"id", quote(id)}, {"object", quote(object + ".deleted")}, {"deleted", "true"}});
}

/// What `use` makes of the object `id`; the flaw `unknown` when there is none.
template <class Result, class Objects, class Use>
Result withObject(Objects& objects, const std::string& id, Wording Wordings::*unknown, const Use& use) {
  const auto found = objects.find(id);
  if (found == objects.end()) return Flaw{.kind = unknown, .value = id};
  return use(found->second);
}

template <class Result = ObjectOrFlaw, class Assistants, class Use>
Result withAssistant(Assistants& assistants, const std::string& id, const Use& use) {
  return withObject<Result>(assistants, id, &Wordings::unknownAssistant, use);
}

template <class Result = ObjectOrFlaw, class Threads, class Use>
Result withThread(Threads& threads, const std::string& id, const Use& use) {
  return withObject<Result>(threads, id, &Wordings::unknownThread, use);
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

void AssistantsStore::forget() {
  const std::lock_guard lock(mutex_);
  state_.assistants.clear();
  state_.threads.clear();
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
  return withAssistant(state_.assistants, id, writeObject);
}

ObjectOrFlaw AssistantsStore::modifyAssistant(const std::string& id, const Members& sent) {
  const std::lock_guard lock(mutex_);
  return withAssistant(state_.assistants, id, [&](Members& assistant) -> ObjectOrFlaw {
    Members changed = assistant;
    changeMembers(changed, kAssistantRules, sent);
    if (auto flaw = checkModel(changed)) return std::move(*flaw);
    return writeObject(assistant = std::move(changed));
  });
}

ObjectOrFlaw AssistantsStore::deleteAssistant(const std::string& id) {
  const std::lock_guard lock(mutex_);
  return withAssistant(state_.assistants, id, [&](const Members& /*assistant*/) {
    state_.assistants.erase(id);
    return writeDeleted(id, "assistant");
  });
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
  return withThread(state_.threads, id, [](const AssistantsThread& thread) { return thread.write(); });
}

ObjectOrFlaw AssistantsStore::deleteThread(const std::string& id) {
  const std::lock_guard lock(mutex_);
  return withThread(state_.threads, id, [&](const AssistantsThread& /*thread*/) {
    state_.threads.erase(id);
    return writeDeleted(id, "thread");
  });
}

ObjectOrFlaw AssistantsStore::addMessage(const std::string& threadId, const Members& sent) {
  const std::lock_guard lock(mutex_);
  return withThread(state_.threads, threadId,
                    [&](AssistantsThread& thread) { return thread.addMessage(sent, state_.identifiers); });
}

ObjectOrFlaw AssistantsStore::listMessages(const std::string& threadId, const MessageFilter& filter) const {
  const std::lock_guard lock(mutex_);
  return withThread(state_.threads, threadId,
                    [&](const AssistantsThread& thread) { return thread.listMessages(filter); });
}

ObjectOrFlaw AssistantsStore::startRun(const std::string& threadId, const Members& sent) {
  const std::lock_guard lock(mutex_);
  return withThread(state_.threads, threadId, [&](AssistantsThread& thread) {
    const std::string assistantId = unquote(memberOf(sent, "assistant_id"));
    return withAssistant(state_.assistants, assistantId, [&](const Members& assistant) {
      return thread.startRun(assistant, sent, state_.scripts, state_.identifiers);
    });
  });
}

ObjectOrFlaw AssistantsStore::tellRun(const std::string& threadId, const std::string& runId) {
  const std::lock_guard lock(mutex_);
  return withThread(state_.threads, threadId, [&](AssistantsThread& thread) { return thread.tellRun(runId); });
}

ObjectOrFlaw AssistantsStore::cancelRun(const std::string& threadId, const std::string& runId) {
  const std::lock_guard lock(mutex_);
  return withThread(state_.threads, threadId, [&](AssistantsThread& thread) { return thread.cancelRun(runId); });
}

OpeningOrFlaw AssistantsStore::openRun(const std::string& threadId, const Members& sent) {
  const std::lock_guard lock(mutex_);
  return withThread<OpeningOrFlaw>(state_.threads, threadId, [&](AssistantsThread& thread) {
    const std::string assistantId = unquote(memberOf(sent, "assistant_id"));
    return withAssistant<OpeningOrFlaw>(state_.assistants, assistantId, [&](const Members& assistant) {
      return thread.openRun(assistant, sent, state_.scripts, state_.identifiers);
    });
  });
}

bool AssistantsStore::holdsRun(const std::string& threadId, const std::string& runId) const {
  const std::lock_guard lock(mutex_);
  const auto thread = state_.threads.find(threadId);
  return thread != state_.threads.end() && thread->second.holdsRun(runId);
}

std::optional<RunStep> AssistantsStore::stepRun(const std::string& threadId, const std::string& runId) {
  const std::lock_guard lock(mutex_);
  const auto thread = state_.threads.find(threadId);
  if (thread == state_.threads.end()) return std::nullopt;
  return thread->second.stepRun(runId);
}

}  // namespace standin
