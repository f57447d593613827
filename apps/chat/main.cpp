// qai-chat: asks an AI service about a database, from the terminal.
#include "databases/database.h"
#include "failure.h"
#include "options.h"
#include "program.h"
#include "services/endpoint.h"
#include "standard_streams.h"
#include "start.h"
#include "terminal/rendering.h"

#include <cerrno>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

namespace {

ExitCode run(int argc, char** argv) try {
  const std::vector<std::string> arguments = obtainArguments(argc, argv);
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
} catch (const Failure& error) {
  complain(std::cerr, error.what());
  return error.exitCode;
} catch (const HostError& error) {
  complain(std::cerr, error.what());
  return ExitCode::WrongUsage;
} catch (const std::bad_alloc&) {
  throw;  // what else is to be said of it takes memory
} catch (const std::exception& error) {
  complain(std::cerr, error.what());
  return ExitCode::Internal;
}

}  // namespace

int main(int argc, char** argv) try {
  forbidMemoryDumps();
  setUpStandardStreams();
  std::cin.exceptions(std::ios::badbit);  // a line that finds no memory is not the end of the input
  return static_cast<int>(run(argc, argv));
} catch (const std::bad_alloc&) {
  std::cerr << "qai-chat: " << kNoMemory << std::endl;
  return static_cast<int>(ExitCode::Internal);
}
