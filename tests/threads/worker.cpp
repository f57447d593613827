#include "worker.h"

#include <cctype>
#include <string_view>
#include <utility>

namespace {

constexpr int kTurnsOfAConversation = 8;
constexpr int kConversationsOfAnAssistant = 3;

}  // namespace

Worker::Worker(const TestedService& service, int number, std::string address, CancelDesk& desk)
    : service_(service), name_(std::to_string(number)), address_(std::move(address)), desk_(desk) {}

void Worker::expect(bool holds, const std::string& what) {
  if (!holds) tally_.defects.push_back(std::string(service_.name) + " " + name_ + ": " + what);
}

void Worker::work(int turns) {
  while (tally_.asked < turns && tally_.defects.empty()) {
    if (rounds_ % kConversationsOfAnAssistant == 0) makeAssistant();
    ++rounds_;
    lookAround();
    configure();
    converse();
  }
}

void Worker::makeAssistant() { assistant_ = qai::Assistant(service_.type, key(), address_); }

void Worker::configure() {
  const std::string structure =
      R"([{"schemas":[{"tables":[{"name":"glacier_)" + name_ + R"(","fields":[{"name":"id","type":"INT"}]}]}]}])";
  const auto filled =
      assistant_.configure([&](qai::Fill& fill) { fill.model(service_.model).databaseStructure(structure); });
  expect(static_cast<bool>(filled), "not configured: " + filled.error());
}

/// What is done beside turns, and the library's own text that comes of a saved session that is none.
void Worker::lookAround() {
  const auto models = assistant_.models();
  expect(models && !models->empty(), "no models: " + models.error());
  qai::Assistant other(service_.type, key(), address_);
  expect(other.loadSession("{").error() == kTranslated, "a text that was not translated");
  ++tally_.translated;
}

void Worker::converse() {
  auto created = assistant_.createSession();
  expect(static_cast<bool>(created), "no session: " + created.error());
  session_ = std::move(created).value();
  isStirred_ = false;
  for (int turn = 0; turn < kTurnsOfAConversation; ++turn) takeTurn(turn % 3 == 2);
  if (cancelIsDue_) takeTurn(false);  // nothing else of the worker's may meet it
  expect(!cancelIsDue_, "a cancel that ended nothing");
  const std::string saved = session_.save();
  expect(saved.find("sk-") == std::string::npos, "the key in " + saved);
  const auto gone = session_.destroy();
  expect(static_cast<bool>(gone), "not destroyed: " + gone.error());
}

void Worker::takeTurn(bool disturbed) {
  const std::string question = signature() + "for turn " + std::to_string(tally_.asked) + ": list the tables.";
  const std::string before = session_.save();
  if (disturbed && !cancelIsDue_) disturb();
  ++tally_.asked;
  const auto reply = session_.ask(question);
  if (cancelling_.valid()) cancelling_.get();
  judge(question, reply, before);
}

/// Has another thread cancel, in both ways that there are.
void Worker::disturb() {
  cancelling_ = tally_.asked % 2 == 0 ? desk_.handIn([pool = assistant_.pool()] { pool->cancel(); })
                                      : desk_.handIn([canceller = session_.canceller()] { canceller.cancel(); });
  if (!canBeCancelled()) return;
  ++tally_.cancels;
  cancelIsDue_ = true;
}

void Worker::judge(const std::string& question, const qai::Result<qai::Message>& reply, const std::string& before) {
  if (reply) {
    ++tally_.answered;
    return checkAnswer(reply->text());
  }
  expect(reply.error() == "The request was cancelled", "failed: " + reply.error());
  expect(cancelIsDue_, "cancelled by nobody");
  expect(session_.save() == before, "a session that changed: " + session_.save());
  cancelIsDue_ = false;
  isStirred_ = true;
  tally_.cancelled.insert(question);
}

/// It names the worker's own table and no other. A service that keeps the conversation may still act on a request that
/// was cancelled when the next turn comes in; then it finds that question answered already, and names none.
void Worker::checkAnswer(const std::string& answer) {
  constexpr std::string_view kTable = "glacier_";
  const auto place = answer.find(kTable);
  if (place == std::string::npos && isStirred_ && service_.keepsConversations) return;
  const std::string number = place == std::string::npos ? "" : answer.substr(place + kTable.size(), name_.size() + 1);
  const bool isOwn = number.starts_with(name_) && std::isdigit(static_cast<unsigned char>(number.back())) == 0;
  expect(isOwn, "another one's answer: " + answer);
}
