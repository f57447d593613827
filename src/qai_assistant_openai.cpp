#include "qai_assistant_openai.h"

#include "qai_chat_completions.h"
#include "qai_exports.h"
#include "qai_session_openai_v1.h"

#include <cf/assert.h>
#include <cf/json_shortcuts.h>
#include <cf/url.h>

#include <algorithm>
#include <new>
#include <thread>

namespace {

// https://platform.openai.com/docs/api-reference/assistants, …/threads, …/messages and …/runs
constexpr const char* kVersion = "v1";
constexpr const char* kAssistants = "assistants";

// Labels follow the library's own texts as they stand.
constexpr std::string_view kCreateLabel = ": p/v1/assistants";
constexpr std::string_view kModifyLabel = ": p/v1/assistants/id";
constexpr std::string_view kThreadLabel = ": p/v1/threads";

constexpr ServiceRow kAssistantsService = [] {
  ServiceRow row = kOpenAIService;
  row.models.mayBeAnError = true;
  row.header = {"OpenAI-Beta", "assistants=v2"};
  return row;
}();

/// Whether there is a `text` that names something: an empty one would leave a segment of a path empty.
bool isIdentifier(const ICOJsonValue* text) { return text != nullptr && !text->obtainString().empty(); }

void appendContent(QAIReply& reply, const ICOJsonValue& content) {
  for (std::size_t i = 0; i < content.obtainArraySize(); ++i) {
    const ICOJsonValue* part = content.obtainArrayItem(i);
    const ICOJsonValue* j_type = cfFindJsonMember(part, "type", JsonType::String);
    if (j_type == nullptr || !CF_ASSERT(j_type->obtainString() == "text")) continue;
    const ICOJsonValue* text = cfFindJsonMember(part, "text", JsonType::Object);
    const ICOJsonValue* value = cfFindJsonMember(text, "value", JsonType::String);
    if (value != nullptr) reply.addText(std::string(value->obtainString()));
  }
}

}  // namespace

void sleepFor(std::chrono::milliseconds time) { std::this_thread::sleep_for(time); }

QAISession_OPENAI::QAISession_OPENAI(QAIAssistantProperties_OPENAI& properties, std::string assistantID,
                                     std::string threadID)
    : m_assistantID(std::move(assistantID)), m_threadID(std::move(threadID)), m_properties(properties) {}

std::string QAISession_OPENAI::obtainSessionData() const {
  COJson data;
  data.addKeyValue("assistant_id")->setStringReference(m_assistantID);
  data.addKeyValue("thread_id")->setStringReference(m_threadID);
  m_properties.save(data);
  return data.obtainJsonString();
}

bool QAISession_OPENAI::load(const std::string& data) {
  const COJson saved = COJson::readReference(data);
  const ICOJsonValue* assistant = cfFindJsonMember(&saved, "assistant_id", JsonType::String);
  const ICOJsonValue* thread = cfFindJsonMember(&saved, "thread_id", JsonType::String);
  if (!isIdentifier(assistant) || !isIdentifier(thread)) return false;
  m_assistantID = assistant->obtainString();
  m_threadID = thread->obtainString();
  m_properties.restore(saved);
  return true;
}

QAIAssistant_OPENAI::QAIAssistant_OPENAI(ICSHTTPPoolCenter* pool, const std::string& apiHost, const std::string& apiKey,
                                         RunSleep sleep)
    : QAIAssistantBase(kAssistantsService, pool, apiHost, apiKey, std::make_unique<QAIAssistantProperties_OPENAI>()),
      m_properties(static_cast<QAIAssistantProperties_OPENAI*>(properties_.get())),
      m_sleep(std::move(sleep)) {}

std::string QAIAssistant_OPENAI::address(const Path& path) const {
  std::vector<std::string> parts{m_properties->apiHost, kVersion};
  parts.insert(parts.end(), path.begin(), path.end());
  return cfConcatURL(parts);
}

