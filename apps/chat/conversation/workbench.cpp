#include "conversation/workbench.h"

#include "conversation/doubts.h"
#include "results/export.h"
#include "results/table.h"
#include "sql/answer_statements.h"
#include "sql/marking.h"
#include "sql/statements.h"
#include "terminal/rendering.h"

#include <cstdint>
#include <exception>
#include <ostream>
#include <utility>

namespace {

/// How the statement of this number is called among so many.
std::string nameStatement(std::size_t number, std::size_t count) {
  return count == 1 ? "The statement" : "Statement " + std::to_string(number);
}

std::string countRows(std::int64_t rows) { return std::to_string(rows) + (rows == 1 ? " row" : " rows"); }

}  // namespace

Workbench::Workbench(Database& database, DatabaseDescription description, WorkbenchOptions options,
                     WorkbenchSetting setting)
    : database_(database), description_(std::move(description)), options_(options), setting_(std::move(setting)) {}

std::optional<StatementFailure> Workbench::take(std::string_view answer) {
  statements_ = findStatements(answer);
  return handleEach(statements_, false);
}

bool Workbench::run(const std::string& sql) {
  static_cast<void>(handleEach(splitStatements(sql), true));
  return !hasRefused_;
}

void Workbench::explain(const std::string& sql) try {
  Result steps;
  interruptibly([&] { steps = database_.explain(sql); });
  std::string text;
  for (const std::vector<Value>& row : steps.rows) text += markHidden(std::get<std::string>(row.front())).text + '\n';
  printText(options_.format == RowFormat::Table ? setting_.streams.out : setting_.streams.err, text);
} catch (const QueryError& error) {
  complain(setting_.streams.err, std::string("The statement can't be explained: ") + error.what());
}

/// One after the other, up to the first that fails to more than the user, or that Ctrl-C ends.
std::optional<StatementFailure> Workbench::handleEach(const std::vector<std::string>& statements, bool isNamed) {
  std::optional<StatementFailure> failure;
  isStopped_ = false;
  hasRefused_ = false;
  isToRun_ = isNamed || options_.mode != RunMode::Never;
  count_ = statements.size();
  interruptibly([&] {
    for (number_ = 1; number_ <= count_ && !failure && !isStopped_; ++number_)
      failure = handle(nameStatement(number_, count_), statements[number_ - 1], isNamed);
  });
  return failure;
}

std::optional<StatementFailure> Workbench::handle(const std::string& name, const std::string& sql, bool isNamed) try {
  const StatementCheck check = database_.check(sql);
  if (check.effect == Effect::Refused || (check.effect == Effect::Writes && !options_.writes)) {
    refuse(name + " is not run: " + check.reason);
  } else if (check.effect == Effect::Writes) {
    runWriting(name, sql);
  } else if (isNamed || mayRun(name, sql)) {
    runReading(name, sql, check);
  }
  return std::nullopt;
} catch (const QueryError& error) {
  if (error.problem == QueryProblem::Interrupted) {
    setting_.streams.err << "\nStopped.\n";
    isStopped_ = true;
    return std::nullopt;
  }
  const std::string known = describeWithoutValues(error, description_, sql);
  const bool isKnown = error.problem != QueryProblem::Other;
  StatementFailure failure{.forModel = name + " can't be run: " + known,
                           .forUser = name + " can't be run: " + error.what(),
                           .engineText = isKnown ? "" : error.engineText};
  if (!isNamed && isToRun_) return failure;
  refuse(failure.forUser);
  return std::nullopt;
}

/// Whether a statement that reads may run without being named.
bool Workbench::mayRun(const std::string& name, const std::string& sql) {
  std::ostream& err = setting_.streams.err;
  const MarkedText shown = markHidden(sql);
  if (shown.hasMarks)
    err << "qai-chat: " << terminalSafeLine(name) << " has characters that hide or reorder others. It reads:\n"
        << terminalSafe(shown.text) << '\n';
  if (options_.mode == RunMode::Auto) return true;
  if (options_.mode == RunMode::Ask && setting_.agree) return setting_.agree("Run it? " + name + " only reads.");
  if (options_.mode == RunMode::Ask) {
    err << name << " was not run; nobody is here to agree.\n";
  } else {
    const std::string call = count_ == 1 ? "/run" : "/run " + std::to_string(number_);
    err << name << (options_.hasCommands ? " was not run; " + call + " does it.\n" : " was checked, not run.\n");
  }
  return false;
}

void Workbench::refuse(const std::string& sentence) {
  complain(setting_.streams.err, sentence);
  hasRefused_ = hasRefused_ || isToRun_;
}

void Workbench::runReading(const std::string& name, const std::string& sql, const StatementCheck& check) {
  result_ = database_.run(sql, {});
  if (count_ > 1 && options_.format == RowFormat::Table) setting_.streams.out << name << ":\n";
  showResult();
  if (options_.findsDoubts) showDoubts(sql, check);
}

void Workbench::runWriting(const std::string& name, const std::string& sql) {
  std::ostream& err = setting_.streams.err;
  if (!setting_.agree) {
    refuse(name + " would write, and nobody is here to agree; it is not run");
    return;
  }
  if (!setting_.agree(markHidden(sql).text + "\n" + name + " writes. Run it, and see how many rows it changes?"))
    return;
  Written written = database_.runWriting(sql, {}, [&](std::int64_t changed) {
    return setting_.agree("It changes " + countRows(changed) + ". Keep that?");
  });
  result_ = std::move(written.result);
  if (!result_->columns.empty()) showResult();
  err << (written.isKept ? "Kept: " : "Taken back: ") << countRows(written.changedRows) << ".\n";
}

void Workbench::showResult() {
  switch (options_.format) {
    case RowFormat::Table:
      printText(setting_.streams.out, formatTable(*result_, layout()));
      return;
    case RowFormat::CSV:
      write((hasWritten_ ? "\r\n" : "") + writeCsv(*result_));
      hasWritten_ = true;
      return;
    case RowFormat::JSON:
      write(writeJson(*result_));
      return;
  }
}

/// For programs as it is, at a terminal made safe.
void Workbench::write(std::string_view text) const {
  if (setting_.width) {
    printText(setting_.streams.out, text);
  } else {
    printBytes(setting_.streams.out, text);
  }
}

ResultLayout Workbench::layout() const {
  return {.width = setting_.width ? setting_.width() : 0, .rows = options_.rows};
}

void Workbench::showDoubts(const std::string& sql, const StatementCheck& check) try {
  for (const std::string& doubt : findDoubts(database_, sql, check, *result_)) complain(setting_.streams.err, doubt);
} catch (const QueryError& error) {
  if (error.problem == QueryProblem::Interrupted) throw;
  // A doubt that can't be settled is none.
}

/// Does `work`, which Ctrl-C has end; one between two operations on the database ends the next.
/// @throw what `work` throws, when the way through Ctrl-C's taking has ended
void Workbench::interruptibly(const std::function<void()>& work) {
  std::exception_ptr failed;
  const bool calledOff = setting_.runQuery([&] {
    try {
      work();
    } catch (...) {
      failed = std::current_exception();
    }
  });
  if (calledOff) database_.dropLateInterrupt();
  if (failed) std::rethrow_exception(failed);
}
