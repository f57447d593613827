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
  return takeTurn(session, std::move(text), nullptr);
}

std::pair<IQAIMessage*, std::string> QAIChatAssistant::addMessageStreaming(IQAISession* session, std::string text,
                                                                           const QAIStreamOptions& options,
                                                                           const Sink& sink) {
  const Streaming streaming{readStreamOptions(options), sink};
  return takeTurn(session, std::move(text), &streaming);
}

/// `streaming` is null for a reply that comes whole.
std::pair<IQAIMessage*, std::string> QAIChatAssistant::takeTurn(IQAISession* session, std::string&& text,
                                                                const Streaming* streaming) {
  // One that refers to the record of another assistant would bring that one's settings to this one's host.
  QAIChatSession* own = asSessionOfService(session);
  if (own == nullptr || &own->properties() != properties_.get()) {
    CF_ASSERT(false);
    return {nullptr, "Session is empty"};
  }
  auto [reply, error] = exchange(*own, text, streaming);
  if (reply == nullptr) return {nullptr, std::move(error)};
  reply->createdTime = clock_();
  own->appendTurn(std::move(text), std::string(reply->firstText()));
  return {reply.release(), ""};
}

/// Asks the service.
QAIChatAssistant::Answer QAIChatAssistant::exchange(QAIChatSession& session, const std::string& text,
                                                    const Streaming* streaming) {
  const QAIAssistantProperties& settings = session.properties();
  if (settings.model.empty()) return {nullptr, failure("Model is empty", dialect_.turn.noModelLabel)};
  if (std::string refusal = refuseKey(); !refusal.empty()) return {nullptr, std::move(refusal)};

  const InstructionsJson instructions = settings.obtainInstructionsJson();
  ChatBody body;
  dialect_.writeBody(body, {.settings = settings,
                            .instructionsStart = dialect_.instructionsStart,
                            .instructions = instructions,
                            .messages = session.history().writeRequestText(text),
                            .isStreamed = streaming != nullptr,
                            .asksForUsage = streaming != nullptr && streaming->options.asksForUsage});
  const auto parts = body.parts();
  const HTTPBody sent(parts);
  if (streaming != nullptr) return receive(sent, *streaming);
  return readWhole(HTTP::Post(restSession_.get(), address(dialect_.turn.path), sent, queryParams(), {}));
}

/// Has the reply handed on while it comes. A service that answers with a whole body is understood as well.
QAIChatAssistant::Answer QAIChatAssistant::receive(HTTPBody body, const Streaming& streaming) {
  const ChatStream& stream = dialect_.stream;
  CMRestParams query = queryParams();
  if (!stream.query.name.empty()) query.emplace_back(stream.query.name, stream.query.value);

  QAIReplyStream receiver(stream.form, streaming.options, streaming.sink);
  HTTPResult result = HTTP::PostStreaming(
      restSession_.get(), address(stream.path.empty() ? dialect_.turn.path : stream.path), body, query,
      {{"Accept", std::string(stream.form.accept)}}, limitStream(httpSettings, streaming.options), receiver);
  if (!receiver.hasBegun() && receiver.failure() == QAIReplyStream::Failure::None) {
    Answer answer = readWhole(result);
    if (answer.first == nullptr) return answer;
    std::string reason =
        handOnWhole({answer.first->firstText()}, streaming.options, streaming.sink, dialect_.turn.formatLabel);
    if (!reason.empty()) return {nullptr, std::move(reason)};
    return answer;
  }

  const std::unique_ptr<CMRestResourceResponse> response(result.first);
  std::string error = streamError(receiver, result, dialect_.turn.noJsonLabel, dialect_.turn.formatLabel);
  if (!error.empty()) return {nullptr, std::move(error)};
  auto reply =
      std::make_unique<QAIReply>(static_cast<std::uint32_t>(QAIMessageRole::Assistant), receiver.reply().takeText());
  reply->details = std::move(receiver.reply().details);
  identifyRequest(*response, reply->details);
  return {std::move(reply), ""};
}

/// Takes the response over.
QAIChatAssistant::Answer QAIChatAssistant::readWhole(const HTTPResult& result) const {
  Reply reply = readReply(result, kInvalidResponse, dialect_.turn.noJsonLabel);
  if (!reply.error.empty()) return {nullptr, std::move(reply.error)};
  std::optional<std::string> text = dialect_.readReply(*reply.json);
  if (!text) return {nullptr, failure(kUnsupportedFormat, dialect_.turn.formatLabel)};
  return {std::make_unique<QAIReply>(std::move(*text), std::move(reply.response), dialect_.readDetails), ""};
}
