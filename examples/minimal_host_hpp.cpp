// Asks one question about a database: minimal_host_hpp SERVICE ADDRESS MODEL QUESTION
// SERVICE is a number of QAIAssistantType; an empty ADDRESS is the service's own; the key is in QAI_API_KEY.
#include <qai.hpp>

#include <cstdlib>
#include <iostream>

int fail(const std::string& text) {
  std::cerr << text << '\n';
  return 1;
}

int main(int argc, char** argv) {
  if (argc != 5) return fail("usage: minimal_host_hpp SERVICE ADDRESS MODEL QUESTION");
  const auto type = static_cast<QAIAssistantType>(std::strtol(argv[1], nullptr, 10));
  const char* key = std::getenv("QAI_API_KEY");
  qai::Assistant assistant(type, key == nullptr ? "" : key, argv[2]);
  if (!assistant) return fail("There is no service of this number.");

  const auto filled = assistant.configure([argv](qai::Fill& fill) {
    fill.model(argv[3]).userInstructions("Answer with SQL for SQLite.");
    fill.databaseStructure(R"([{"schemas": [{"tables": [{"name": "glacier",
        "fields": [{"name": "id", "type": "INTEGER"}, {"name": "height", "type": "REAL"}], "pkeys": ["id"]}]}]}])");
  });
  if (!filled) return fail(filled.error());
  auto session = assistant.createSession();
  if (!session) return fail(session.error());
  const auto reply = session->ask(argv[4]);
  if (!reply) return fail(reply.error());
  std::cout << reply->text() << '\n';
  const auto destroyed = session->destroy();  // nothing of it is to stay at the service
  return destroyed ? 0 : fail(destroyed.error());
}