/// Asks for the whole JSON at `path`.
QAIAssistant_OPENAI::Reply QAIAssistant_OPENAI::get(const Path& path, const CMRestParams& query,
                                                    std::string_view label) const {
  return readReply(HTTP::Get(restSession_.get(), address(path), query, {}), kInvalidResponse, label);
}

/// Posts `body` (null: none); gives the "id" of what the service made of it, which is a string.
QAIAssistant_OPENAI::Reply QAIAssistant_OPENAI::post(const Path& path, ICOJsonValue* body,
                                                     std::string_view label) const {
  return readCreated(HTTP::Post(restSession_.get(), address(path), body, {}, {}), label);
}

/// Takes `result`'s response over.
QAIAssistant_OPENAI::Reply QAIAssistant_OPENAI::readCreated(const HTTPResult& result, std::string_view label) const {
  Reply reply = readReply(result, kInvalidResponse, label);
  if (!reply.error.empty()) return reply;
  reply.json = cfFindJsonMember(reply.json, "id", JsonType::String);
  if (!isIdentifier(reply.json)) reply.error = failure(kUnsupportedFormat, label);
  return reply;
}

std::string QAIAssistant_OPENAI::remove(const Path& path) const {
  const auto [response, httpError] = HTTP::Delete(restSession_.get(), address(path));
  const std::unique_ptr<CMRestResourceResponse> reply(response);
  if (httpError.empty()) return "";
  return obtainFailureText(reply.get(), httpError);
}

std::string QAIAssistant_OPENAI::setAssistantProperties(std::function<void(IQAIProperties*)> fill) {
  if (!fill) return "Properties not set";
  QAIAssistantProperties_OPENAI filled;
  filled.apiHost = m_properties->apiHost;  // as a field: it counts as assigned only when `fill` assigns it
  fill(&filled);
  filled.temperature = std::clamp(filled.temperature, 0.0, 2.0);
  if (filled.assignedKeys.contains("api_host")) useDefaultHostForBlank(filled);

  // What will be is made before the service is told, since afterwards nothing may fail.
  QAIAssistantProperties_OPENAI described(*m_properties);
  filled.describe(described);
  std::string id = m_assistantID;
  std::string host = std::exchange(m_properties->apiHost, std::string(described.apiHost));  // at once, for the request
  try {
    if (std::string error = describeAssistant(filled, id); !error.empty()) return error;
  } catch (...) {
    m_properties->apiHost = std::move(host);
    throw;
  }
  m_assistantID = std::move(id);
  *m_properties = std::move(described);
  return "";
}

/// Has the service make an assistant, whose `id` it gives then, or describe the one of this `id` anew.
std::string QAIAssistant_OPENAI::describeAssistant(const QAIAssistantProperties_OPENAI& properties,
                                                   std::string& id) const {
  if (!id.empty()) return modifyAssistant(properties);
  Reply created = createAssistant(properties);
  if (created.error.empty()) id = created.json->obtainString();
  return std::move(created.error);
}

/// Describes the assistant to the service. Name, description and instructions always go along, so that it never keeps
/// those of an earlier description; a model or a temperature that is not set stays as the service has it.
QAIAssistant_OPENAI::Reply QAIAssistant_OPENAI::postAssistant(const Path& path,
                                                              const QAIAssistantProperties_OPENAI& properties,
                                                              std::string_view label) const {
  const auto assigned = [&](const char* key) { return properties.assignedKeys.contains(key); };
  const InstructionsJson instructions = properties.obtainInstructionsJson();
  COJson body;
  if (assigned("model")) body.addKeyValue("model")->setStringReference(properties.model);
  body.addKeyValue("name")->setStringReference(properties.name);
  body.addKeyValue("description")->setStringReference(properties.description);
  if (assigned("temperature")) body.addKeyValue("temperature")->setNumber(properties.temperature);
  body.addKeyValue("instructions")->setJsonReference(instructions.pieces());
  return post(path, &body, label);
}

QAIAssistant_OPENAI::Reply QAIAssistant_OPENAI::createAssistant(const QAIAssistantProperties_OPENAI& properties) const {
  if (!properties.model.empty()) return postAssistant({kAssistants}, properties, kCreateLabel);
  return {.response = nullptr, .json = nullptr, .error = localizeString("Model is empty")};
}

