#include "services/switchboard.h"

#include "private_file.h"
#include "terminal/rendering.h"

#include <cf/defer.h>

#include <new>
#include <utility>

Switchboard::Switchboard(const Provider& first, Choose choose, Setup setup, std::ostream& err)
    : choose_(std::move(choose)),
      setup_(std::move(setup)),
      err_(err),
      line_(connect(first)),
      asked_(line_.partner.get()) {}

std::string Switchboard::open(const std::string& saved) {
  if (!saved.empty()) return line_.partner->restoreConversation(saved, setup_);
  std::string error = line_.partner->settle(setup_);
  return error.empty() ? line_.partner->startConversation() : error;
}

Answer Switchboard::ask(const Inquiry& inquiry) { return saved(line_.partner->ask(inquiry)); }

Answer Switchboard::askInPieces(const Inquiry& inquiry, const ShowPiece& show) {
  return saved(line_.partner->askInPieces(inquiry, show));
}

/// `answer`, with the conversation saved that it is the last of.
Answer Switchboard::saved(Answer answer) {
  if (answer.error.empty() && !saveFile_.empty()) save();
  return answer;
}

void Switchboard::save() {
  std::string reason;
  if (provider().keepsConversations) {
    reason = std::string(provider().title) + " keeps it itself";
  } else {
    // The address of the stand-in inside the program is nobody's when the program has ended.
    const std::string text = line_.standIn == nullptr ? line_.partner->savedText() : line_.partner->saveConversation();
    reason = writePrivateFile(saveFile_, withDatabase(text, database_));
  }
  if (!reason.empty() && !failedToSave_)
    complain(err_, "The conversation is not saved in " + saveFile_ + ": " + reason);
  failedToSave_ = failedToSave_ || !reason.empty();
}

std::string Switchboard::moveTo(const ProviderProfile& profile, const std::string& model) {
  const Provider& provider = *findProvider(profile.name);
  if (&provider == &line_.partner->provider() && provider.keepsConversations) return changeModel(model);
  Setup setup = setup_;
  setup.model = model;
  return replaceLine(provider, std::move(setup),
                     carriesTurns(this->provider(), profile) ? Turns::Carried : Turns::Forgotten);
}

std::string Switchboard::startConversation() {
  // A new conversation with an assistant that the service has lost would fail at its first question, and so for ever.
  if (line_.partner->mayBeLost()) {
    std::string error = changeModel(std::string(model()));
    const bool isLost = !error.empty() && line_.partner->isMissing();
    if (isLost) return replaceLine(line_.partner->provider(), setup_, Turns::Forgotten);
    if (!error.empty()) return error;
  }
  return line_.partner->startConversation();
}

/// Has `provider` answer by `setup` from here on, unless that fails.
std::string Switchboard::replaceLine(const Provider& provider, Setup setup, Turns turns) try {
  Line next = connect(provider);
  const CODefer askTheRightOne([this] { setAsked(line_.partner.get()); });
  setAsked(next.partner.get());
  std::string error = makeReady(*next.partner, setup, turns);
  if (error.empty()) {
    std::swap(line_, next);
    std::swap(setup_, setup);
  }
  // The one that is left behind, whichever it is, while it can still be cancelled.
  setAsked(next.partner.get());
  next.partner->close();
  return error;
} catch (const std::bad_alloc&) {
  return kNoMemory;
} catch (const std::exception& error) {
  return error.what();
}

std::string Switchboard::changeModel(const std::string& model) {
  Setup setup = setup_;
  setup.model = model;
  std::string error = line_.partner->settle(setup);
  if (error.empty()) std::swap(setup_, setup);
  return error;
}

/// Has `next` ready to answer in this one's place.
std::string Switchboard::makeReady(ChatPartner& next, Setup& setup, Turns turns) {
  if (std::string error = next.settle(setup); !error.empty()) return error;
  if (turns == Turns::Forgotten) return next.startConversation();
  return next.resumeConversation(line_.partner->saveConversation());
}

Context Switchboard::describeNext(std::string tables) const {
  return {.destination = line_.partner->destination(),
          .model = setup_.model,
          .tables = std::move(tables),
          .instructions = line_.partner->combinedInstructions(),
          .earlierBytes = line_.partner->earlierBytes()};
}

bool Switchboard::cancel() noexcept {
  const std::lock_guard lock(mutex_);
  return asked_->cancel();
}

Switchboard::Line Switchboard::connect(const Provider& provider) {
  Endpoint endpoint = choose_(provider);
  auto standIn = startStandIn(endpoint, err_);
  auto partner = std::make_unique<ChatPartner>(std::move(endpoint));
  partner->keepLedger(ledger_);
  return {.standIn = std::move(standIn), .partner = std::move(partner)};
}

void Switchboard::setAsked(ChatPartner* partner) {
  const std::lock_guard lock(mutex_);
  asked_ = partner;
}
