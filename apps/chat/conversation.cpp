#include "conversation.h"

#include "rendering.h"
#include "standard_streams.h"

#include <cf/text.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <ostream>
#include <sstream>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";  // which Windows' programs put before UTF-8

enum class Command { Help, New, Provider, Quit };

struct CommandEntry {
  std::string_view name;
  Command command;
  std::string_view arguments;  // for people; empty when it takes none
  std::string_view meaning;
};

constexpr std::array kCommands{
    CommandEntry{"/help", Command::Help, "", "this list"},
    CommandEntry{"/new", Command::New, "", "forget the conversation so far and begin anew"},
    CommandEntry{"/provider", Command::Provider, "", "list the services"},
    CommandEntry{"/provider", Command::Provider, "NAME [MODEL]", "go on with this conversation at another service"},
    CommandEntry{"/quit", Command::Quit, "", "end"},
};

std::vector<std::string> splitWords(const std::string& line) {
  std::istringstream words(line);
  words.exceptions(std::ios::badbit);  // for want of memory it would give fewer
  return {std::istream_iterator<std::string>(words), {}};
}

/// The command that `words` are; null when there is none that takes so many.
const CommandEntry* findCommand(const std::vector<std::string>& words) {
  constexpr std::size_t kMostArguments = 2;
  for (const CommandEntry& entry : kCommands) {
    const std::size_t given = words.size() - 1;
    const bool fits = entry.arguments.empty() ? given == 0 : given > 0 && given <= kMostArguments;
    if (entry.name == words.front() && fits) return &entry;
  }
  return nullptr;
}

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size(), width), ' ');
  return text;
}

void printHelp(std::ostream& err) {
  constexpr std::size_t kCallWidth = 24;
  for (const CommandEntry& entry : kCommands) {
    const std::string call = std::string(entry.name) + " " + std::string(entry.arguments);
    err << "  " << padded(call, kCallWidth) << entry.meaning << '\n';
  }
  err << "Anything else is a question. Ctrl-C ends the wait for an answer, " << obtainEndOfInputKeys()
      << " the conversation.\n";
}

void printProviders(const MovableAnswerer& answerer, std::ostream& err) {
  for (const Provider& provider : kProviders) {
    const bool current = &provider == &answerer.provider();
    err << (current ? "* " : "  ") << padded(provider.name, obtainNameWidth()) << provider.title
        << (current ? ", model " + terminalSafeLine(answerer.model()) : "") << '\n';
  }
}

void tellFailure(const std::string& error, bool calledOff, std::ostream& err) {
  if (calledOff) {
    err << "\nCancelled.\n";
  } else {
    complain(err, error);
  }
}

void move(MovableAnswerer& answerer, const std::vector<std::string>& words, std::ostream& err,
          const TurnRunner& runTurn) {
  const Provider* provider = findProvider(words[1]);
  if (provider == nullptr) {
    complain(err, "'" + words[1] + "' is not one of: " + listProviders());
    return;
  }
  const Provider& earlier = answerer.provider();
  std::string error;
  const bool calledOff = runTurn([&] { error = answerer.moveTo(*provider, words.size() > 2 ? words[2] : ""); });
  if (!error.empty()) {
    tellFailure(error, calledOff, err);
    err << "The conversation stays with " << earlier.title << ".\n";
    return;
  }
  err << provider->title << " answers from here on. Model: " << terminalSafeLine(answerer.model()) << ".\n";
  if (carriesTurns(earlier, *provider)) return;
  const Provider& keeper = earlier.keepsConversations ? earlier : *provider;
  err << keeper.title << " keeps conversations itself, so this one starts anew.\n";
}

void beginAnew(Answerer& answerer, std::ostream& err, const TurnRunner& runTurn) {
  std::string error;
  const bool calledOff = runTurn([&] { error = answerer.startConversation(); });
  if (error.empty()) {
    err << "The conversation begins anew.\n";
    return;
  }
  tellFailure(error, calledOff, err);
  err << "The conversation goes on.\n";
}

/// @return false when the conversation ends.
bool obey(const std::string& line, MovableAnswerer& answerer, std::ostream& err, const TurnRunner& runTurn) {
  const std::vector<std::string> words = splitWords(line);
  const CommandEntry* entry = findCommand(words);
  if (entry == nullptr) {
    err << "There is no command " << terminalSafeLine(line) << "; /help lists them.\n";
    return true;
  }
  switch (entry->command) {
    case Command::Help:
      printHelp(err);
      return true;
    case Command::New:
      beginAnew(answerer, err, runTurn);
      return true;
    case Command::Provider:
      if (words.size() > 1) {
        move(answerer, words, err, runTurn);
      } else {
        printProviders(answerer, err);
      }
      return true;
    case Command::Quit:
      return false;
  }
  return true;
}

void takeTurn(Answerer& answerer, const std::string& question, Streams streams, const TurnRunner& runTurn) {
  Answer answer;
  const bool calledOff = runTurn([&] { answer = answerer.ask(question); });
  if (answer.error.empty()) {
    printText(streams.out, answer.text);
  } else {
    tellFailure(answer.error, calledOff, streams.err);
  }
  streams.err << '\n';
}

}  // namespace

ExitCode answerOnce(Answerer& answerer, const std::string& question, Streams streams, const TurnRunner& runTurn) {
  Answer answer;
  runTurn([&] { answer = answerer.ask(question); });
  if (answer.error.empty()) {
    printText(streams.out, answer.text);
    return ExitCode::Fine;
  }
  complain(streams.err, answer.error);
  return answerer.failureCode();
}

ExitCode answerLines(Answerer& answerer, Streams streams, const TurnRunner& runTurn) {
  ExitCode result = ExitCode::Fine;
  std::string line;
  for (bool first = true; std::getline(streams.in, line); first = false) {
    if (first && line.starts_with(kByteOrderMark)) line.erase(0, kByteOrderMark.size());
    const std::string question = cfTrimAsString(line);
    if (question.empty()) continue;
    const ExitCode code = answerOnce(answerer, question, streams, runTurn);
    if (result == ExitCode::Fine) result = code;
  }
  return result;
}

void converse(MovableAnswerer& answerer, Streams streams, const TurnRunner& runTurn) {
  std::string line;
  while (streams.err << kPrompt << std::flush, std::getline(streams.in, line)) {
    const std::string text = cfTrimAsString(line);
    if (text.empty()) continue;
    if (!text.starts_with('/')) {
      takeTurn(answerer, text, streams, runTurn);
    } else if (!obey(text, answerer, streams.err, runTurn)) {
      return;
    }
  }
  streams.err << '\n';  // leaves the line of the last prompt
}
