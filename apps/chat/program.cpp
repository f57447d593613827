#include "program.h"

#include "assistant.h"
#include "interrupt_posix.h"
#include "rendering.h"
#include "sqlite_database.h"

#include <cf/text.h>

#include <standin.h>

#include <cstdlib>
#include <memory>
#include <ostream>

namespace {

std::string findKey(const Provider& provider) {
  for (const char* variable : provider.keyVariables) {
    const char* value = std::getenv(variable);
    if (value != nullptr && !cfTrimAsString(value).empty()) return cfTrimAsString(value);
  }
  return "";
}

Service chooseService(const Options& options) {
  Service service{.provider = options.provider,
                  .host = cfTrimAsString(options.host),
                  .apiKey = findKey(*options.provider),
                  .settings = {}};
  service.settings.caFile = options.caFile;
  service.settings.proxyURL = options.proxyURL;
  return service;
}

/// The service inside the program, for whoever has no key and names no host.
std::unique_ptr<standin::Server> startStandIn(Service& service, std::ostream& err) {
  if (!service.apiKey.empty() || !service.host.empty()) return nullptr;
  auto server = std::make_unique<standin::Server>();
  service.host = server->address();
  service.apiKey = "stand-in";
  service.settings = {};  // no proxy on the way to this machine
  complain(err, std::string("A rule-based stand-in answers, not a language model; set ") +
                    service.provider->keyVariables.front() + " to ask " + service.provider->title + ".");
  return server;
}

Setup makeSetup(const Options& options, const DatabaseReader& reader, const DatabaseDescription& database) {
  return {.model = options.model,
          .temperature = options.temperature,
          .instructions = options.instructions,
          .productName = reader.productName(),
          .structureJson = obtainStructureJson(database)};
}

/// Settles the model, the settings and the session. @return an error text
std::string prepare(Assistant& assistant, Setup& setup) {
  if (setup.model.empty()) {
    auto [models, error] = assistant.listModels();
    if (!error.empty()) return error;
    if (models.empty()) return "The service offers no models";
    setup.model = std::move(models.front());
  }
  std::string error = assistant.configure(setup);
  return error.empty() ? assistant.startConversation() : error;
}

void greet(const Options& options, const DatabaseDescription& database, const std::string& model, std::ostream& err) {
  std::size_t tables = 0;
  std::size_t views = 0;
  for (const SchemaDescription& schema : database.schemas) {
    tables += schema.tables.size();
    views += schema.views.size();
  }
  const auto count = [](std::size_t number, const char* noun) {
    return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
  };
  err << terminalSafeLine(options.database + ": " + count(tables, "table") + ", " + count(views, "view") +
                          ". Model: " + model + ".")
      << "\n/help lists the commands, Ctrl-D ends.\n\n";
}

ExitCode fail(Assistant& assistant, const std::string& error, std::ostream& err) {
  complain(err, error);
  return assistant.failureCode();
}

ExitCode listModels(const Options& options, Streams streams) {
  Service service = chooseService(options);
  const auto standIn = startStandIn(service, streams.err);
  Assistant assistant(std::move(service));
  const auto [models, error] = assistant.listModels();
  if (!error.empty()) return fail(assistant, error, streams.err);
  std::string text;
  for (const std::string& model : models) text += terminalSafeLine(model) + "\n";
  if (!text.empty()) printText(streams.out, text);
  return ExitCode::Fine;
}

ExitCode answerWithoutTerminal(const Options& options, Setup setup, Streams streams) {
  Service service = chooseService(options);
  const auto standIn = startStandIn(service, streams.err);
  Assistant assistant(std::move(service));
  const std::string error = prepare(assistant, setup);
  if (!error.empty()) return fail(assistant, error, streams.err);
  return options.question ? answerOnce(assistant, *options.question, streams) : answerLines(assistant, streams);
}

ExitCode converseOnTerminal(const Options& options, const DatabaseDescription& database, Setup setup, Streams streams) {
  // The terminal has dropped the line that was being typed, so a new prompt is all that is missing.
  Interrupts interrupts([&] { streams.err << '\n' << kPrompt << std::flush; });
  Service service = chooseService(options);
  const auto standIn = startStandIn(service, streams.err);
  Assistant assistant(std::move(service));
  const TurnRunner runTurn = [&](const std::function<void()>& turn) {
    const bool interrupted = interrupts.run(turn, [&] { assistant.cancel(); });
    if (interrupted) assistant.dropLateCancel();
    return interrupted;
  };
  std::string error;
  const bool interrupted = runTurn([&] { error = prepare(assistant, setup); });
  if (interrupted) {
    streams.err << "\nCancelled.\n";
    return ExitCode::ServiceFailed;
  }
  if (!error.empty()) return fail(assistant, error, streams.err);
  greet(options, database, setup.model, streams.err);
  converse(assistant, streams, runTurn);
  return ExitCode::Fine;
}

ExitCode showPrompt(const Options& options, const Setup& setup, Streams streams) {
  Assistant assistant(chooseService(options));
  const std::string error = assistant.configure(setup);
  if (!error.empty()) {
    complain(streams.err, error);
    return ExitCode::Internal;
  }
  printText(streams.out, assistant.combinedInstructions());
  return ExitCode::Fine;
}

}  // namespace

ExitCode runProgram(const Options& options, Streams streams) {
  if (options.listModels) return listModels(options, streams);
  const std::unique_ptr<DatabaseReader> reader = openSqliteDatabase(options.database);
  const DatabaseDescription database = reader->readDescription();
  for (const std::string& note : database.notes) complain(streams.err, note);
  const Setup setup = makeSetup(options, *reader, database);
  if (options.showPrompt) return showPrompt(options, setup, streams);
  const bool conversation = !options.question && isInputTerminal();
  return conversation ? converseOnTerminal(options, database, setup, streams)
                      : answerWithoutTerminal(options, setup, streams);
}
