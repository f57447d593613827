#include "program.h"

#include "conversation/commands.h"
#include "databases/sqlite_database.h"
#include "services/chat_partner.h"
#include "services/endpoint.h"
#include "services/saved_conversation.h"
#include "services/switchboard.h"
#include "standard_streams.h"
#include "terminal/history_store.h"
#include "terminal/interrupt.h"
#include "terminal/line_editor.h"
#include "terminal/questions.h"
#include "terminal/rendering.h"

#include <cf/defer.h>
#include <cf/text.h>

#include <exception>
#include <istream>
#include <memory>
#include <ostream>
#include <string>

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

/// Names the model that the user left open, to people alone: scripts have their standard error for failures.
void nameChoice(const Options& options, const std::string& model, std::ostream& err) {
  if (options.model.empty() && isErrorTerminal()) err << "Model: " << terminalSafeLine(model) << ".\n";
}

ExitCode fail(Answerer& answerer, const std::string& error, std::ostream& err) {
  complain(err, error);
  return answerer.failureCode();
}

/// What a conversation begins with.
struct Beginning {
  const Setup& setup;
  const std::string& saved;  // "" unless one is gone on with
};

Switchboard makeSwitchboard(const Options& options, const Setup& setup, Streams streams) {
  const auto choose = [&options](const Provider& provider) { return chooseEndpoint(options.service, provider); };
  return {*options.service.provider, choose, setup, streams.err};
}

bool askToAgree(const std::string& question, Streams streams) {
  streams.err << terminalSafe(question) << " [y/N] " << std::flush;
  std::string line;
  std::getline(streams.in, line);
  const std::string answer = cfTrimAsString(line);
  return answer == "y" || answer == "Y" || answer == "yes";
}

/// The saved conversation to begin with; "" when there is none. Nothing was sent up to here.
std::string readRestored(const Options& options, Streams streams) {
  if (options.restoreFile.empty()) return "";
  const std::string saved = readSavedConversation(options.restoreFile);
  Consent consent;
  if (isInputTerminal()) consent = [&](const std::string& question) { return askToAgree(question, streams); };
  return consentToSaved(saved, chooseEndpoint(options.service, *options.service.provider), consent);
}

ExitCode listModels(const Options& options, Streams streams) {
  Endpoint endpoint = chooseEndpoint(options.service, *options.service.provider);
  const auto standIn = startStandIn(endpoint, streams.err);
  ChatPartner partner(std::move(endpoint));
  const auto [models, error] = partner.listModels();
  if (!error.empty()) return fail(partner, error, streams.err);
  std::string text;
  for (const std::string& model : models) text += terminalSafeLine(model) + "\n";
  if (!text.empty()) printText(streams.out, text);
  return ExitCode::Fine;
}

/// Ctrl-C called a turn off.
struct Interrupted {};

/// @throw Interrupted, after the conversation has ended
ExitCode answerUntilInterrupted(const Options& options, const Beginning& beginning, Streams streams,
                                Interrupts& interrupts) {
  Switchboard board = makeSwitchboard(options, beginning.setup, streams);
  board.saveIn(options.saveFile);
  const TurnRunner runTurn = [&](const std::function<void()>& turn) {
    const auto cancel = [&board] {
      if (!board.cancel()) endByInterrupt();
    };
    if (interrupts.run(turn, cancel)) throw Interrupted();
    return false;
  };
  std::string error;
  runTurn([&] { error = board.open(beginning.saved); });
  if (!error.empty()) return fail(board, error, streams.err);
  nameChoice(options, board.model(), streams.err);
  const ExitCode code =
      options.question ? answerOnce(board, *options.question, streams, runTurn) : answerLines(board, streams, runTurn);
  return code == ExitCode::Fine && board.failedToSave() ? ExitCode::OutputFailed : code;
}

