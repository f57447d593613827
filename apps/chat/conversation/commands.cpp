#include "conversation/commands.h"

#include "conversation/near_name.h"
#include "conversation/sending_commands.h"
#include "conversation/service_commands.h"
#include "conversation/sql_commands.h"
#include "conversation/table_commands.h"
#include "standard_streams.h"
#include "terminal/external_editor.h"
#include "terminal/rendering.h"

#include <cf/text.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <ostream>
#include <sstream>
#include <utility>

namespace {

bool tellCost(Talk& talk, const CommandCall& /*call*/) {
  talk.streams.err << talk.tokens.describe() << '\n';
  return true;
}

bool editQuestion(Talk& talk, const CommandCall& call) {
  EditedText edited = editText(call.rest.empty() ? talk.lastQuestion : call.rest);
  if (edited.text) {
    talk.nextQuestion = Inquiry{.text = *std::move(edited.text)};
  } else {
    complain(talk.streams.err, edited.complaint);
  }
  return true;
}

bool printHelp(Talk& talk, const CommandCall& /*call*/) {
  constexpr std::size_t kCallWidth = 24;
  std::ostream& err = talk.streams.err;
  for (const CommandRow& command : listCommands()) {
    std::string call = std::string(command.name) + " " + std::string(command.arguments);
    call.resize(std::max(call.size(), kCallWidth), ' ');
    err << "  " << call << command.meaning << '\n';
  }
  err << "Anything else is a question. Ctrl-C stops an answer, " << obtainEndOfInputKeys() << " the conversation.\n";
  return true;
}

bool end(Talk& /*talk*/, const CommandCall& /*call*/) { return false; }

constexpr std::array kCommands{
    CommandRow{"/change", "[N]", "write a statement of the last answer anew in your editor, and run it", 0, 1,
               changeStatement},
    CommandRow{"/chart", "", "draw the last rows", 0, 0, drawLastChart, true},
    CommandRow{"/context", "", "what goes along with the next question", 0, 0, tellContext, true},
    CommandRow{"/cost", "", "the tokens of this conversation, as far as the service tells", 0, 0, tellCost, true},
    CommandRow{"/edit", "[TEXT]", "write a question in your editor, from the last one on or from TEXT", 0,
               CommandRow::kAnyNumber, editQuestion},
    CommandRow{"/explain", "[N]", "show how the database would run a statement of the last answer", 0, 1,
               explainStatement, true},
    CommandRow{"/export", "FILE", "write the last rows as .csv, .json or .sql", 1, CommandRow::kAnyNumber, exportRows},
    CommandRow{"/help", "", "this list", 0, 0, printHelp, true},
    CommandRow{"/model", "", "list the service's models", 0, 0, listModels},
    CommandRow{"/model", "NAME", "go on with this conversation with another model", 1, 1, changeModel},
    CommandRow{"/new", "", "forget the conversation so far and begin anew", 0, 0, beginAnew, true},
    CommandRow{"/provider", "", "list the services", 0, 0, listProviders},
    CommandRow{"/provider", "NAME [MODEL]", "go on with this conversation at another service", 1, 2, moveToProvider},
    CommandRow{"/quit", "", "end", 0, 0, end, true},
    CommandRow{"/rows", "N", "show so many rows of a result", 1, 1, setShownRows, true},
    CommandRow{"/run", "[N]", "run a statement of the last answer", 0, 1, runStatement, true},
    CommandRow{"/sent", "", "what was sent, and to whom", 0, 0, tellSent, true},
    CommandRow{"/share", "N", "send the first N of the last rows to the service, once you have seen them", 1, 1,
               shareRows},
    CommandRow{"/sql", "STATEMENT", "run a statement of yours", 1, CommandRow::kAnyNumber, runTypedStatement, true},
    CommandRow{"/tables", "", "list the tables and views", 0, 0, listTables, true},
    CommandRow{"/tables", "NAME", "list the columns of one", 1, CommandRow::kAnyNumber, describeTable, true},
};

std::vector<std::string> splitWords(const std::string& line) {
  std::istringstream words(line);
  words.exceptions(std::ios::badbit);  // for want of memory it would give fewer
  return {std::istream_iterator<std::string>(words), {}};
}

void tellUnknown(Talk& talk, const std::string& name, const std::string& line) {
  std::vector<std::string_view> names;
  names.reserve(kCommands.size());
  for (const CommandRow& command : kCommands) names.push_back(command.name);
  if (std::find(names.begin(), names.end(), name) != names.end()) names.clear();  // it has other arguments
  talk.streams.err << "There is no command " << terminalSafeLine(line + askWhichIsMeant(name, names))
                   << "/help lists them.\n";
  talk.note(ExitCode::WrongUsage);
}

}  // namespace

std::span<const CommandRow> listCommands() { return kCommands; }

bool obey(Talk& talk, const std::string& line) {
  CommandCall call{.words = splitWords(line), .rest = {}};
  const std::string name = std::move(call.words.front());
  call.words.erase(call.words.begin());
  call.rest = cfTrimAsString(line.substr(line.find(name) + name.size()));
  const auto* const command = std::find_if(kCommands.begin(), kCommands.end(), [&](const CommandRow& any) {
    return any.name == name && any.fewest <= call.words.size() && call.words.size() <= any.most;
  });
  if (command == kCommands.end()) {
    tellUnknown(talk, name, line);
  } else if (talk.isPiped && !command->isForPipes) {
    complain(talk.streams.err, name + " is for a conversation at a terminal");
    talk.note(ExitCode::WrongUsage);
  } else {
    return command->obey(talk, call);
  }
  return true;
}
