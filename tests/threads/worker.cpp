#include "worker.h"

#include "support/host.h"

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
  // A cancel may leave the run of a service that keeps the conversation without a name that it could be ended by.
  const bool isStreamed = tally_.asked % 2 == 1 && !(disturbed && service_.keepsConversations);
  stop_ = false;
  if (disturbed && !cancelIsDue_) disturb();
  ++tally_.asked;
  const std::string told = isStreamed ? askStreamed(question) : ask(question);
  if (cancelling_.valid()) cancelling_.get();
  judge(question, told, before);
}

std::string Worker::ask(const std::string& question) {
  return toldBy(assistant_.native()->addMessage(session_.native(), question));
}

std::string Worker::askStreamed(const std::string& question) {
  ++tally_.streamed;
  QAIStreamOptions options;
  options.stop = &stop_;
  StreamedTurn turn = askStreaming(*assistant_.native(), session_.native(), question, options);
  std::string joined;
  for (const std::string& piece : turn.pieces) joined += piece;
  expect(turn.told.starts_with("error: ") || joined == turn.told, "pieces of another text: " + joined);
  return std::move(turn.told);
}

/// Has another thread cancel, in both ways that there are; or stop, where nothing can be cancelled.
void Worker::disturb() {
  if (!canBeCancelled()) {
    cancelling_ = desk_.handIn([this] { stop_ = true; });
    return;
  }
  cancelling_ = tally_.asked % 2 == 0 ? desk_.handIn([pool = assistant_.pool()] { pool->cancel(); })
                                      : desk_.handIn([canceller = session_.canceller()] { canceller.cancel(); });
  ++tally_.cancels;
  cancelIsDue_ = true;
}

void Worker::judge(const std::string& question, const std::string& told, const std::string& before) {
  if (!told.starts_with("error: ")) {
    ++tally_.answered;
    return checkAnswer(told);
  }
  expect(session_.save() == before, "a session that changed: " + session_.save());
  if (stop_) return judgeStop(told);
  expect(told == "error: The request was cancelled", "failed: " + told);
  expect(cancelIsDue_, "cancelled by nobody");
  cancelIsDue_ = false;
  isStirred_ = true;
  tally_.cancelled.insert(question);
}

/// The library's own text, translated.
void Worker::judgeStop(const std::string& told) {
  expect(told == std::string("error: ") + kTranslated, "failed: " + told);
  ++tally_.translated;
  ++tally_.stopped;
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
