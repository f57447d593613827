#include "soak_host.h"

#include "faulty_services.h"
#include "support/host.h"

#include <chrono>
#include <future>
#include <iterator>
#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr long kTurnsOfASession = 20;     // a history grows with each
constexpr long kTurnsOfAnAssistant = 60;  // then a new one, with new connections
constexpr long kFailing = 5;              // each turn of this number
constexpr std::size_t kReplyCap = 64 * 1024;

/// The text of a question that meets the fault.
std::string faultText(std::string_view name, std::string_view step) {
  return "fault=" + std::string(name) + "@" + std::string(step) + "; ";
}

}  // namespace

SoakHost::SoakHost(std::string address, std::string authorities)
    : address_(std::move(address)), authorities_(std::move(authorities)) {
  for (const TestedService& service : allServices()) seats_.push_back({.service = service});
  limitRequests(60s);
}

/// The cap makes the endless reply end soon.
void SoakHost::limitRequests(std::chrono::milliseconds total) const {
  CMRestGlobalSettings settings;
  settings.maxReplyBytes = kReplyCap;
  settings.totalTimeout = total;
  settings.caFile = authorities_;
  qai::setHTTPSettings(settings);
}

void SoakHost::expect(bool holds, const Seat& seat, const std::string& what) {
  if (!holds) tally_.defects.push_back(std::string(seat.service.name) + ": " + what);
}

void SoakHost::takeTurn() {
  Seat& seat = seats_[static_cast<std::size_t>(tally_.turns) % seats_.size()];
  prepare(seat);
  ++tally_.turns;
  if (++seat.turns % kFailing == 0) return askInVain(seat);
  askWell(seat);
}

void SoakHost::rest() {
  for (Seat& seat : seats_) {
    seat.session = {};
    seat.assistant = {};
    seat.turns = 0;
  }
}

/// What is due before a turn.
void SoakHost::prepare(Seat& seat) {
  if (seat.turns % kTurnsOfASession != 0) return;
  if (seat.session) expect(static_cast<bool>(seat.session.destroy()), seat, "a session that was not destroyed");
  open(seat);
}

void SoakHost::open(Seat& seat) {
  const bool isNew = seat.turns % kTurnsOfAnAssistant == 0;
  if (isNew) seat.assistant = qai::Assistant(seat.service.type, "sk-soak", address_);
  if (isNew) expect(bool(seat.assistant.models()), seat, "no models");
  const auto filled = seat.assistant.configure([&](qai::Fill& fill) {
    fill.model(seat.service.model).temperature(0.5).userInstructions("Answer with SQL.");
    fill.databaseStructure(R"([{"schemas":[{"tables":[{"name":"glacier","fields":[{"name":"id","type":"INT"}]}]}]}])");
  });
  expect(bool(filled), seat, filled.error());
  seat.session = seat.assistant.createSession().value();
  if (seat.service.keepsConversations) return;  // an assistant of that service restores only before it has another one
  askWell(seat);
  seat.session = seat.assistant.loadSession(seat.session.save()).value();
}

std::string SoakHost::ask(Seat& seat, const std::string& fault) {
  const std::string question = fault + "question " + std::to_string(seat.turns);
  if (isStreamed(seat, fault)) return askStreamed(seat, question);
  const auto reply = seat.session.ask(question);
  return reply ? reply->text() : "error: " + reply.error();
}

/// Every other turn, unless it is to meet its fault at a request that no streamed one sends.
bool SoakHost::isStreamed(const Seat& seat, std::string_view fault) {
  return seat.turns % 2 == 1 && fault.find("@poll") == fault.npos && fault.find("@reply") == fault.npos;
}

std::string SoakHost::askStreamed(Seat& seat, const std::string& question) {
  ++tally_.streamed;
  return askStreaming(*seat.assistant.native(), seat.session.native(), question).told;
}

void SoakHost::askWell(Seat& seat) {
  const std::string answer = ask(seat, "");
  expect(answer == "two parts", seat, "instead of an answer: " + answer);
}

/// Meets each fault in turn, with the Assistants service each at each of its requests.
void SoakHost::askInVain(Seat& seat) {
  const auto& faults = allFaults();
  const std::string_view name = faults[seat.faults % faults.size()].name;
  const std::size_t round = seat.faults / faults.size();
  ++seat.faults;
  const std::string before = seat.session.save();
  const std::string fault =
      faultText(name, seat.service.keepsConversations ? kSteps[round % std::size(kSteps)] : kSteps[0]);
  const bool isCancelled = name == kStall && seat.service.usesPool && round % 2 == 0;
  const std::string answer = isCancelled      ? askAndCancel(seat, fault)
                             : name == kStall ? askBriefly(seat, fault)
                                              : ask(seat, fault);
  expect(answer.starts_with("error: ") && answer.size() > 7, seat, fault + "was answered: " + answer);
  expect(seat.session.save() == before, seat, fault + "changed the session");
  ++tally_.failed;
}

/// The cancel may come before, in or between the requests: it is never lost, so it ends the turn that nothing else
/// ends.
std::string SoakHost::askAndCancel(Seat& seat, const std::string& fault) {
  const std::future<void> cancelling = desk_.handIn([canceller = seat.session.canceller()] { canceller.cancel(); });
  std::string answer = ask(seat, fault);
  cancelling.wait();
  expect(answer == "error: The request was cancelled", seat, "instead of a cancel: " + answer);
  ++tally_.cancelled;
  return answer;
}

std::string SoakHost::askBriefly(Seat& seat, const std::string& fault) {
  limitRequests(20ms);
  std::string answer = ask(seat, fault);
  limitRequests(60s);
  return answer;
}
