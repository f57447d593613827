#include "conversation/conversation.h"

#include "conversation/commands.h"
#include "conversation/habits.h"
#include "conversation/mending.h"
#include "conversation/talk.h"
#include "databases/database.h"
#include "terminal/rendering.h"

#include <cf/text.h>

#include <functional>
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

/// Runs what an answer brings. @return whether none of it failed or was refused
bool work(Talk& talk, const Answer& answer) {
  talk.tokens.add(answer.tokens);
  if (talk.background.workbench == nullptr) return true;
  const auto note = [&talk](const Answer& again) { talk.tokens.add(again.tokens); };
  const Mender mender{.answerer = talk.answerer, .streams = talk.streams, .runTurn = talk.runTurn, .note = note};
  return runStatements(*talk.background.workbench, answer.text, mender);
}

void takeTurn(Talk& talk, const Inquiry& inquiry) {
  talk.lastQuestion = inquiry.text;
  const auto [answer, calledOff] = askAndShow(talk.answerer, inquiry, talk.streams, talk.runTurn);
  if (answer.error.empty()) {
    work(talk, answer);
  } else if (calledOff) {
    tellStop(talk.answerer.provider(), talk.streams.err);
  } else {
    complain(talk.streams.err, answer.error);
  }
  talk.streams.err << '\n';
}

void takePipedTurn(Talk& talk, const Inquiry& inquiry) {
  const Answer answer = askAndShow(talk.answerer, inquiry, talk.streams, talk.runTurn).answer;
  if (answer.error.empty()) {
    if (!work(talk, answer)) talk.note(ExitCode::StatementFailed);
  } else {
    complain(talk.streams.err, answer.error);
    talk.note(talk.answerer.failureCode());
  }
}

/// Does what `line`, which is not blank, tells, and asks nothing that is no question. @return false when the
/// conversation ends
bool follow(Talk& talk, const std::string& line) {
  const LineMeaning meaning = understand(line);
  switch (meaning.kind) {
    case LineKind::Question:
      talk.isPiped ? takePipedTurn(talk, {.text = meaning.text}) : takeTurn(talk, {.text = meaning.text});
      return true;
    case LineKind::Command:
      return obey(talk, meaning.text);
    case LineKind::Foreign:
      complain(talk.streams.err, meaning.text + " is a command of another program; /help lists the ones here");
      break;
    case LineKind::Keys:
      complain(talk.streams.err, "A key that means nothing here is in the line, so it was not sent");
      break;
  }
  talk.note(ExitCode::WrongUsage);
  return true;
}

/// Does `work`. The service answers on when the database is gone, which may come back.
bool outliveDatabase(Talk& talk, const std::function<bool()>& work) try {
  return work();
} catch (const DatabaseError& error) {
  complain(talk.streams.err, error.what());
  talk.note(error.exitCode);
  return true;
}

bool takeLine(Talk& talk, const std::string& line) {
  return outliveDatabase(talk, [&] { return follow(talk, line); });
}

void askWhatIsNext(Talk& talk, Questions& questions) {
  const Inquiry next = *std::exchange(talk.nextQuestion, std::nullopt);
  if (next.matter != Matter::Row) {  // which was shown, and is not kept in the history
    questions.remember(next.text);
    talk.streams.err << terminalSafe(next.text) << '\n';
  }
  outliveDatabase(talk, [&] {
    takeTurn(talk, next);
    return true;
  });
}

}  // namespace

ExitCode answerOnce(Answerer& answerer, const std::string& question, Streams streams, const TurnRunner& runTurn,
                    Workbench* workbench) {
  const Answer answer = askAndShow(answerer, {.text = question}, streams, runTurn).answer;
  if (!answer.error.empty()) {
    complain(streams.err, answer.error);
    return answerer.failureCode();
  }
  const Mender mender{.answerer = answerer, .streams = streams, .runTurn = runTurn};
  const bool isFine = workbench == nullptr || runStatements(*workbench, answer.text, mender);
  return isFine ? ExitCode::Fine : ExitCode::StatementFailed;
}

ExitCode answerLines(MovableAnswerer& answerer, Streams streams, const TurnRunner& runTurn,
                     const Background& background) {
  Talk talk{.answerer = answerer, .streams = streams, .runTurn = runTurn, .background = background, .isPiped = true};
  std::string line;
  for (bool first = true; std::getline(streams.in, line); first = false) {
    if (first && line.starts_with(kByteOrderMark)) line.erase(0, kByteOrderMark.size());
    const std::string text = cfTrimAsString(line);
    if (!text.empty() && !takeLine(talk, text)) break;
  }
  return talk.firstFailure;
}

void converse(MovableAnswerer& answerer, Questions& questions, Streams streams, const TurnRunner& runTurn,
              const Background& background) {
  Talk talk{.answerer = answerer, .streams = streams, .runTurn = runTurn, .background = background};
  while (const std::optional<std::string> text = questions.read()) {
    if (!takeLine(talk, *text)) return;
    if (talk.nextQuestion) askWhatIsNext(talk, questions);
  }
  streams.err << '\n';  // leaves the line of the last prompt
}
