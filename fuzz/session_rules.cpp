#include "session_rules.h"

#include "expect.h"

#include <cf/json_shortcuts.h>

void expectRestorable(QAIAssistantType type, const IQAISession& session, std::string_view input) {
  const std::string saved = session.obtainSessionData();
  expect(cfIsJson(saved), "a saved session is JSON", saved);
  expectNoKey(saved, input);

  const std::string host = network().apiHost;
  const Owned<IQAIAssistant> other = makeAssistant(type);
  const auto [made, error] = other->loadSession(saved);
  const Owned<IQAISession> restored(made);
  network().apiHost = host;
  expect(restored != nullptr && error.empty(), "what was saved can be restored", saved);
  const std::string again = restored->obtainSessionData();
  expect(again == saved, "saving what was restored changes nothing", saved + "\n" + again);
}

void expectHealthyTurn(QAIAssistantType type, IQAIAssistant& assistant, IQAISession& session) {
  network().answer(healthyTurn(type));
  const std::string reply = ask(assistant, &session, "Are you well?");
  expect(reply == kHealthyReply, "a healthy service's turn succeeds", reply);
}
