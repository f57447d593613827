// Keeps a conversation in a file and goes on with it each time: restore_session SERVICE ADDRESS MODEL FILE QUESTION
// SERVICE is a number of QAIAssistantType; an empty ADDRESS is the service's own; the key is in QAI_API_KEY.
//
// Run it twice with the same FILE: the second answer knows the first question. The file holds what was said and the
// settings, never the key, unless the service quoted it: qai::redacted takes it out of what others may see.
#include <qai.hpp>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>

int fail(const std::string& text) {
  std::cerr << text << '\n';
  return 1;
}

std::string readFile(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool writeFile(const char* path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  return file.good();
}

// The conversation that was saved, or a new one when nothing was.
qai::Result<qai::Session> openConversation(qai::Assistant& assistant, QAIAssistantType type, const std::string& saved,
                                           const char* model) {
  if (!saved.empty()) {
    // A saved text carries model, address and all other settings, so nothing is configured before. It says where the
    // next request goes, with the key: to another server than the one in use only when the user agrees.
    const std::string inUse = assistant.properties().apiHost();
    const auto host = qai::savedHost(type, saved, inUse);
    if (host && !qai::sameOrigin(*host, inUse))
      return qai::Result<qai::Session>({}, "The conversation was held with " + *host);
    return assistant.loadSession(saved);
  }

  const auto filled = assistant.configure(
      [model](qai::Fill& fill) { fill.model(model).userInstructions("Answer in one short sentence."); });
  if (!filled) return qai::Result<qai::Session>({}, filled.error());
  return assistant.createSession();
}

int main(int argc, char** argv) {
  if (argc != 6) return fail("usage: restore_session SERVICE ADDRESS MODEL FILE QUESTION");
  const auto type = static_cast<QAIAssistantType>(std::strtol(argv[1], nullptr, 10));
  const char* key = std::getenv("QAI_API_KEY");
  qai::Assistant assistant(type, key == nullptr ? "" : key, argv[2]);
  if (!assistant) return fail("There is no service of this number.");

  const std::string saved = readFile(argv[4]);
  auto session = openConversation(assistant, type, saved, argv[3]);
  if (!session) return fail(session.error());
  std::cout << (saved.empty() ? "A new conversation" : "The conversation goes on") << '\n';

  const auto reply = session->ask(argv[5]);
  if (!reply) return fail(reply.error());
  std::cout << reply->text() << '\n';

  // The session's end frees it here and sends nothing. Were it destroyed, a service that keeps the conversation itself
  // (type 1) would delete it, and there would be nothing to go on with.
  return writeFile(argv[4], session->save()) ? 0 : fail("The conversation could not be saved.");
}
