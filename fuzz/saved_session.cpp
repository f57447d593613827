// A saved session's text, which a host may have kept anywhere: it restores, or changes nothing.
#include "expect.h"
#include "session_rules.h"
#include "targets.h"

namespace {

void fuzzSessionOf(QAIAssistantType type, std::string_view input) {
  const Owned<IQAIAssistant> assistant = makeAssistant(type);
  const auto [made, error] = assistant->loadSession(std::string(input));
  const Owned<IQAISession> session(made);
  if (!error.empty()) {
    expect(session == nullptr, "what can't be restored gives no session");
    expectErrorText(error);
    expectNoKey(error, input);
    const std::string settings = settingsOf(*assistant);
    expect(settings == settingsOf(*makeAssistant(type)), "what can't be restored changes no setting", settings);
    return;
  }
  network().apiHost = property(*assistant, "api_host").stringValue();
  expectRestorable(type, *session, input);

  // The host and the model are the text's: what can't be sent with them fails with a text.
  network().answer(healthyTurn(type));
  const std::string saved = session->obtainSessionData();
  const auto [message, turnError] = assistant->addMessage(session.get(), "question");
  const Owned<IQAIMessage> reply(message);
  if (turnError.empty()) return expectRestorable(type, *session, input);
  expectErrorText(turnError);
  expectNoKey(turnError, input);
  expect(session->obtainSessionData() == saved, "a failed turn changes nothing", turnError);
}

}  // namespace

void fuzzSession(bool isKept, std::string_view input) {
  for (const TestedService& service : allServices()) {
    if (service.keepsConversations == isKept) fuzzSessionOf(service.type, input);
  }
}
