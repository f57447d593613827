// API host, model and key: whatever they hold, each request goes to the host that was asked for and says nothing but
// what it is meant to (address_rules.h), or is refused with a text before a byte is sent.
#include "expect.h"
#include "session_rules.h"
#include "targets.h"

#include <cf/text.h>

namespace {

struct Asked {
  std::string apiHost, model, key;
};

Asked readAsked(std::string_view input) {
  const std::vector<std::string_view> pieces = cutInput(input);
  const auto piece = [&pieces](std::size_t index, const std::string& otherwise) {
    return index < pieces.size() ? std::string(pieces[index]) : otherwise;
  };
  return {piece(0, ""), piece(1, "m"), piece(2, kKey)};
}

/// The library's own sentence, not a service's.
void expectRefusal(const std::string& error, const std::string& key) {
  expectErrorText(error);
  // A short key may be a word of any sentence.
  expect(key.size() < kKey.size() || error.find(key) == std::string::npos, "no refusal tells the key", error);
}

void fuzzAddressOf(QAIAssistantType type, const Asked& asked) {
  const Owned<IQAIAssistant> assistant = makeAssistant(type, asked.apiHost, asked.key);
  network().answer(healthyCreation());
  std::string error = assign(*assistant, {{"model", asked.model}});
  if (!error.empty()) return expectRefusal(error, asked.key);
  network().apiHost = property(*assistant, "api_host").stringValue();  // the service's own in place of a blank one
  network().answer(healthyCreation());
  const auto [made, sessionError] = assistant->createSession();
  const Owned<IQAISession> session(made);
  expect(session != nullptr, "what one request can go to, the next can, too", sessionError);

  network().answer(healthyTurn(type));
  const auto [message, turnError] = assistant->addMessage(session.get(), "question");
  const Owned<IQAIMessage> reply(message);
  if (!turnError.empty()) expectRefusal(turnError, asked.key);
  network().answer({{200, R"({"data":[],"models":[]})"}});
  error = assistant->obtainAvailableModels().second;
  if (!error.empty()) expectRefusal(error, asked.key);
}

}  // namespace

void fuzzAddress(std::string_view input) {
  const Asked asked = readAsked(input);
  for (const TestedService& service : allServices()) fuzzAddressOf(service.type, asked);
}
