#include "chat_partner.h"

#include "session_text.h"

#include <cstdint>
#include <exception>
#include <stdexcept>

namespace {

/// As texts stand in `setup`: the library takes a temperature as the user wrote it.
void fillIn(qai::Fill& fill, const Setup& setup) {
  if (!setup.model.empty()) fill.model(setup.model);
  if (!setup.temperature.empty()) fill.set("temperature", setup.temperature);
  if (!setup.instructions.empty()) fill.userInstructions(setup.instructions);
  if (!setup.productName.empty()) {
    const std::string task = "You help people to work with a " + setup.productName +
                             " database. When SQL is called for, write it in the dialect of " + setup.productName +
                             ", for the objects that are described here.";
    fill.systemInstructions({{"task", task}});
  }
  if (!setup.structureJson.empty()) fill.databaseStructure(setup.structureJson);
}

std::string withHint(std::string error, const std::string& hint) {
  return hint.empty() ? error : std::move(error) + ". " + hint;
}

}  // namespace

ChatPartner::ChatPartner(Endpoint endpoint)
    : endpoint_(std::move(endpoint)),
      assistant_(endpoint_.provider->type, endpoint_.apiKey, endpoint_.host),
      canceller_(assistant_.canceller()) {
  if (!assistant_) throw std::runtime_error("This library does not serve the provider");
}

ChatPartner::~ChatPartner() {
  try {
    close();
  } catch (const std::exception&) {
    // Without memory what the service keeps is left to it.
  }
}

std::pair<std::vector<std::string>, std::string> ChatPartner::listModels() {
  putSettingsInPlace();
  auto models = assistant_.models();
  if (!models) return {{}, fail(models.error())};
  noteStatus();
  for (std::string& model : models.value()) model = withoutSecrets(std::move(model), endpoint_.secrets);
  return {std::move(models.value()), ""};
}

std::string ChatPartner::configure(const Setup& setup) {
  putSettingsInPlace();
  const auto filled = assistant_.configure([&setup](qai::Fill& fill) { fillIn(fill, setup); });
  if (!filled.accepted()) return fail(filled.error());
  noteStatus();
  isKept_ = provider().keepsConversations;
  if (filled) return "";
  std::string error = "The library refused these settings:";
  for (const std::string& key : filled.refused()) error += " " + key;
  return error;
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
  return withoutSecrets(assistant_.properties().combinedInstructions(), endpoint_.secrets);
}

std::string ChatPartner::startConversation() {
  putSettingsInPlace();
  return beginWith(assistant_.createSession());
}

std::string ChatPartner::savedText() const {
  return session_ ? savedWithoutSecrets(session_.save(), endpoint_.secrets) : "";
}

std::string ChatPartner::restoreConversation(const std::string& saved, Setup& setup) {
  if (std::string error = resumeConversation(saved); !error.empty()) return error;
  if (setup.model.empty()) setup.model = assistant_.properties().model();
  return settle(setup);
}

std::string ChatPartner::saveConversation() const { return turnsWithoutSecrets(session_.save(), endpoint_.secrets); }

std::string ChatPartner::resumeConversation(const std::string& saved) {
  return beginWith(assistant_.loadSession(saved));
}

/// The old conversation ends after the new one has begun: a service that keeps an assistant drops it with its last one.
std::string ChatPartner::beginWith(qai::Result<qai::Session> made) {
  if (!made) return fail(made.error());
  noteStatus();
  std::swap(session_, made.value());
  if (made.value()) ended_.push_back(std::move(made.value()));
  destroyEnded();
  return "";
}

Answer ChatPartner::ask(const std::string& question) {
  putSettingsInPlace();
  const auto reply = session_.ask(question);
  if (!reply) return {.text = "", .error = fail(reply.error())};
  noteStatus();
  return {.text = withoutSecrets(reply->text(), endpoint_.secrets), .error = ""};
}

bool ChatPartner::cancel() noexcept {
  if (!provider().canCancel) return false;
  canceller_.cancel();
  return true;
}

/// Notes what the last request tells of the key: one that succeeded had a good one, whatever its reply was worth.
void ChatPartner::noteStatus() {
  const std::int32_t status = assistant_.lastStatus();
  keyAccepted_ = keyAccepted_ || (status >= 200 && status <= 299);
}

/// Notes what a failure tells of the key. @return what the user is told of it
std::string ChatPartner::fail(std::string error) {
  noteStatus();
  const bool refused = !keyAccepted_ && tellsRefusedKey(provider(), assistant_.lastStatus(), error);
  failureCode_ = refused ? ExitCode::KeyRefused : ExitCode::ServiceFailed;
  const std::string hint = tellsNoConnection(error) ? provider().noConnectionHint : "";
  return withoutSecrets(withHint(std::move(error), hint), endpoint_.secrets);
}

void ChatPartner::close() {
  endpoint_.settings.connectTimeout = endpoint_.settings.totalTimeout = kShortPatience;
  dropLateCancel();
  // The service drops the assistant with its last conversation, so one that has none yet gets one.
  if (isKept_ && !session_ && ended_.empty()) startConversation();
  if (session_) ended_.push_back(std::move(session_));
  destroyEnded();
  ended_.clear();  // what the service did not forget now is left to it
  isKept_ = false;
}

void ChatPartner::destroyEnded() {
  putSettingsInPlace();
  for (qai::Session& session : ended_) static_cast<void>(session.destroy());  // empty where that went well
  std::erase_if(ended_, [](const qai::Session& session) { return !session; });
}
