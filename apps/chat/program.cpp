#include "program.h"

#include "assistant.h"
#include "interrupt.h"
#include "rendering.h"
#include "service.h"
#include "sqlite_database.h"
#include "standard_streams.h"
#include "switchboard.h"

#include <cf/defer.h>

#include <memory>
#include <ostream>

namespace {

Setup makeSetup(const Options& options, const DatabaseReader& reader, const DatabaseDescription& database) {
  return {.model = options.model,
          .temperature = options.temperature,
          .instructions = options.instructions,
          .productName = reader.productName(),
          .structureJson = obtainStructureJson(database)};
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
      << "\n/help lists the commands, " << obtainEndOfInputKeys() << " ends.\n\n";
}

ExitCode fail(Answerer& answerer, const std::string& error, std::ostream& err) {
  complain(err, error);
  return answerer.failureCode();
}

Switchboard makeSwitchboard(const Options& options, const Setup& setup, Streams streams) {
  const auto choose = [&options](const Provider& provider) { return chooseService(options, provider); };
  return {*options.provider, choose, setup, streams.err};
}

ExitCode listModels(const Options& options, Streams streams) {
  Service service = chooseService(options, *options.provider);
  const auto standIn = startStandIn(service, streams.err);
  Assistant assistant(std::move(service));
  const auto [models, error] = assistant.listModels();
  if (!error.empty()) return fail(assistant, error, streams.err);
  std::string text;
  for (const std::string& model : models) text += terminalSafeLine(model) + "\n";
  if (!text.empty()) printText(streams.out, text);
  return ExitCode::Fine;
}

/// Ctrl-C called a turn off.
struct Interrupted {};

/// @throw Interrupted, after the conversation has ended
ExitCode answerUntilInterrupted(const Options& options, const Setup& setup, Streams streams, Interrupts& interrupts) {
  Switchboard board = makeSwitchboard(options, setup, streams);
  const TurnRunner runTurn = [&](const std::function<void()>& turn) {
    const auto cancel = [&board] {
      if (!board.cancel()) endByInterrupt();
    };
    if (interrupts.run(turn, cancel)) throw Interrupted();
    return false;
  };
  std::string error;
  runTurn([&] { error = board.open(); });
  if (!error.empty()) return fail(board, error, streams.err);
  return options.question ? answerOnce(board, *options.question, streams, runTurn)
                          : answerLines(board, streams, runTurn);
}

ExitCode answerWithoutTerminal(const Options& options, const Setup& setup, Streams streams) {
  Interrupts interrupts(endByInterrupt);
  try {
    return answerUntilInterrupted(options, setup, streams, interrupts);
  } catch (const Interrupted&) {
    endByInterrupt();
  }
  return ExitCode::Internal;  // is not reached
}

/// Runs `turn` so that Ctrl-C calls it off or, where that can't be done, ends the program the second time.
/// @return whether it was called off
bool runInterruptibly(Interrupts& interrupts, Switchboard& board, std::ostream& err,
                      const std::function<void()>& turn) {
  bool warned = false;
  const bool interrupted = interrupts.run(turn, [&] {
    if (board.cancel()) return;
    if (warned) endByInterrupt();
    warned = true;
    err << "\nThis service's answer can't be called off. Ctrl-C again ends the program." << std::endl;
  });
  if (interrupted) board.dropLateCancel();
  return interrupted && !warned;
}

ExitCode converseOnTerminal(const Options& options, const DatabaseDescription& database, const Setup& setup,
                            Streams streams) {
  // The terminal has dropped the line that was being typed, so a new prompt is all that is missing.
  Interrupts interrupts([&] { streams.err << '\n' << kPrompt << std::flush; });
  Switchboard board = makeSwitchboard(options, setup, streams);
  const TurnRunner runTurn = [&](const std::function<void()>& turn) {
    return runInterruptibly(interrupts, board, streams.err, turn);
  };
  const CODefer endWell([&] { runTurn([&] { board.close(); }); });  // which Ctrl-C may cut short
  std::string error;
  if (runTurn([&] { error = board.open(); })) {
    streams.err << "\nCancelled.\n";
    return ExitCode::ServiceFailed;
  }
  if (!error.empty()) return fail(board, error, streams.err);
  greet(options, database, board.model(), streams.err);
  converse(board, streams, runTurn);
  return ExitCode::Fine;
}

ExitCode showPrompt(const Options& options, const Setup& setup, Streams streams) {
  // All services are told the same, and with the first of them nothing is sent; another may keep what it is told.
  Assistant assistant(chooseService(options, kProviders.front()));
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
