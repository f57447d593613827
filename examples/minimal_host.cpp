// Asks one question about a database, on the plain header: minimal_host SERVICE ADDRESS MODEL QUESTION
// SERVICE is a number of QAIAssistantType; an empty ADDRESS is the service's own; the key is in QAI_API_KEY.
#include <qai.h>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

// What the library hands out goes back to it.
struct Free {
  void operator()(IQAIObject* object) const { QAIFreeObject(object); }
};

int fail(const std::string& text) {
  std::cerr << text << '\n';
  return 1;
}

int main(int argc, char** argv) {
  if (argc != 5) return fail("usage: minimal_host SERVICE ADDRESS MODEL QUESTION");
  const auto type = static_cast<QAIAssistantType>(std::strtol(argv[1], nullptr, 10));
  const char* key = std::getenv("QAI_API_KEY");

  std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
  const std::unique_ptr<IQAIAssistant, Free> assistant(
      QAICreateAssistant(type, pool.get(), key == nullptr ? "" : key, argv[2]));
  if (assistant == nullptr) return fail("There is no service of this number.");
  static_cast<void>(pool.release());  // from here on the assistant's

  std::string error = assistant->setAssistantProperties([argv](IQAIProperties* properties) {
    properties->setProperty("model", argv[3]);
    properties->setProperty("user_instructions", "Answer with SQL for SQLite.");
    properties->setProperty("db_structure", R"([{"schemas": [{"tables": [{"name": "glacier",
        "fields": [{"name": "id", "type": "INTEGER"}, {"name": "height", "type": "REAL"}], "pkeys": ["id"]}]}]}])");
  });
  if (!error.empty()) return fail(error);

  const auto [opened, sessionError] = assistant->createSession();
  const std::unique_ptr<IQAISession, Free> session(opened);  // declared behind the assistant, so it goes before it
  if (!sessionError.empty()) return fail(sessionError);

  const auto [message, turnError] = assistant->addMessage(session.get(), argv[4]);
  const std::unique_ptr<IQAIMessage, Free> reply(message);
  if (!turnError.empty()) return fail(turnError);
  for (const IQAIMessageSection* section : reply->obtainSections()) std::cout << section->obtainText();
  std::cout << '\n';

  error = assistant->destroySession(session.get());  // nothing of it is to stay at the service
  return error.empty() ? 0 : fail(error);
}
