#include "assistant.h"

#include "key_check.h"

#include <stdexcept>

namespace {

// A service may quote the key in its error text.
std::string withoutKey(std::string text, const std::string& key) {
  constexpr std::size_t kShortestSecret = 8;
  if (key.size() < kShortestSecret) return text;
  for (std::size_t at = text.find(key); at != std::string::npos; at = text.find(key, at))
    text.replace(at, key.size(), "***");
  return text;
}

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

}  // namespace

Assistant::Assistant(Service service) : service_(std::move(service)) {
  QAISetHTTPSettings(service_.settings);
  std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  assistant_.reset(QAICreateAssistant(service_.provider->type, pool.get(), service_.apiKey, service_.host));
  if (assistant_ == nullptr) throw std::runtime_error("This library does not serve the provider");
  pool_ = pool.release();
}

Assistant::~Assistant() { endConversation(); }

std::pair<std::vector<std::string>, std::string> Assistant::listModels() {
  auto [models, error] = assistant_->obtainAvailableModels();
  lastSucceeded_ = error.empty();
  keyAccepted_ = keyAccepted_ || lastSucceeded_;
  return {std::move(models), withoutKey(std::move(error), service_.apiKey)};
}

std::string Assistant::configure(const Setup& setup) {
  std::string refused;
  const std::string error = assistant_->setAssistantProperties([&](IQAIProperties* properties) {
    for (const auto& [key, value] : propertiesOf(setup)) {
      if (!properties->setProperty(key, value)) refused += " " + key;
    }
  });
  if (!error.empty()) return withoutKey(error, service_.apiKey);
  return refused.empty() ? "" : "The library refused these settings:" + refused;
}

std::string Assistant::startConversation() {
  endConversation();
  auto [session, error] = assistant_->createSession();
  session_.reset(session);
  return withoutKey(std::move(error), service_.apiKey);
}

Answer Assistant::ask(const std::string& question) {
  auto [reply, error] = assistant_->addMessage(session_.get(), question);
  const QAIOwned<IQAIMessage> message(reply);
  lastSucceeded_ = error.empty();
  if (!lastSucceeded_) return {.text = "", .error = withoutKey(std::move(error), service_.apiKey)};
  keyAccepted_ = true;
  Answer answer;
  for (const IQAIMessageSection* section : message->obtainSections()) answer.text += section->obtainText();
  return answer;
}

ExitCode Assistant::failureCode() {
  if (keyAccepted_) return ExitCode::ServiceFailed;
  const KeyCheck check{.host = readProperty("api_host"),
                       .modelsPath = service_.provider->modelsPath,
                       .apiKey = service_.apiKey,
                       .settings = service_.settings};
  return isKeyRefused(check) ? ExitCode::KeyRefused : ExitCode::ServiceFailed;
}

void Assistant::dropLateCancel() {
  if (lastSucceeded_) listModels();  // is ended before it is sent
}

std::string Assistant::readProperty(const std::string& key) {
  QAIOwned<IQAIProperties> properties(assistant_->obtainAssistantProperties());
  std::string value = properties->obtainProperty(key).stringValue();
  // With this one service the object is the assistant's own.
  if (service_.provider->type == OPENAI) static_cast<void>(properties.release());
  return value;
}

void Assistant::endConversation() {
  if (session_ == nullptr) return;
  assistant_->destroySession(session_.get());  // a failure leaves nothing to do here
  session_.reset();
}