ExitCode answerWithoutTerminal(const Options& options, const Beginning& beginning, Streams streams) {
  Interrupts interrupts(endByInterrupt);
  try {
    return answerUntilInterrupted(options, beginning, streams, interrupts);
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

/// Ends the conversation, which Ctrl-C may cut short, on the way out, whatever leads there.
void endWell(Switchboard& board, const TurnRunner& runTurn) noexcept {
  try {
    runTurn([&] { board.close(); });
  } catch (const std::exception&) {
    // Without memory what the service keeps is left to it.
  }
}

/// What Tab completes: commands, services, tables, views and columns.
Words listWords(const DatabaseDescription& database) {
  Words words;
  for (const Command& command : listCommands()) words.commands.emplace_back(command.name);
  for (const Provider& provider : kProviders) words.arguments["/provider"].emplace_back(provider.name);
  const auto add = [&words](const TableDescription& table) {
    words.names.push_back(table.name);
    for (const ColumnDescription& column : table.columns) words.names.push_back(column.name);
  };
  for (const SchemaDescription& schema : database.schemas) {
    for (const TableDescription& table : schema.tables) add(table);
    for (const TableDescription& view : schema.views) add(view);
  }
  return words;
}

QuestionHistory openHistory(HistoryStore& store, const Options& options, std::ostream& err) {
  return {store, chooseEndpoint(options.service, *options.service.provider).secrets,
          [&err](const std::string& sentence) { complain(err, sentence); }};
}

ExitCode converseOnTerminal(const Options& options, const DatabaseDescription& database, const Beginning& beginning,
                            Streams streams) {
  const std::unique_ptr<HistoryStore> store = makeHistoryStore(options.database);
  QuestionHistory history = store == nullptr ? QuestionHistory() : openHistory(*store, options, streams.err);
  const TypingHelp help{.history = history, .words = listWords(database)};
  const std::unique_ptr<LineEditor> editor = makeLineEditor(help, streams.in, streams.err);
  Questions questions(*editor, history);
  Interrupts interrupts([&] { editor->interrupt(); });
  Switchboard board = makeSwitchboard(options, beginning.setup, streams);
  board.saveIn(options.saveFile);
  const TurnRunner runTurn = [&](const std::function<void()>& turn) {
    return runInterruptibly(interrupts, board, streams.err, turn);
  };
  const CODefer end([&] { endWell(board, runTurn); });
  std::string error;
  if (runTurn([&] { error = board.open(beginning.saved); })) {
    streams.err << "\nCancelled.\n";
    return ExitCode::ServiceFailed;
  }
  if (!error.empty()) return fail(board, error, streams.err);
  greet(options, database, board.model(), streams.err);
  converse(board, questions, streams, runTurn);
  return board.failedToSave() ? ExitCode::OutputFailed : ExitCode::Fine;
}

ExitCode showPrompt(const Options& options, const Setup& setup, Streams streams) {
  // All services are told the same, and with the first of them nothing is sent; another may keep what it is told.
  ChatPartner partner({.provider = &kProviders.front(),
                       .host = "",
                       .apiKey = "",
                       .secrets = gatherSecrets(options.service),
                       .settings = {}});
  const std::string error = partner.configure(setup);
  if (!error.empty()) {
    complain(streams.err, error);
    return ExitCode::Internal;
  }
  printText(streams.out, partner.combinedInstructions());
  return ExitCode::Fine;
}

}  // namespace

ExitCode runProgram(const Options& options, Streams streams) {
  streams.showsPieces = !options.isWhole && isOutputTerminal();
  streams.tellsSeconds = isErrorScreen();
  if (options.listModels) return listModels(options, streams);
  const std::unique_ptr<DatabaseReader> reader = openSqliteDatabase(options.database);
  const DatabaseDescription database = reader->readDescription();
  for (const std::string& note : database.notes) complain(streams.err, note);
  const Setup setup = makeSetup(options, *reader, database);
  if (options.showPrompt) return showPrompt(options, setup, streams);
  const std::string saved = readRestored(options, streams);
  const Beginning beginning{setup, saved};
  const bool conversation = !options.question && isInputTerminal();
  return conversation ? converseOnTerminal(options, database, beginning, streams)
                      : answerWithoutTerminal(options, beginning, streams);
}
