#include "services/chat_partner.h"

#include "services/context.h"
#include "services/model_choice.h"
#include "services/piecewise_redaction.h"
#include "services/session_text.h"

#include <cf/defer.h>

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

constexpr std::int32_t kRefusals = 400;  // the first of their statuses
constexpr const char* kNeedsNoList = "--model NAME needs no list.";

std::string withHint(std::string error, const std::string& hint) {
  if (hint.empty()) return error;
  const bool isSentence = error.ends_with('.') || error.ends_with('?') || error.ends_with('!');
  return std::move(error) + (isSentence ? " " : ". ") + hint;
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
  if (!models) return {{}, failList(models.error())};
  noteStatus();
  for (std::string& model : models.value()) model = withoutSecrets(std::move(model), endpoint_.secrets);
  return {std::move(models.value()), ""};
}

std::string ChatPartner::configure(const Setup& setup) {
  putSettingsInPlace();
  const auto filled = assistant_.configure([&setup](qai::Fill& fill) { fillIn(fill, setup); });
  noteInstructions();
  if (!filled.accepted()) return failWith(setup.model, filled.error());
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
    if (!error.empty()) return withHint(error, hasNoList_ ? kNeedsNoList : "");
    if (models.empty()) return withHint("The service offers no models", provider().noModelsHint);
    std::string chosen = chooseModel(provider(), models, !endpoint_.host.empty());
    if (chosen.empty()) return explainNoChoice(models);
    setup.model = std::move(chosen);
  }
  return configure(setup);
}

std::string ChatPartner::combinedInstructions() {
  return withoutSecrets(assistant_.properties().combinedInstructions(), endpoint_.secrets);
}

std::string ChatPartner::startConversation() {
  putSettingsInPlace();
  std::string error = beginWith(assistant_.createSession());
  if (error.empty()) earlierBytes_ = 0;
  return error;
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
  std::string error = beginWith(assistant_.loadSession(saved));
  if (error.empty()) earlierBytes_ = saveConversation().size();
  return error;
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

Answer ChatPartner::ask(const Inquiry& inquiry) {
  putSettingsInPlace();
  noteInquiry(inquiry);
  return readReply(inquiry.text, session_.ask(inquiry.text));
}

Answer ChatPartner::askInPieces(const Inquiry& inquiry, const ShowPiece& show) {
  putSettingsInPlace();
  noteInquiry(inquiry);
  return readReply(inquiry.text, receive(inquiry.text, show));
}

qai::Result<qai::Message> ChatPartner::receive(const std::string& question, const ShowPiece& show) {
  PiecewiseRedaction redaction(endpoint_.secrets);
  const auto showSome = [&show](const std::string& text) {
    if (!text.empty()) show(text);
  };
  QAIStreamOptions options;
  options.stop = &stop_;
  inPieces_ = true;
  const CODefer end([this] { inPieces_ = false; });
  const auto take = [&](std::string_view piece) {
    showSome(redaction.add(piece));
    return !stop_;  // the library looks at it now and then only
  };
  auto reply = session_.ask(question, take, options);
  if (reply) showSome(redaction.finish());
  return reply;
}

Answer ChatPartner::readReply(const std::string& question, const qai::Result<qai::Message>& reply) {
  wasRefused_ = !reply && assistant_.lastStatus() >= kRefusals;
  if (!reply) return {.error = failWith(assistant_.properties().model(), reply.error())};
  noteStatus();
  earlierBytes_ += question.size() + reply->text().size();
  const auto clean = [this](std::string_view text) { return withoutSecrets(std::string(text), endpoint_.secrets); };
  const qai::Details details = reply->details();
  return {.text = clean(reply->text()),
          .finishReason = clean(details.finishReason()),
          .refusal = clean(details.refusal()),
          .tokens = {.in = details.inputTokens(), .out = details.outputTokens(), .cached = details.cachedTokens()}};
}

bool ChatPartner::cancel() noexcept {
  const bool isRepeated = stop_.exchange(true);
  // A run goes on at the service when its request is cut off, and the next question is refused meanwhile. So it is
  // stopped in order; who does not want to wait for that asks again.
  if (inPieces_ && provider().keepsConversations && !isRepeated) return true;
  if (provider().canCancel) canceller_.cancel();
  return inPieces_ || provider().canCancel;
}

void ChatPartner::dropLateCancel() noexcept {
  stop_ = false;
  assistant_.dropCancel();
}

/// After the settings were changed, which a service that keeps the assistant has been told by now.
void ChatPartner::noteInstructions() {
  auto properties = assistant_.properties();
  destination_ = endpoint_.isStandIn ? nameStandIn(provider()) : nameDestination(provider(), properties.apiHost());
  instructionBytes_ = properties.combinedInstructions().size();
  if (provider().keepsConversations) noteSending(Matter::Instructions, instructionBytes_);
}

void ChatPartner::noteSending(Matter matter, std::size_t bytes, std::size_t count) {
  if (ledger_ != nullptr) ledger_->note(destination_, matter, bytes, count);
}

/// What goes along with `inquiry`, too: a service that keeps no conversation is told all of it each time.
void ChatPartner::noteInquiry(const Inquiry& inquiry) {
  if (!provider().keepsConversations) noteSending(Matter::Instructions, instructionBytes_);
  if (earlierBytes() > 0) noteSending(Matter::EarlierTurns, earlierBytes());
  noteSending(inquiry.matter, inquiry.text.size(), inquiry.count);
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
  const bool isAway = tellsNoConnection(error) && endpoint_.settings.proxyURL.empty();  // else the proxy is
  const std::string hint = isAway ? provider().noConnectionHint : "";
  return withoutSecrets(withHint(std::move(error), hint), endpoint_.secrets);
}

/// As fail, for a list of models: says what it was that the service refused.
std::string ChatPartner::failList(std::string error) {
  // Outside of the pool centre nobody notes a status.
  const bool isReached = provider().canCancel ? assistant_.lastStatus() != 0 : !tellsNoWay(error);
  std::string text = fail(std::move(error));
  hasNoList_ = isReached && failureCode_ != ExitCode::KeyRefused;
  if (!hasNoList_) return text;
  std::string host(assistant_.properties().apiHost());
  if (host.ends_with('/')) host.pop_back();
  const std::string address = withoutAccount(host) + provider().version + provider().modelsPath;
  return "The list of models at " + withoutSecrets(address, endpoint_.secrets) + " can't be had: " + text;
}

/// As fail, for a request of an assistant with `model`.
std::string ChatPartner::failWith(const std::string& model, std::string error) {
  std::string hint;
  if (tellsUnfitModel(provider(), assistant_.lastStatus(), error) && !tellsNoConnection(error)) {
    hint = "The model is " + model + "; --model or, at a terminal, /model names another.";
  } else if (isKept_ && isMissing()) {
    hint = std::string(provider().title) + " no longer has this conversation; at a terminal, /new begins another.";
  }
  return fail(withHint(std::move(error), hint));
}

bool ChatPartner::isMissing() const {
  constexpr std::int32_t kNotFound = 404;
  return assistant_.lastStatus() == kNotFound;
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
