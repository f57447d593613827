#include "switchboard.h"

#include <cf/defer.h>

#include <utility>

Switchboard::Switchboard(const Provider& first, Choose choose, Setup setup, std::ostream& err)
    : choose_(std::move(choose)),
      setup_(std::move(setup)),
      err_(err),
      line_(connect(first)),
      asked_(line_.assistant.get()) {}

std::string Switchboard::open() {
  std::string error = line_.assistant->settle(setup_);
  return error.empty() ? line_.assistant->startConversation() : error;
}

std::string Switchboard::moveTo(const Provider& provider, const std::string& model) try {
  Setup setup = setup_;
  setup.model = model;
  Line next = connect(provider);
  const CODefer askTheRightOne([this] { setAsked(line_.assistant.get()); });
  setAsked(next.assistant.get());
  std::string error = next.assistant->settle(setup);
  if (error.empty()) error = next.assistant->resumeConversation(line_.assistant->saveConversation());
  if (!error.empty()) return error;
  std::swap(line_, next);
  std::swap(setup_, setup);
  return "";
} catch (const std::exception& error) {
  return error.what();
}

bool Switchboard::cancel() noexcept {
  const std::lock_guard lock(mutex_);
  return asked_->cancel();
}

Switchboard::Line Switchboard::connect(const Provider& provider) {
  Service service = choose_(provider);
  auto standIn = startStandIn(service, err_);
  return {.standIn = std::move(standIn), .assistant = std::make_unique<Assistant>(std::move(service))};
}

void Switchboard::setAsked(Assistant* assistant) {
  const std::lock_guard lock(mutex_);
  asked_ = assistant;
}
