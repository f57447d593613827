// Prints an answer while it comes, and what it took: as_it_comes SERVICE ADDRESS MODEL QUESTION
// SERVICE is a number of QAIAssistantType; an empty ADDRESS is the service's own; the key is in QAI_API_KEY.
// Ctrl-C stops the answer; the conversation is as before then.
#include <qai.hpp>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <iostream>

int fail(const std::string& text) {
  std::cerr << text << '\n';
  return 1;
}

std::atomic<bool> stop = false;

int main(int argc, char** argv) {
  if (argc != 5) return fail("usage: as_it_comes SERVICE ADDRESS MODEL QUESTION");
  const auto type = static_cast<QAIAssistantType>(std::strtol(argv[1], nullptr, 10));
  const char* key = std::getenv("QAI_API_KEY");
  qai::Assistant assistant(type, key == nullptr ? "" : key, argv[2]);
  if (!assistant) return fail("There is no service of this number.");
  const auto filled = assistant.configure([argv](qai::Fill& fill) { fill.model(argv[3]); });
  if (!filled) return fail(filled.error());
  auto session = assistant.createSession();
  if (!session) return fail(session.error());

  static_cast<void>(std::signal(SIGINT, [](int) { stop = true; }));
  QAIStreamOptions options;
  options.stop = &stop;
  const auto show = [](std::string_view piece) { std::cout << piece << std::flush; };
  const auto reply = session->ask(argv[4], show, options);
  std::cout << '\n';
  const auto destroyed = session->destroy();  // nothing of it is to stay at the service
  if (!reply) return fail(reply.error());     // "Stopped", for one

  const qai::Details details = reply->details();
  if (details.finishReason() == "length") std::cout << "(The answer was cut.)\n";
  if (const auto tokens = details.outputTokens()) std::cout << "(" << *tokens << " tokens)\n";
  return destroyed ? 0 : fail(destroyed.error());
}
