// One request, for a test that puts the process into a network of its own:
// lone_request HOST CONNECT_LIMIT TOTAL_LIMIT PROXY, the limits in milliseconds. Prints the time that it took, in
// milliseconds, and the error.
#include "support/host.h"

#include <chrono>
#include <cstdlib>
#include <iostream>

int main(int argc, char** argv) {
  if (argc != 5) return 1;
  CMRestGlobalSettings settings;
  settings.connectTimeout = std::chrono::milliseconds(std::strtol(argv[2], nullptr, 10));
  settings.totalTimeout = std::chrono::milliseconds(std::strtol(argv[3], nullptr, 10));
  settings.proxyURL = argv[4];
  QAISetHTTPSettings(settings);
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(OPENAI_v1, CF::createHTTPPoolCenter(), "key", argv[1]));
  const auto start = std::chrono::steady_clock::now();
  const std::string error = assistant->obtainAvailableModels().second;
  const auto time = std::chrono::steady_clock::now() - start;
  std::cout << std::chrono::duration_cast<std::chrono::milliseconds>(time).count() << '\n' << error << '\n';
  return 0;
}
