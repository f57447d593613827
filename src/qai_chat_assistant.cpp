#include "qai_chat_assistant.h"

#include "qai_exports.h"
#include "qai_http.h"

#include <cf/assert.h>
#include <cf/text.h>
#include <cf/url.h>

#include <algorithm>
#include <chrono>

namespace {

/// `text` with the model's name in place of "{model}".
std::string withModel(std::string_view text, const std::string& model) {
  constexpr std::string_view kPlace = "{model}";
  std::string result(text);
  if (const std::size_t at = result.find(kPlace); at != std::string::npos) result.replace(at, kPlace.size(), model);
  return result;
}

}  // namespace

std::int64_t currentTime() {
  using std::chrono::system_clock;
  return std::chrono::duration_cast<std::chrono::seconds>(system_clock::now().time_since_epoch()).count();
}

QAIChatAssistant::QAIChatAssistant(const ChatDialect& dialect, ICSHTTPPoolCenter* pool, const std::string& apiHost,
                                   const std::string& apiKey, MessageClock clock)
    : dialect_(dialect),
      restSession_(std::make_unique<CMRestSession>()),
      properties_(std::make_unique<QAIAssistantProperties>()),
      apiKey_(dialect.key == ChatKey::None ? std::string() : apiKey),
      clock_(clock) {
  if (dialect_.key == ChatKey::Bearer) restSession_->setAuthorizationHeaderValue("Bearer " + apiKey);
  if (dialect_.sharesPool) restSession_->httpPoolCenter = pool;
  properties_->setApiHost(apiHost, std::string(dialect_.defaultHost));
  pool_.reset(pool);  // last: until here the pool is the caller's
}

QAIChatAssistant::~QAIChatAssistant() {
  pool_.reset();
  restSession_.reset();
  properties_.reset();
}

std::string QAIChatAssistant::failure(std::string_view text, std::string_view label) const {
  return localizeString(std::string(text)) + withModel(label, properties_->model);
}

std::string QAIChatAssistant::address(const ChatPath& path) const {
  std::vector<std::string> parts;
  parts.reserve(1 + path.size());
  parts.push_back(properties_->apiHost);
  for (const std::string_view segment : path) {
    if (!segment.empty()) parts.push_back(withModel(segment, properties_->model));
  }
  return cfConcatURL(parts);
}

/// Why the key is not sent; "" when it is. One in a header is looked at there, but a query can hold any text, and this
/// would be another key than the one that the user means.
std::string QAIChatAssistant::refuseKey() const {
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
  if (dialect_.key != ChatKey::Query || std::none_of(apiKey_.begin(), apiKey_.end(), isControl)) return "";
  return "The key holds a control character";
}

CMRestParams QAIChatAssistant::queryParams() const {
  return dialect_.key == ChatKey::Query ? CMRestParams{{"key", apiKey_}} : CMRestParams{};
}

std::pair<std::vector<std::string>, std::string> QAIChatAssistant::obtainAvailableModels() {
  if (const std::string refusal = refuseKey(); !refusal.empty()) return {{}, refusal};
  const auto [response, error] = HTTP::Get(restSession_.get(), address(dialect_.models.path), queryParams(), {});
  const std::unique_ptr<CMRestResourceResponse> reply(response);
  if (!error.empty()) return {{}, obtainFailureText(reply.get(), error)};

  const ICOJsonValue* json = reply->getJson();
  if (json == nullptr) return {{}, failure(dialect_.models.noJsonText, dialect_.models.label)};
  const ICOJsonValue* list = json->obtainJsonValue(dialect_.models.member);
  if (!cfHasJsonType(list, JsonType::Array)) return {{}, failure(kUnsupportedFormat, dialect_.models.label)};
  return {dialect_.readModels(*list), ""};
}

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

void QAIChatAssistant::useDefaultHostForBlank(QAIAssistantProperties& properties) const {
  if (properties.isApiHostBlank()) properties.setApiHost("", std::string(dialect_.defaultHost));
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
std::pair<std::string, std::string> QAIChatAssistant::exchange(const QAIChatSession& session, const std::string& text) {
  const QAIAssistantProperties& settings = session.properties();
  if (settings.model.empty()) return {"", failure("Model is empty", dialect_.turn.noModelLabel)};
  if (std::string refusal = refuseKey(); !refusal.empty()) return {"", std::move(refusal)};

  const InstructionsJson instructions = settings.obtainInstructionsJson();
  COJson body;
  dialect_.writeBody(body, {settings, dialect_.instructionsRole, instructions, session.history().requestText(text)});
  const auto [response, error] = HTTP::Post(restSession_.get(), address(dialect_.turn.path), &body, queryParams(), {});
  const std::unique_ptr<CMRestResourceResponse> reply(response);
  if (!error.empty()) return {"", obtainFailureText(reply.get(), error)};

  if (reply->getJson() == nullptr) return {"", failure(kInvalidResponse, dialect_.turn.noJsonLabel)};
  std::optional<std::string> answer = dialect_.readReply(*reply->getJson());
  if (!answer) return {"", failure(kUnsupportedFormat, dialect_.turn.formatLabel)};
  return {std::move(*answer), ""};
}
