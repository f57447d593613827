// A host with no part in the library's build: asks the service at the address that it is given which tables there are,
// for the reply as a whole and as it comes.
#include <cf/json_shortcuts.h>
#include <qai.h>
#include <qai_extensions.h>

#include <iostream>
#include <memory>
#include <string>
#include <string_view>

namespace {

struct Free {
  void operator()(IQAIObject* object) const { QAIFreeObject(object); }
};

int fail(const std::string& error) {
  std::cerr << error << '\n';
  return 1;
}

const char* const kQuestion = "Which tables are there?";

// What the stand-in answers about its one table: `glacier` comes from the structure that was sent.
bool namesTheTable(const std::string& text) { return text.find("glacier") != std::string::npos; }

std::string textOf(const IQAIMessage& reply) {
  std::string text;
  for (const IQAIMessageSection* section : reply.obtainSections()) text += section->obtainText();
  return text;
}

struct ExtensionOfALaterLibrary {
  static constexpr const char* kId = "qai.later/1";
};

// Hosts of other visibilities and without type information find these as well.
int askStreaming(IQAIAssistant* assistant, IQAISession* session) {
  auto* streaming = qaiExtension<IQAIStreaming>(assistant);
  if (streaming == nullptr) return fail("no streamed turns");
  if (qaiExtension<IQAIStreaming>(session) != nullptr) return fail("a session that streams");
  if (qaiExtension<ExtensionOfALaterLibrary>(assistant) != nullptr) return fail("an extension that there is not yet");

  std::string text;
  const auto [message, error] = streaming->addMessageStreaming(session, kQuestion, {}, [&](std::string_view piece) {
    text += piece;
    return true;
  });
  const std::unique_ptr<IQAIMessage, Free> reply(message);
  if (!error.empty()) return fail(error);
  if (!namesTheTable(text) || text != textOf(*reply)) return fail("the pieces are not the reply: " + text);
  const auto* details = qaiExtension<IQAIMessageDetails>(reply.get());
  if (details == nullptr) return fail("no details");
  return details->obtainFinishReason() == "stop" ? 0 : fail("no reason why the reply ended");
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
  const auto [message, error] = assistant->addMessage(session.get(), kQuestion);
  const std::unique_ptr<IQAIMessage, Free> reply(message);
  if (!error.empty()) return fail(error);
  if (!namesTheTable(textOf(*reply))) return fail("the reply does not name the table");
  return askStreaming(assistant.get(), session.get());
}

}  // namespace

int main(int argc, char** argv) { return argc == 2 ? ask(argv[1]) : fail("wants the address of the service"); }
