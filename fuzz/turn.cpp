// A conversation with a service that answers with what the input holds: a failed step gives a text and changes nothing,
// and does not keep the next from succeeding.
#include "expect.h"
#include "session_rules.h"
#include "targets.h"

#include <cf/text.h>

#include <algorithm>

namespace {

class Conversation {
 public:
  Conversation(QAIAssistantType type, std::string_view input)
      : type_(type), input_(input), replies_(readReplies(input)), assistant_(makeAssistant(type)) {}

  void run() {
    network().answer(replies_);
    configure();
    open();
    takeTurn();
    network().answer(replies_);
    takeStreamedTurn();
    expectHealthyTurn(type_, *assistant_, *session_);
    expectRestorable(type_, *session_, input_);
    network().answer(replies_);
    listModels();
    destroy();
  }

 private:
  void expectFailure(const std::string& error) const {
    const std::vector<Reply>& seen = network().replies;
    const auto reply = std::find_if(seen.begin(), seen.end(), [&](const Reply& one) { return one.body == error; });
    expectErrorText(error, reply == seen.end() ? std::string_view() : reply->body);
    expectNoKey(error, input_);
  }

  /// Gives the service's next replies a chance; once more with a healthy one when they are of no use.
  template <class Step>
  void tryStep(Step step) {
    const std::string error = step();
    if (error.empty()) return;
    expectFailure(error);
    const Network tried = network();
    network().answer(healthyCreation());
    const std::string again = step();
    expect(again.empty(), "a healthy service's step succeeds", again);
    network() = tried;
  }

  void configure() {
    tryStep([this] { return assign(*assistant_, {{"model", "m"}, {"user_instructions", "Be brief."}}); });
  }

  void open() {
    tryStep([this] {
      auto [made, error] = assistant_->createSession();
      session_.reset(made);
      return error;
    });
  }

  void takeTurn() {
    const std::string before = session_->obtainSessionData();
    judge(assistant_->addMessage(session_.get(), "How many glaciers are there?"), before);
  }

  void takeStreamedTurn() {
    const std::string before = session_->obtainSessionData();
    std::string pieces;
    const auto sink = [&pieces](std::string_view piece) {
      pieces += piece;
      return true;
    };
    auto* streaming = qaiExtension<IQAIStreaming>(assistant_.get());
    const Owned<IQAIMessage> message =
        judge(streaming->addMessageStreaming(session_.get(), "How high is it?", {}, sink), before);
    if (message == nullptr) return;
    std::string text;
    for (const IQAIMessageSection* section : message->obtainSections()) text += section->obtainText();
    expect(pieces == text, "the pieces of a reply are its text", pieces);
  }

  Owned<IQAIMessage> judge(const std::pair<IQAIMessage*, std::string>& turn, const std::string& before) const {
    const auto& [made, error] = turn;
    Owned<IQAIMessage> message(made);
    if (error.empty()) {
      expectSound(*message);
    } else {
      expect(message == nullptr, "a failed turn has no message");
      expectFailure(error);
      expect(session_->obtainSessionData() == before, "a failed turn changes nothing", error);
    }
    return message;
  }

  void expectSound(const IQAIMessage& message) const {
    expect(message.obtainRole() == 1, "a reply is the assistant's");
    for (const IQAIMessageSection* section : message.obtainSections()) {
      expect(section->obtainType() == 0, "a section is text");
      expect(cfIsUTF8(section->obtainText()), "a reply is UTF-8", section->obtainText());
      expectNoKey(section->obtainText(), input_);
    }
  }

  void listModels() {
    const auto [models, error] = assistant_->obtainAvailableModels();
    for (const std::string& model : models) expect(cfIsUTF8(model), "a model's name is UTF-8", model);
    if (!error.empty()) expectFailure(error);
  }

  void destroy() {
    const std::string error = assistant_->destroySession(session_.get());
    if (!error.empty()) expectFailure(error);
  }

  QAIAssistantType type_;
  std::string_view input_;
  std::vector<Reply> replies_;
  Owned<IQAIAssistant> assistant_;
  Owned<IQAISession> session_;  // behind the assistant, so it goes before it
};

}  // namespace

void fuzzTurn(BodyForm form, std::string_view input) {
  for (const TestedService& service : allServices()) {
    if (service.form == form) Conversation(service.type, input).run();
  }
}
