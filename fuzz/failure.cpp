// A reply under the status of a failure: what the user is told is the service's message, else the raw body, else what
// the status means.
#include "expect.h"
#include "session_rules.h"
#include "targets.h"

#include <cf/app.h>
#include <cf/json_shortcuts.h>

namespace {

Reply readFailure(std::string_view input) {
  Reply reply = readReplies(input).front();
  if (reply.status >= 200 && reply.status <= 299) reply.status += 300;
  return reply;
}

std::string expectedText(const Reply& reply) {
  const COJson json(reply.body);
  const ICOJsonValue* error = cfFindJsonMember(&json, "error", JsonType::Object);
  const ICOJsonValue* message = cfFindJsonMember(error, "message", JsonType::String);
  std::string text = message == nullptr ? reply.body : std::string(message->obtainString());
  if (!text.empty()) return text;
  CSErrorRecord record;
  CF::obtainAppFactory()->obtainErrorDescriptionService()->describeError(reply.status, nullptr, record);
  return record.message;
}

void expectTold(const std::string& error, const Reply& reply, std::string_view input) {
  expectErrorText(error, reply.body);
  expectNoKey(error, input);
  expect(error == expectedText(reply), "the user is told what the service says", error);
}

Owned<IQAIAssistant> configured(QAIAssistantType type) {
  Owned<IQAIAssistant> assistant = makeAssistant(type);
  network().answer(healthyCreation());
  const std::string error = assign(*assistant, {{"model", "m"}});
  expect(error.empty(), "a healthy service takes the settings", error);
  return assistant;
}

void fuzzFailureOf(QAIAssistantType type, const Reply& reply, std::string_view input) {
  const Owned<IQAIAssistant> assistant = configured(type);
  network().answer(healthyCreation());
  const Owned<IQAISession> session = newSession(*assistant);
  const std::string before = session->obtainSessionData();

  network().answer({reply, reply});
  const auto [message, error] = assistant->addMessage(session.get(), "question");
  expect(message == nullptr, "a failed turn has no message");
  expectTold(error, reply, input);
  const auto [models, modelsError] = assistant->obtainAvailableModels();
  expect(models.empty(), "a failed list is empty");
  expectTold(modelsError, reply, input);
  expect(session->obtainSessionData() == before, "a failed turn changes nothing", error);
  expectHealthyTurn(type, *assistant, *session);
}

}  // namespace

void fuzzFailure(std::string_view input) {
  const Reply reply = readFailure(input);
  for (const TestedService& service : allServices()) fuzzFailureOf(service.type, reply, input);
}
