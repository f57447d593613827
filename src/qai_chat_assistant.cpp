#include "qai_chat_assistant.h"

#include "qai_exports.h"
#include "qai_http.h"

#include <cf/assert.h>
#include <cf/text.h>
#include <cf/url.h>

#include <algorithm>
#include <chrono>

std::int64_t currentTime() {
  using std::chrono::system_clock;
  return std::chrono::duration_cast<std::chrono::seconds>(system_clock::now().time_since_epoch()).count();
}

QAIChatAssistant::QAIChatAssistant(const ChatDialect& dialect, ICSHTTPPoolCenter* pool, const std::string& apiHost,
                                   const std::string& apiKey, MessageClock clock)
    : QAIAssistantBase(dialect.service, pool, apiHost, apiKey, std::make_unique<QAIAssistantProperties>()),
      dialect_(dialect),
      clock_(clock) {}

std::string QAIChatAssistant::setAssistantProperties(std::function<void(IQAIProperties*)> fill) {
  QAIAssistantProperties filled;
  fill(&filled);
  adopt(filled);
  return "";
}

/// The host is not left blank, assigned or not. What may throw comes first, so that the settings change as a whole or
/// not at all.
void QAIChatAssistant::adopt(QAIAssistantProperties& filled) {
  if (!filled.assignedKeys.contains("api_host")) filled.apiHost = properties_->apiHost;
  useDefaultHostForBlank(filled);
  std::string host = filled.apiHost;
  properties_->adoptAssigned(filled);
  properties_->apiHost = std::move(host);
}

IQAIProperties* QAIChatAssistant::obtainAssistantProperties() { return new QAIAssistantProperties(*properties_); }

std::pair<IQAISession*, std::string> QAIChatAssistant::createSession() {
  return {makeSession(*properties_).release(), ""};
}

std::pair<IQAISession*, std::string> QAIChatAssistant::loadSession(std::string data) {
  auto session = makeSession(*properties_);
  SettingsGuard guard(*properties_);
  if (!session->load(data)) return {nullptr, localizeString("Cannot load session data")};
  useDefaultHostForBlank(*properties_);
  guard.keepChanges();
  return {session.release(), ""};
}

std::string QAIChatAssistant::destroySession(IQAISession* /*session*/) { return ""; }

std::pair<IQAIMessage*, std::string> QAIChatAssistant::addMessage(IQAISession* session, std::string text) {
  // One that refers to the record of another assistant would bring that one's settings to this one's host.
  QAIChatSession* own = asSessionOfService(session);
  if (own == nullptr || &own->properties() != properties_.get()) {
    CF_ASSERT(false);
    return {nullptr, "Session is empty"};
  }
  auto [reply, error] = exchange(*own, text);
  if (!error.empty()) return {nullptr, std::move(error)};

  auto message = std::make_unique<QAIMessage>(static_cast<std::uint32_t>(QAIMessageRole::Assistant), reply);
  message->createdTime = clock_();
  own->appendTurn(std::move(text), std::move(reply));
  return {message.release(), ""};
}

/// Asks the service; gives its reply's text and an error text.
std::pair<std::string, std::string> QAIChatAssistant::exchange(QAIChatSession& session, const std::string& text) {
  const QAIAssistantProperties& settings = session.properties();
  if (settings.model.empty()) return {"", failure("Model is empty", dialect_.turn.noModelLabel)};
  if (std::string refusal = refuseKey(); !refusal.empty()) return {"", std::move(refusal)};

  const InstructionsJson instructions = settings.obtainInstructionsJson();
  COJson body;
  dialect_.writeBody(body,
                     {settings, dialect_.instructionsRole, instructions, session.history().writeRequestText(text)});
  Reply reply = readReply(HTTP::Post(restSession_.get(), address(dialect_.turn.path), &body, queryParams(), {}),
                          kInvalidResponse, dialect_.turn.noJsonLabel);
  if (!reply.error.empty()) return {"", std::move(reply.error)};
  std::optional<std::string> answer = dialect_.readReply(*reply.json);
  if (!answer) return {"", failure(kUnsupportedFormat, dialect_.turn.formatLabel)};
  return {std::move(*answer), ""};
}
