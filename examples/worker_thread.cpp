// Asks on a worker thread and gives up after a while: worker_thread SERVICE ADDRESS MODEL SECONDS QUESTION
// SERVICE is a number of QAIAssistantType; an empty ADDRESS is the service's own; the key is in QAI_API_KEY.
//
// Every call of the library blocks until it is done, so a program with a window makes its calls on a thread like this
// one, and its Cancel button does what the clock does here.
#include <qai.hpp>

#include <chrono>
#include <cstdlib>
#include <future>
#include <iostream>

int fail(const std::string& text) {
  std::cerr << text << '\n';
  return 1;
}

int main(int argc, char** argv) {
  if (argc != 6) return fail("usage: worker_thread SERVICE ADDRESS MODEL SECONDS QUESTION");
  const auto type = static_cast<QAIAssistantType>(std::strtol(argv[1], nullptr, 10));
  const char* key = std::getenv("QAI_API_KEY");
  const std::chrono::duration<double> patience(std::strtod(argv[4], nullptr));
  qai::Assistant assistant(type, key == nullptr ? "" : key, argv[2]);
  if (!assistant) return fail("There is no service of this number.");
  const auto filled = assistant.configure([argv](qai::Fill& fill) { fill.model(argv[3]); });
  if (!filled) return fail(filled.error());
  auto session = assistant.createSession();
  if (!session) return fail(session.error());

  // The worker has the assistant and its session for itself until it is done. The canceller alone may be used
  // meanwhile: from any thread, and even when all the rest is gone.
  const qai::Canceller canceller = session->canceller();
  const std::string question = argv[5];
  auto answer = std::async(std::launch::async, [&session, &question] { return session->ask(question); });

  // Here a window would go on drawing.
  if (answer.wait_for(patience) == std::future_status::timeout) {
    std::cerr << "That takes too long.\n";
    canceller.cancel();  // with Ollama (4) it has no effect: its requests end by themselves or at the time limit
  }

  const auto reply = answer.get();
  if (!reply) return fail(reply.error());  // of a cancelled turn too; the session is as before, and can ask again
  std::cout << reply->text() << '\n';
}
