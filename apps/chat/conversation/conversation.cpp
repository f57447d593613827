#include "conversation/conversation.h"

#include "conversation/commands.h"
#include "conversation/talk.h"
#include "terminal/plain_line_editor.h"
#include "terminal/rendering.h"

#include <cf/text.h>

#include <istream>
#include <optional>
#include <ostream>
#include <string_view>
#include <utility>

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";  // which Windows' programs put before UTF-8

void tellStop(const ProviderProfile& provider, std::ostream& err) {
  err << "\nStopped. No answer is kept";
  if (provider.keepsConversations) {
    err << "; " << provider.title << " may keep the question.\n";
  } else {
    err << ", and it is as if you had not asked.\n";
  }
}

void takeTurn(Talk& talk, const std::string& question) {
  talk.lastQuestion = question;
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

void converse(MovableAnswerer& answerer, Questions& questions, Streams streams, const TurnRunner& runTurn) {
  Talk talk{.answerer = answerer, .streams = streams, .runTurn = runTurn};
  while (const std::optional<std::string> text = questions.read()) {
    if (!text->starts_with('/')) {
      takeTurn(talk, *text);
    } else if (!obey(talk, *text)) {
      return;
    }
    if (!talk.nextQuestion) continue;
    const std::string question = *std::exchange(talk.nextQuestion, std::nullopt);
    questions.remember(question);
    streams.err << terminalSafe(question) << '\n';
    takeTurn(talk, question);
  }
  streams.err << '\n';  // leaves the line of the last prompt
}

void converse(MovableAnswerer& answerer, Streams streams, const TurnRunner& runTurn) {
  PlainLineEditor editor(streams.in, streams.err);
  QuestionHistory history;
  Questions questions(editor, history);
  converse(answerer, questions, streams, runTurn);
}
