#include "conversation.h"

#include "rendering.h"

#include <cf/text.h>

#include <array>
#include <istream>
#include <ostream>
#include <string_view>

namespace {

enum class Command { Help, New, Quit };

struct CommandEntry {
  std::string_view name;
  Command command;
  std::string_view meaning;
};

constexpr std::array kCommands{
    CommandEntry{"/help", Command::Help, "this list"},
    CommandEntry{"/new", Command::New, "forget the conversation so far and begin anew"},
    CommandEntry{"/quit", Command::Quit, "end (Ctrl-D does it too)"},
};

const CommandEntry* findCommand(std::string_view line) {
  for (const CommandEntry& entry : kCommands) {
    if (entry.name == line) return &entry;
  }
  return nullptr;
}

void printHelp(std::ostream& err) {
  constexpr std::size_t kNameWidth = 8;
  for (const CommandEntry& entry : kCommands) {
    err << "  " << entry.name << std::string(kNameWidth - entry.name.size(), ' ') << entry.meaning << '\n';
  }
  err << "Anything else is a question. Ctrl-C ends the wait for an answer.\n";
}

void beginAnew(Answerer& answerer, std::ostream& err) {
  const std::string error = answerer.startConversation();
  if (error.empty()) {
    err << "The conversation begins anew.\n";
  } else {
    complain(err, error);
  }
}

/// @return false when the conversation ends.
bool obey(const std::string& line, Answerer& answerer, std::ostream& err) {
  const CommandEntry* entry = findCommand(line);
  if (entry == nullptr) {
    err << "There is no command " << terminalSafeLine(line) << "; /help lists them.\n";
    return true;
  }
  switch (entry->command) {
    case Command::Help:
      printHelp(err);
      return true;
    case Command::New:
      beginAnew(answerer, err);
      return true;
    case Command::Quit:
      return false;
  }
  return true;
}

void takeTurn(Answerer& answerer, const std::string& question, Streams streams, const TurnRunner& runTurn) {
  Answer answer;
  const bool interrupted = runTurn([&] { answer = answerer.ask(question); });
  if (answer.error.empty()) {
    printText(streams.out, answer.text);
  } else if (interrupted) {
    streams.err << "\nCancelled.\n";
  } else {
    complain(streams.err, answer.error);
  }
  streams.err << '\n';
}

}  // namespace

ExitCode answerOnce(Answerer& answerer, const std::string& question, Streams streams) {
  const Answer answer = answerer.ask(question);
  if (answer.error.empty()) {
    printText(streams.out, answer.text);
    return ExitCode::Fine;
  }
  complain(streams.err, answer.error);
  return answerer.failureCode();
}

ExitCode answerLines(Answerer& answerer, Streams streams) {
  ExitCode result = ExitCode::Fine;
  std::string line;
  while (std::getline(streams.in, line)) {
    const std::string question = cfTrimAsString(line);
    if (question.empty()) continue;
    const ExitCode code = answerOnce(answerer, question, streams);
    if (result == ExitCode::Fine) result = code;
  }
  return result;
}

void converse(Answerer& answerer, Streams streams, const TurnRunner& runTurn) {
  std::string line;
  while (streams.err << kPrompt << std::flush, std::getline(streams.in, line)) {
    const std::string text = cfTrimAsString(line);
    if (text.empty()) continue;
    if (!text.starts_with('/')) {
      takeTurn(answerer, text, streams, runTurn);
    } else if (!obey(text, answerer, streams.err)) {
      return;
    }
  }
  streams.err << '\n';  // leaves the line of the last prompt
}
