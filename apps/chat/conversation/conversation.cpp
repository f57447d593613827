#include "conversation/conversation.h"

#include "conversation/answer_end.h"
#include "conversation/token_count.h"
#include "standard_streams.h"
#include "terminal/rendering.h"

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

enum class Command { Cost, Help, New, Provider, Quit };

struct CommandEntry {
  std::string_view name;
  Command command;
  std::string_view arguments;  // for people; empty when it takes none
  std::string_view meaning;
};

constexpr std::array kCommands{
    CommandEntry{"/cost", Command::Cost, "", "the tokens of this conversation, as far as the service tells"},
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
  err << "Anything else is a question. Ctrl-C stops an answer, " << obtainEndOfInputKeys() << " the conversation.\n";
}

constexpr std::size_t kNameWidth = 19;  // of a column with the services' names

std::string listNames(std::span<const ProviderProfile> providers) {
  std::string names;
  for (const ProviderProfile& provider : providers) names.append(names.empty() ? "" : ", ").append(provider.name);
  return names;
}

void printProviders(const MovableAnswerer& answerer, std::ostream& err) {
  for (const ProviderProfile& provider : answerer.providers()) {
    const bool current = provider.name == answerer.provider().name;
    err << (current ? "* " : "  ") << padded(std::string(provider.name), kNameWidth) << provider.title
        << (current ? ", model " + terminalSafeLine(answerer.model()) : "") << '\n';
  }
}

/// A conversation with a person.
struct Talk {
  MovableAnswerer& answerer;
  const Streams& streams;
  const TurnRunner& runTurn;
  TokenCount tokens = {};
};

void tellFailure(const std::string& error, bool calledOff, std::ostream& err) {
  if (calledOff) {
    err << "\nCancelled.\n";
  } else {
    complain(err, error);
  }
}

void move(Talk& talk, const std::vector<std::string>& words) {
  std::ostream& err = talk.streams.err;
  const std::span<const ProviderProfile> providers = talk.answerer.providers();
  const auto provider = std::find_if(providers.begin(), providers.end(),
                                     [&words](const ProviderProfile& any) { return any.name == words[1]; });
  if (provider == providers.end()) {
    complain(err, "'" + words[1] + "' is not one of: " + listNames(providers));
    return;
  }
  const ProviderProfile earlier = talk.answerer.provider();
  std::string error;
  const bool calledOff =
      talk.runTurn([&] { error = talk.answerer.moveTo(*provider, words.size() > 2 ? words[2] : ""); });
  if (!error.empty()) {
    tellFailure(error, calledOff, err);
    err << "The conversation stays with " << earlier.title << ".\n";
    return;
  }
  err << provider->title << " answers from here on. Model: " << terminalSafeLine(talk.answerer.model()) << ".\n";
  if (carriesTurns(earlier, *provider)) return;
  talk.tokens = {};
  const ProviderProfile& keeper = earlier.keepsConversations ? earlier : *provider;
  err << keeper.title << " keeps conversations itself, so this one starts anew.\n";
}

void beginAnew(Talk& talk) {
  std::ostream& err = talk.streams.err;
  std::string error;
  const bool calledOff = talk.runTurn([&] { error = talk.answerer.startConversation(); });
  if (error.empty()) {
    talk.tokens = {};
    err << "The conversation begins anew.\n";
    return;
  }
  tellFailure(error, calledOff, err);
  err << "The conversation goes on.\n";
}

/// @return false when the conversation ends.
bool obey(Talk& talk, const std::string& line) {
  std::ostream& err = talk.streams.err;
  const std::vector<std::string> words = splitWords(line);
  const CommandEntry* entry = findCommand(words);
  if (entry == nullptr) {
    err << "There is no command " << terminalSafeLine(line) << "; /help lists them.\n";
    return true;
  }
  switch (entry->command) {
    case Command::Cost:
      err << talk.tokens.describe() << '\n';
      return true;
    case Command::Help:
      printHelp(err);
      return true;
    case Command::New:
      beginAnew(talk);
      return true;
    case Command::Provider:
      if (words.size() > 1) {
        move(talk, words);
      } else {
        printProviders(talk.answerer, err);
      }
      return true;
    case Command::Quit:
      return false;
  }
  return true;
}

struct Asked {
  Answer answer;
  bool calledOff = false;
};

/// Asks `question` and shows the answer, but not why there is none.
Asked askAndShow(Answerer& answerer, const std::string& question, const Streams& streams, const TurnRunner& runTurn) {
  Asked asked;
  TextWriter writer(streams.out);
  if (streams.showsPieces) {
    const auto show = [&writer](std::string_view piece) { writer.add(piece); };
    asked.calledOff = runTurn([&] { asked.answer = answerer.askInPieces(question, show); });
  } else {
    asked.calledOff = runTurn([&] { asked.answer = answerer.ask(question); });
  }
  if (!asked.answer.error.empty()) {
    if (!asked.calledOff) writer.breakOff();
    return asked;
  }
  writer.finish(streams.showsPieces ? "" : asked.answer.text);
  if (const std::string end = explainEnd(asked.answer); !end.empty()) complain(streams.err, end);
  return asked;
}

void tellStop(const ProviderProfile& provider, std::ostream& err) {
  err << "\nStopped. No answer is kept";
  if (provider.keepsConversations) {
    err << "; " << provider.title << " may keep the question.\n";
  } else {
    err << ", and it is as if you had not asked.\n";
  }
}

void takeTurn(Talk& talk, const std::string& question) {
  const auto [answer, calledOff] = askAndShow(talk.answerer, question, talk.streams, talk.runTurn);
  if (answer.error.empty()) {
    talk.tokens.add(answer.tokens);
  } else if (calledOff) {
    tellStop(talk.answerer.provider(), talk.streams.err);
  } else {
    complain(talk.streams.err, answer.error);
  }
  talk.streams.err << '\n';
}

}  // namespace

ExitCode answerOnce(Answerer& answerer, const std::string& question, Streams streams, const TurnRunner& runTurn) {
  const Answer answer = askAndShow(answerer, question, streams, runTurn).answer;
  if (answer.error.empty()) return ExitCode::Fine;
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
  Talk talk{.answerer = answerer, .streams = streams, .runTurn = runTurn};
  std::string line;
  while (streams.err << kPrompt << std::flush, std::getline(streams.in, line)) {
    const std::string text = cfTrimAsString(line);
    if (text.empty()) continue;
    if (!text.starts_with('/')) {
      takeTurn(talk, text);
    } else if (!obey(talk, text)) {
      return;
    }
  }
  streams.err << '\n';  // leaves the line of the last prompt
}