std::string QAIAssistant_OPENAI::modifyAssistant(const QAIAssistantProperties_OPENAI& properties) const {
  Reply reply = postAssistant({kAssistants, m_assistantID}, properties, kModifyLabel);
  const ICOJsonValue* j_id = reply.json;
  if (reply.error.empty()) CF_ASSERT(this->m_assistantID == j_id->obtainString());
  return std::move(reply.error);
}

/// A failure leaves an assistant without threads, which harms nobody. So does one for want of memory: the session,
/// which the host asked about, is gone by then.
void QAIAssistant_OPENAI::destroyAssistant(const std::string& id) const {
  try {
    remove({kAssistants, id});
  } catch (const std::bad_alloc&) {
    return;
  }
}

IQAIProperties* QAIAssistant_OPENAI::obtainAssistantProperties() { return m_properties; }

std::pair<IQAISession*, std::string> QAIAssistant_OPENAI::createSession() {
  if (m_assistantID.empty()) {
    return {nullptr, localizeString("Assistant not initialized, set assistant properties")};
  }
  Reply thread = post({kThreads}, nullptr, kThreadLabel);
  if (!thread.error.empty()) return {nullptr, std::move(thread.error)};
  auto session =
      std::make_unique<QAISession_OPENAI>(*m_properties, m_assistantID, std::string(thread.json->obtainString()));
  m_sessions.push_back(session.get());
  return {session.release(), ""};
}

std::pair<IQAISession*, std::string> QAIAssistant_OPENAI::loadSession(std::string data) {
  if (!CF_ASSERT(this->m_assistantID.empty())) {
    return {nullptr, "Assistant already exist, cannot restore assistant in serializedSession"};
  }
  auto session = std::make_unique<QAISession_OPENAI>(*m_properties);
  SettingsGuard guard(*m_properties);
  if (!session->load(data)) return {nullptr, localizeString("Cannot load session data")};
  useDefaultHostForBlank(*m_properties);
  std::string id = session->assistantID();
  m_sessions.push_back(session.get());
  m_assistantID = std::move(id);
  guard.keepChanges();
  return {session.release(), ""};
}

/// `session` as one that refers to this assistant's record; null when it is none.
const QAISession_OPENAI* QAIAssistant_OPENAI::asOwnSession(const IQAISession* session) const {
  const auto* own = dynamic_cast<const QAISession_OPENAI*>(session);
  return own != nullptr && &own->properties() == m_properties ? own : nullptr;
}

std::string QAIAssistant_OPENAI::destroySession(IQAISession* session) {
  const bool isKnown = std::find(m_sessions.begin(), m_sessions.end(), session) != m_sessions.end();
  // One that the host freed without a word may have had the address before, and now another assistant's has it.
  const QAISession_OPENAI* own = isKnown ? asOwnSession(session) : nullptr;
  if (own == nullptr) return "Session not found";
  if (std::string error = remove({kThreads, own->threadID()}); !error.empty()) return error;
  // All of this address, for the same reason.
  std::erase(m_sessions, own);
  if (m_sessions.empty()) {
    m_assistantID.clear();
    destroyAssistant(own->assistantID());
  }
  return "";
}

/// All text parts of all messages, in the service's order.
std::unique_ptr<QAIReply> QAIAssistant_OPENAI::joinMessages(const ICOJsonValue& messages) {
  auto reply = std::make_unique<QAIReply>();
  for (std::size_t i = 0; i < messages.obtainArraySize(); ++i) {
    const ICOJsonValue* created = cfFindJsonMember(messages.obtainArrayItem(i), "created_at", JsonType::Number);
    const ICOJsonValue* content = cfFindJsonMember(messages.obtainArrayItem(i), "content", JsonType::Array);
    if (created == nullptr || content == nullptr) continue;
    reply->createdTime = completions::toSeconds(created->obtainNumber());
    appendContent(*reply, *content);
  }
  return reply;
}
