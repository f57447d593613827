// A host with no part in the library's build: asks the service at the address that it is given which tables there are.
#include <cf/json_shortcuts.h>
#include <qai.h>

#include <iostream>
#include <memory>
#include <string>

namespace {

struct Free {
  void operator()(IQAIObject* object) const { QAIFreeObject(object); }
};

int fail(const std::string& error) {
  std::cerr << error << '\n';
  return 1;
}

// What the stand-in answers about its one table: `glacier` comes from the structure that was sent.
bool namesTheTable(const IQAIMessage& reply) {
  for (const IQAIMessageSection* section : reply.obtainSections()) {
    if (section->obtainText().find("glacier") != std::string_view::npos) return true;
  }
  return false;
}

int ask(const std::string& host) {
  const std::string structure =
      R"([{"schemas": [{"tables": [{"name": "glacier", "fields": [{"name": "id", "type": "INTEGER"}]}]}]}])";
  if (!cfIsJson(structure)) return fail("cf does not take the structure for JSON");

  const std::unique_ptr<IQAIAssistant, Free> assistant(
      QAICreateAssistant(OPENAI_v1, CF::createHTTPPoolCenter(), "sk-consumer", host));
  const auto models = assistant->obtainAvailableModels();
  if (models.first.empty()) return fail("no models: " + models.second);
  assistant->setAssistantProperties([&](IQAIProperties* properties) {
    properties->setProperty("model", models.first.front());
    properties->setProperty("db_structure", structure);
  });
  const std::unique_ptr<IQAISession, Free> session(assistant->createSession().first);
  const auto [message, error] = assistant->addMessage(session.get(), "Which tables are there?");
  const std::unique_ptr<IQAIMessage, Free> reply(message);
  if (!error.empty()) return fail(error);
  return namesTheTable(*reply) ? 0 : fail("the reply does not name the table");
}

}  // namespace

int main(int argc, char** argv) { return argc == 2 ? ask(argv[1]) : fail("wants the address of the service"); }
