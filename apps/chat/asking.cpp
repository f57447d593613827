// The ways to run the program in which questions are asked.
#include "conversation/commands.h"
#include "conversation/consent.h"
#include "conversation/conversation.h"
#include "conversation/workbench.h"
#include "job.h"
#include "services/switchboard.h"
#include "standard_streams.h"
#include "terminal/history_store.h"
#include "terminal/interrupt.h"
#include "terminal/line_editor.h"
#include "terminal/questions.h"
#include "terminal/rendering.h"

#include <cf/defer.h>

#include <atomic>
#include <exception>
#include <memory>
#include <ostream>

namespace {

void greet(const Job& job, const std::string& model) {
  job.streams.err << terminalSafeLine(job.options.database + ": " + countTables(job.background.tables) +
                                      ". Model: " + model + ".")
                  << "\n/help lists the commands, " << obtainEndOfInputKeys() << " ends.\n\n";
}

/// Names the model that the user left open, to people alone: scripts have their standard error for failures.
void nameChoice(const Job& job, const std::string& model) {
  if (job.options.model.empty() && isErrorTerminal()) job.streams.err << "Model: " << terminalSafeLine(model) << ".\n";
}

/// Where answers and all that is said about them go: rows for programs have the output for themselves.
Streams makeTalkStreams(const Job& job) {
  const Streams& all = job.streams;
  if (job.options.rowFormat == RowFormat::Table) return all;
  return {all.in, all.err, all.err, all.showsPieces, all.tellsSeconds};
}

Workbench makeWorkbench(const Job& job, TurnRunner runQuery, Agree agree = {}) {
  const Options& options = job.options;
  WorkbenchSetting setting{.streams = job.streams, .runQuery = std::move(runQuery), .agree = std::move(agree)};
  if (isOutputTerminal()) setting.width = obtainOutputWidth;
  return {*job.opened,
          job.description,
          {.mode = options.runMode,
           .writes = options.writes,
           .format = options.rowFormat,
           .hasCommands = !options.question},
          std::move(setting)};
}

/// The job's background, with what `board` knows and where statements run; borrows all three.
Background makeBackground(const Job& job, const Switchboard& board, Workbench& workbench) {
  Background background = job.background;
  background.workbench = &workbench;
  background.tellSent = [&board] { return board.ledger().describe(); };
  background.tellContext = [&job, &board] {
    return describeContext(board.describeNext(countTables(job.background.tables)));
  };
  return background;
}

ExitCode fail(Answerer& answerer, const std::string& error, std::ostream& err) {
  complain(err, error);
  return answerer.failureCode();
}

Switchboard makeSwitchboard(const Job& job) {
  const auto choose = [&options = job.options](const Provider& provider) {
    return chooseEndpoint(options.service, provider);
  };
  return {*job.options.service.provider, choose, job.setup, job.streams.err};
}

/// Ctrl-C called a turn off.
struct Interrupted {};

/// @throw Interrupted, after the conversation has ended
ExitCode answerUntilInterrupted(const Job& job, Interrupts& interrupts) {
  Switchboard board = makeSwitchboard(job);
  board.saveIn(job.options.saveFile, job.database);
  const TurnRunner runTurn = [&](const std::function<void()>& turn) {
    const auto cancel = [&board] {
      if (!board.cancel()) endByInterrupt();
    };
    if (interrupts.run(turn, cancel)) throw Interrupted();
    return false;
  };
  std::string error;
  runTurn([&] { error = board.open(job.saved); });
  if (!error.empty()) return fail(board, error, job.streams.err);
  nameChoice(job, board.model());
  const TurnRunner runQuery = [&](const std::function<void()>& work) {
    if (interrupts.run(work, [&job] { job.opened->interrupt(); })) throw Interrupted();
    return false;
  };
  Workbench workbench = makeWorkbench(job, runQuery);
  const Streams streams = makeTalkStreams(job);
  const ExitCode code = job.question.empty()
                            ? answerLines(board, streams, runTurn, makeBackground(job, board, workbench))
                            : answerOnce(board, job.question, streams, runTurn, &workbench);
  return code == ExitCode::Fine && board.failedToSave() ? ExitCode::OutputFailed : code;
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

/// What Tab completes: commands, services, tables, views and columns.
Words listWords(const Job& job) {
  Words words;
  for (const CommandRow& command : listCommands()) words.commands.emplace_back(command.name);
  for (const Provider& provider : kProviders) words.arguments["/provider"].emplace_back(provider.name);
  for (const TableOutline& table : job.background.tables) {
    words.names.push_back(table.name);
    for (const ColumnOutline& column : table.columns) words.names.push_back(column.name);
  }
  return words;
}

QuestionHistory openHistory(HistoryStore* store, const Job& job) {
  if (store == nullptr) return {};
  return {*store, chooseEndpoint(job.options.service, *job.options.service.provider).secrets,
          [&err = job.streams.err](const std::string& sentence) { complain(err, sentence); }};
}

/// Ends the conversation, which Ctrl-C may cut short, on the way out, whatever leads there.
void endWell(Switchboard& board, const TurnRunner& runTurn) noexcept {
  try {
    runTurn([&] { board.close(); });
  } catch (const std::exception&) {
    // Without memory what the service keeps is left to it.
  }
}

}  // namespace

ExitCode answerWithoutTerminal(const Job& job) {
  Interrupts interrupts(endByInterrupt);
  try {
    return answerUntilInterrupted(job, interrupts);
  } catch (const Interrupted&) {
    endByInterrupt();
  }
  return ExitCode::Internal;  // is not reached
}

ExitCode converseOnTerminal(const Job& job) {
  const Streams& streams = job.streams;
  const std::unique_ptr<HistoryStore> store = makeHistoryStore(job.options.database);
  QuestionHistory history = openHistory(store.get(), job);
  const TypingHelp help{.history = history, .words = listWords(job)};
  const std::unique_ptr<LineEditor> editor = makeLineEditor(help, streams.in, streams.err);
  Questions questions(*editor, history);
  Interrupts interrupts([&] { editor->interrupt(); });
  Switchboard board = makeSwitchboard(job);
  board.saveIn(job.options.saveFile, job.database);
  const TurnRunner runTurn = [&](const std::function<void()>& turn) {
    return runInterruptibly(interrupts, board, streams.err, turn);
  };
  const CODefer end([&] { endWell(board, runTurn); });
  std::string error;
  if (runTurn([&] { error = board.open(job.saved); })) {
    streams.err << "\nCancelled.\n";
    return ExitCode::ServiceFailed;
  }
  if (!error.empty()) return fail(board, error, streams.err);
  greet(job, board.model());
  std::atomic<bool> asks = false;  // whether the changes of what ran are kept
  const Agree agree = [&](const std::string& question) {
    asks = true;
    const CODefer answered([&asks] { asks = false; });
    return askToAgree(question, *editor, streams.err);
  };
  const TurnRunner runQuery = [&](const std::function<void()>& work) {
    return interrupts.run(work, [&] {
      job.opened->interrupt();
      if (asks) editor->interrupt();
    });
  };
  Workbench workbench = makeWorkbench(job, runQuery, agree);
  converse(board, questions, makeTalkStreams(job), runTurn, makeBackground(job, board, workbench));
  return board.failedToSave() ? ExitCode::OutputFailed : ExitCode::Fine;
}
