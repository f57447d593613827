#include "chat_partner.h"

#include "session_text.h"

#include <exception>
#include <stdexcept>

namespace {

std::vector<std::pair<std::string, CMVariant>> propertiesOf(const Setup& setup) {
  std::vector<std::pair<std::string, CMVariant>> properties;
  const auto addText = [&](const char* key, const std::string& text) {
    if (!text.empty()) properties.emplace_back(key, text);
  };
  addText("model", setup.model);
  addText("temperature", setup.temperature);
  addText("user_instructions", setup.instructions);
  if (!setup.productName.empty()) {
    const std::string task = "You help people to work with a " + setup.productName +
                             " database. When SQL is called for, write it in the dialect of " + setup.productName +
                             ", for the objects that are described here.";
    properties.emplace_back("system_instructions", CMVariantMap{{"task", task}});
  }
  addText("db_structure", setup.structureJson);
  return properties;
}

std::string withHint(std::string error, const std::string& hint) {
  return hint.empty() ? error : std::move(error) + ". " + hint;
}

}  // namespace

ChatPartner::ChatPartner(Endpoint endpoint) : endpoint_(std::move(endpoint)) {
  std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  assistant_.reset(QAICreateAssistant(endpoint_.provider->type, pool.get(), endpoint_.apiKey, endpoint_.host));
  if (assistant_ == nullptr) throw std::runtime_error("This library does not serve the provider");
  pool_ = pool.release();
}

ChatPartner::~ChatPartner() {
  try {
    close();
  } catch (const std::exception&) {
    // Without memory what the service keeps is left to it.
  }
}

/// The library has one set of HTTP settings for all assistants, so each puts its own in place before it asks.
IQAIAssistant& ChatPartner::ready() {
  QAISetHTTPSettings(endpoint_.settings);
  return *assistant_;
}

std::pair<std::vector<std::string>, std::string> ChatPartner::listModels() {
  auto [models, error] = ready().obtainAvailableModels();
  keyAccepted_ = keyAccepted_ || error.empty();
  for (std::string& model : models) model = withoutSecrets(std::move(model), endpoint_.secrets);
  return {std::move(models), explain(std::move(error))};
}

std::string ChatPartner::configure(const Setup& setup) {
  std::string refused;
  const std::string error = ready().setAssistantProperties([&](IQAIProperties* properties) {
    for (const auto& [key, value] : propertiesOf(setup)) {
      if (!properties->setProperty(key, value)) refused += " " + key;
    }
  });
  if (!error.empty()) return explain(error);
  isKept_ = provider().keepsConversations;
  return refused.empty() ? "" : "The library refused these settings:" + refused;
}

std::string ChatPartner::settle(Setup& setup) {
  if (setup.model.empty()) {
    auto [models, error] = listModels();
    if (!error.empty()) return error;
    if (models.empty()) return withHint("The service offers no models", provider().noModelsHint);
    setup.model = std::move(models.front());
  }
  return configure(setup);
}

std::string ChatPartner::combinedInstructions() {
  return withoutSecrets(readProperty("combined_instructions"), endpoint_.secrets);
}

std::string ChatPartner::startConversation() { return beginWith(ready().createSession()); }

std::string ChatPartner::savedText() const {
  return session_ == nullptr ? "" : savedWithoutSecrets(session_->obtainSessionData(), endpoint_.secrets);
}

std::string ChatPartner::restoreConversation(const std::string& saved, Setup& setup) {
  if (std::string error = resumeConversation(saved); !error.empty()) return error;
  if (setup.model.empty()) setup.model = readProperty("model");
  return settle(setup);
}

std::string ChatPartner::saveConversation() const {
  return turnsWithoutSecrets(session_ == nullptr ? "" : session_->obtainSessionData(), endpoint_.secrets);
}

std::string ChatPartner::resumeConversation(const std::string& saved) { return beginWith(ready().loadSession(saved)); }

/// The old conversation ends after the new one has begun: a service that keeps an assistant drops it with its last one.
std::string ChatPartner::beginWith(std::pair<IQAISession*, std::string> made) {
  QAIOwned<IQAISession> session(made.first);
  if (!made.second.empty()) return explain(std::move(made.second));
  std::swap(session_, session);
  if (session != nullptr) ended_.push_back(std::move(session));
  destroyEnded();
  return "";
}

Answer ChatPartner::ask(const std::string& question) {
  auto [reply, error] = ready().addMessage(session_.get(), question);
  const QAIOwned<IQAIMessage> message(reply);
  if (!error.empty()) return {.text = "", .error = explain(std::move(error))};
  keyAccepted_ = true;
  Answer answer;
  for (const IQAIMessageSection* section : message->obtainSections()) answer.text += section->obtainText();
  answer.text = withoutSecrets(std::move(answer.text), endpoint_.secrets);
  return answer;
}

ExitCode ChatPartner::failureCode() {
  const bool doubtful = !keyAccepted_ && provider().keyPlace != KeyPlace::None;
  const bool refused = doubtful && isKeyRefused(endpoint_, readProperty("api_host"));
  return refused ? ExitCode::KeyRefused : ExitCode::ServiceFailed;
}

bool ChatPartner::cancel() noexcept {
  if (!provider().canCancel) return false;
  pool_->cancel();
  return true;
}

void ChatPartner::dropLateCancel() {
  // A late cancel ends this request; without one it fails for want of an address. It is never sent.
  CMRestSession session;
  session.httpPoolCenter = pool_;
  ICSAppFactory* app = CF::obtainAppFactory();
  const std::unique_ptr<ICSRestClient> client(
      app->obtainRestClientFactory()->createRestClient(app, endpoint_.settings, &session));
  CMRestResourceResponse* none = nullptr;
  client->executeGet(CMRestGetRequest(), &none);
}

std::string ChatPartner::explain(std::string error) const {
  const std::string hint = tellsNoConnection(error) ? provider().noConnectionHint : "";
  return withoutSecrets(withHint(std::move(error), hint), endpoint_.secrets);
}

std::string ChatPartner::readProperty(const std::string& key) {
  IQAIProperties* properties = assistant_->obtainAssistantProperties();
  // Where the service keeps the conversations the object is the assistant's own.
  const QAIOwned<IQAIProperties> copy(provider().keepsConversations ? nullptr : properties);
  return properties->obtainProperty(key).stringValue();
}

void ChatPartner::close() {
  endpoint_.settings.connectTimeout = endpoint_.settings.totalTimeout = kShortPatience;
  dropLateCancel();
  // The service drops the assistant with its last conversation, so one that has none yet gets one.
  if (isKept_ && session_ == nullptr && ended_.empty()) startConversation();
  if (session_ != nullptr) ended_.push_back(std::move(session_));
  destroyEnded();
  ended_.clear();  // what the service did not forget now is left to it
  isKept_ = false;
}

void ChatPartner::destroyEnded() {
  std::erase_if(ended_, [this](const auto& session) { return ready().destroySession(session.get()).empty(); });
}
