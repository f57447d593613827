// qai-chat: asks an AI service about a database, from the terminal.
#include "database.h"
#include "options.h"
#include "program.h"
#include "rendering.h"
#include "saved_conversation.h"
#include "service.h"
#include "standard_streams.h"
#include "start.h"

#include <cerrno>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace {

ExitCode run(const std::vector<std::string>& arguments) try {
  const CommandLine commandLine = readCommandLine(arguments);
  if (!commandLine.end) return runProgram(commandLine.options, {std::cin, std::cout, std::cerr});
  if (*commandLine.end == ExitCode::Fine) {
    printText(std::cout, commandLine.text);
  } else {
    complain(std::cerr, commandLine.text);
  }
  return *commandLine.end;
} catch (const OutputError& error) {
  // Whoever read the answers has enough of them.
  if (error.code().value() == EPIPE) return ExitCode::Fine;
  complain(std::cerr, error.what());
  return ExitCode::OutputFailed;
} catch (const DatabaseError& error) {
  complain(std::cerr, error.what());
  return error.exitCode;
} catch (const RestoreError& error) {
  complain(std::cerr, error.what());
  return error.exitCode;
} catch (const HostError& error) {
  complain(std::cerr, error.what());
  return ExitCode::WrongUsage;
} catch (const std::exception& error) {
  complain(std::cerr, error.what());
  return ExitCode::Internal;
}

}  // namespace

int main(int argc, char** argv) {
  setUpStandardStreams();
  return static_cast<int>(run(obtainArguments(argc, argv)));
}
