// qai-standin: the stand-in as a program of its own, for a first run without a key.
#include "end_signal.h"
#include "standard_streams.h"
#include "standin.h"
#include "start.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <exception>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace {

void addOptions(CLI::App& app, standin::Options& options) {
  constexpr int kLongestPace = 60'000;
  app.set_version_flag("--version", "qai-standin " QAI_VERSION);
  app.add_option("--host", options.host, "Address to listen on")->capture_default_str();
  app.add_option("--port", options.port, "Port to listen on; 0 takes any free one")
      ->capture_default_str()
      ->check(CLI::Range(0, 65535));
  CLI::Option* certificate = app.add_option("--cert", options.certificateFile, "PEM file of a certificate, for TLS");
  CLI::Option* keyFile = app.add_option("--key-file", options.privateKeyFile, "PEM file of the certificate's key");
  certificate->needs(keyFile);
  keyFile->needs(certificate);
  app.add_option_function<int>(
         "--pace", [&options](int pace) { options.pace = std::chrono::milliseconds(pace); },
         "Milliseconds to wait before each piece of a streamed reply, for people to see it grow")
      ->check(CLI::Range(0, kLongestPace));
  // Not an option, for options stand in the list of processes.
  app.footer("Environment: QAI_STANDIN_KEY is the only API key to accept; when it is not set, any is.");
}

int run(std::vector<std::string> arguments) {
  CLI::App app("A stand-in for AI services on the loopback. It answers from rules; no language model is behind it.",
               "qai-standin");
  standin::Options options;
  addOptions(app, options);
  app.allow_windows_style_options(false);
  std::reverse(arguments.begin(), arguments.end());  // the parser takes from the end
  try {
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& end) {  // --help, too
    return app.exit(end);
  }
  options.apiKey = obtainVariable("QAI_STANDIN_KEY").value_or("");
  standin::holdEndSignals();
  const standin::Server server(options);
  std::cout << "listening on " << server.address() << std::endl;
  standin::waitForEndSignal();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    setUpStandardStreams();
    return run(obtainArguments(argc, argv));
  } catch (const std::exception& error) {
    std::cerr << "qai-standin: " << error.what() << std::endl;
    return 1;
  }
}
