#include "conversation/sql_commands.h"

#include "conversation/workbench.h"
#include "results/chart.h"
#include "results/export.h"
#include "sql/marking.h"
#include "terminal/external_editor.h"
#include "terminal/rendering.h"

#include <charconv>
#include <optional>
#include <ostream>

namespace {

/// A number from 1 on.
std::optional<std::size_t> readNumber(const std::string& word) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size() || number == 0) return std::nullopt;
  return number;
}

/// Where statements run; null where there is no such place, which is told.
Workbench* findWorkbench(Talk& talk) {
  if (talk.background.workbench == nullptr) talk.streams.err << "There is no database to run statements on.\n";
  return talk.background.workbench;
}

/// The number of the statement that `call` names, or of the only one there is; nothing where there is none, which is
/// told.
std::optional<std::size_t> chooseNumber(Talk& talk, const CommandCall& call) {
  const std::size_t count = talk.background.workbench->size();
  std::ostream& err = talk.streams.err;
  if (count == 0) {
    err << "The last answer holds no statement.\n";
    return std::nullopt;
  }
  if (call.words.empty() && count == 1) return 1;
  const std::optional<std::size_t> number = call.words.empty() ? std::nullopt : readNumber(call.words.front());
  if (number && *number <= count) return number;
  err << "The last answer holds " << count << (count == 1 ? " statement" : " statements")
      << "; name one by its number.\n";
  return std::nullopt;
}

/// The statement that `call` names; null where there is none, which is told.
const std::string* chooseStatement(Talk& talk, const CommandCall& call) {
  if (findWorkbench(talk) == nullptr) return nullptr;
  const std::optional<std::size_t> number = chooseNumber(talk, call);
  return number ? &talk.background.workbench->statement(*number) : nullptr;
}

/// Runs what was named. In a pipe, the program's end tells that it failed.
void runNamed(Talk& talk, const std::string& sql) {
  if (!talk.background.workbench->run(sql) && talk.isPiped) talk.note(ExitCode::StatementFailed);
}

/// What ran last gave; null where nothing did, which is told.
const Result* findResult(Talk& talk) {
  if (findWorkbench(talk) == nullptr) return nullptr;
  const Result* const result = talk.background.workbench->result();
  if (result == nullptr) talk.streams.err << "No statement has run yet.\n";
  return result;
}

}  // namespace

bool runStatement(Talk& talk, const CommandCall& call) {
  if (const std::string* const statement = chooseStatement(talk, call)) runNamed(talk, *statement);
  return true;
}

bool runTypedStatement(Talk& talk, const CommandCall& call) {
  if (findWorkbench(talk) != nullptr) runNamed(talk, call.rest);
  return true;
}

bool changeStatement(Talk& talk, const CommandCall& call) {
  const std::string* const statement = chooseStatement(talk, call);
  if (statement == nullptr) return true;
  const EditedText edited = editText(*statement);
  if (!edited.text) {
    complain(talk.streams.err, edited.complaint);
    return true;
  }
  talk.streams.err << terminalSafe(markHidden(*edited.text).text) << '\n';
  runNamed(talk, *edited.text);
  return true;
}

bool explainStatement(Talk& talk, const CommandCall& call) {
  if (const std::string* const statement = chooseStatement(talk, call)) talk.background.workbench->explain(*statement);
  return true;
}

bool setShownRows(Talk& talk, const CommandCall& call) {
  if (findWorkbench(talk) == nullptr) return true;
  const std::optional<std::size_t> rows = readNumber(call.words.front());
  if (!rows) {
    talk.streams.err << "The number of rows to show is from 1 on.\n";
    return true;
  }
  talk.background.workbench->setRows(*rows);
  if (talk.background.workbench->result() != nullptr) talk.background.workbench->showResult();
  return true;
}

bool exportRows(Talk& talk, const CommandCall& call) {
  const Result* const result = findResult(talk);
  if (result == nullptr) return true;
  const std::string reason = exportResult(*result, call.rest);
  if (!reason.empty()) {
    complain(talk.streams.err, call.rest + " is not written: " + reason);
    return true;
  }
  const std::size_t rows = result->rows.size();
  talk.streams.err << terminalSafeLine(call.rest) << " has " << (result->isCut ? "the first " : "") << rows
                   << (rows == 1 ? " row" : " rows") << ".\n";
  return true;
}

bool drawLastChart(Talk& talk, const CommandCall& /*call*/) {
  const Result* const result = findResult(talk);
  if (result == nullptr) return true;
  const Chart chart = drawChart(*result, talk.background.workbench->layout());
  if (chart.isDrawn) {
    printText(talk.streams.out, chart.text);
  } else {
    complain(talk.streams.err, chart.text);
  }
  return true;
}

bool shareRows(Talk& talk, const CommandCall& call) {
  const Result* const result = findResult(talk);
  const std::optional<std::size_t> most = readNumber(call.words.front());
  if (result == nullptr) return true;
  if (!most) {
    talk.streams.err << "The number of rows to share is from 1 on.\n";
    return true;
  }
  Result shared = *result;
  if (shared.rows.size() > *most) shared.rows.resize(*most);
  const std::string question = "Rows of the last result, as CSV:\n" + writeCsv(shared);
  talk.streams.err << terminalSafe(markHidden(question).text);
  const std::string count = std::to_string(shared.rows.size()) + (shared.rows.size() == 1 ? " row" : " rows");
  const Agree& agree = talk.background.workbench->agree();
  if (!agree) {
    talk.streams.err << "Nobody is here to agree, so nothing is sent.\n";
    return true;
  }
  if (!agree("Send this, " + count + " of your database, to " + std::string(talk.answerer.provider().title) + "?"))
    return true;
  talk.nextQuestion = Inquiry{.text = question, .matter = Matter::Row, .count = shared.rows.size()};
  return true;
}
