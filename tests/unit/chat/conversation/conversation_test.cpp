#include "conversation/conversation.h"

#include "conversation/consent.h"
#include "conversation/workbench.h"
#include "conversation_fixture.h"
#include "lost_database.h"
#include "terminal/rendering.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(Conversation, AnswersOneQuestion) {
  EXPECT_EQ(answerOnce(answerer_, "q", streams(), runPlainly), ExitCode::Fine);
  EXPECT_EQ(out_.str(), "re: q\n");
  EXPECT_EQ(err_.str(), "");
}

TEST_F(Conversation, TellsTheFailureOfTheOneQuestion) {
  answerer_.code = ExitCode::KeyRefused;
  EXPECT_EQ(answerOnce(answerer_, "bad", streams(), runPlainly), ExitCode::KeyRefused);
  EXPECT_EQ(out_.str(), "");
  EXPECT_EQ(err_.str(), "qai-chat: no answer to bad\n");
}

TEST_F(Conversation, EveryPipedLineThatIsNotBlankIsAQuestion) {
  EXPECT_EQ(answerLines(answerer_, streams("one\n\n \t\r\n  two\r\nlast"), runPlainly), ExitCode::Fine);
  EXPECT_THAT(answerer_.questions, ElementsAre("one", "two", "last"));
  EXPECT_EQ(out_.str(), "re: one\nre: two\nre: last\n");
  EXPECT_EQ(err_.str(), "");
}

TEST_F(Conversation, AByteOrderMarkBeforePipedQuestionsIsNoPartOfThem) {
  EXPECT_EQ(answerLines(answerer_, streams("\xEF\xBB\xBFone\n\xEF\xBB\xBFtwo\n"), runPlainly), ExitCode::Fine);
  EXPECT_THAT(answerer_.questions, ElementsAre("one", "\xEF\xBB\xBFtwo"));
}

TEST_F(Conversation, PipedQuestionsGoOnAfterAFailure) {
  EXPECT_EQ(answerLines(answerer_, streams("one\nbad\ntwo\n"), runPlainly), ExitCode::ServiceFailed);
  EXPECT_EQ(out_.str(), "re: one\nre: two\n");
  EXPECT_EQ(err_.str(), "qai-chat: no answer to bad\n");
}

TEST_F(Conversation, PipedQuestionsEndWhereThePipeSaysSo) {
  for (const char* end : {"/quit", "exit", ".quit", "\\q", ":q"}) {
    answerer_.questions.clear();
    EXPECT_EQ(answerLines(answerer_, streams("one\n" + std::string(end) + "\ntwo\n"), runPlainly), ExitCode::Fine);
    EXPECT_THAT(answerer_.questions, ElementsAre("one")) << end;
    in_.clear();
  }
  EXPECT_EQ(err_.str(), "");
}

TEST_F(Conversation, PipedCommandsAreObeyedAndNotAsked) {
  EXPECT_EQ(answerLines(answerer_, streams("one\n.tables\n/new\n/cost\n"), runPlainly, kShop), ExitCode::Fine);
  EXPECT_THAT(answerer_.questions, ElementsAre("one"));
  EXPECT_EQ(answerer_.conversations, 1);
  EXPECT_THAT(err_.str(), HasSubstr("  orders\n"));
  EXPECT_EQ(out_.str(), "re: one\n");
}

TEST_F(Conversation, PipedLinesThatAreNoQuestionAreToldAndShowInTheResult) {
  for (const char* line : {"/hlep", "/provider gemini", "\\timing", "\x1B[A", "/tables nothing"}) {
    answerer_.questions.clear();
    err_.str("");
    EXPECT_EQ(answerLines(answerer_, streams(std::string(line) + "\none\n"), runPlainly, kShop), ExitCode::WrongUsage);
    EXPECT_THAT(answerer_.questions, ElementsAre("one")) << line;
    EXPECT_NE(err_.str(), "") << line;
    in_.clear();
  }
  EXPECT_EQ(answerer_.provider().name, "openai") << "a pipe may hold what others wrote";
}

TEST_F(Conversation, PipedQuestionsEndWithARunnerThatThrows) {
  struct CalledOff {};
  const TurnRunner runTurn = [](const std::function<void()>& turn) -> bool {
    turn();
    throw CalledOff();
  };
  EXPECT_THROW(answerLines(answerer_, streams("bad\ntwo\n"), runTurn), CalledOff);
  EXPECT_THAT(answerer_.questions, ElementsAre("bad"));
  EXPECT_EQ(err_.str(), "");
}

TEST_F(Conversation, NothingPipedIsFine) {
  EXPECT_EQ(answerLines(answerer_, streams(), runPlainly), ExitCode::Fine);
  EXPECT_EQ(out_.str(), "");
}

TEST_F(Conversation, StopsWhenNobodyReads) {
  out_.setstate(std::ios::badbit);
  EXPECT_THROW(answerLines(answerer_, streams("one\ntwo\n"), runPlainly), OutputError);
  EXPECT_THAT(answerer_.questions, ElementsAre("one"));
}

TEST_F(Conversation, TerminalGetsPromptsApartFromAnswers) {
  converse(streams("one\n\ntwo\n"), runPlainly);
  EXPECT_EQ(out_.str(), "re: one\nre: two\n");
  EXPECT_EQ(err_.str(), "> \n> > \n> \n");
}

TEST_F(Conversation, TerminalGoesOnAfterAFailure) {
  converse(streams("bad\none\n"), runPlainly);
  EXPECT_EQ(out_.str(), "re: one\n");
  EXPECT_THAT(err_.str(), HasSubstr("qai-chat: no answer to bad\n"));
}

TEST_F(Conversation, AnInterruptedTurnIsNoFailure) {
  converse(streams("bad\n"), runInterrupted);
  EXPECT_EQ(err_.str(), "> \nStopped. No answer is kept, and it is as if you had not asked.\n\n> \n");
}

TEST_F(Conversation, AServiceThatKeepsConversationsMayKeepTheQuestionOfAnInterruptedTurn) {
  answerer_.moveTo(kProfiles[1], "");
  converse(streams("bad\n"), runInterrupted);
  EXPECT_THAT(err_.str(), HasSubstr("Stopped. No answer is kept; OpenAI Assistants may keep the question.\n"));
}

TEST_F(Conversation, InPiecesLooksAsItDoesWhole) {
  Streams inPieces = streams("one\nbad\ntwo\n");
  inPieces.showsPieces = true;
  EXPECT_EQ(answerLines(answerer_, inPieces, runPlainly), ExitCode::ServiceFailed);
  EXPECT_EQ(out_.str(), "re: one\nre: two\n");
  EXPECT_EQ(err_.str(), "qai-chat: no answer to bad\n");
}

TEST_F(Conversation, AnAnswerThatFailsInTheMiddleEndsItsLine) {
  Streams inPieces = streams("bad end\n");
  inPieces.showsPieces = true;
  converse(inPieces, runPlainly);
  EXPECT_EQ(out_.str(), "re: \n");
  EXPECT_THAT(err_.str(), HasSubstr("qai-chat: no answer to bad end\n"));
}

TEST_F(Conversation, AnAnswerThatWasCutIsShownAndTold) {
  answerer_.next = {.text = "re: half", .finishReason = "length"};
  EXPECT_EQ(answerOnce(answerer_, "q", streams(), runPlainly), ExitCode::Fine);
  EXPECT_EQ(out_.str(), "re: half\n");
  EXPECT_EQ(err_.str(), "qai-chat: The answer was cut: it had reached the most tokens (length).\n");
}

TEST_F(Conversation, AnAnswerWithoutTextIsTold) {
  answerer_.next = {.finishReason = "stop", .refusal = "I\x1b can't."};
  for (const bool showsPieces : {false, true}) {
    Streams given = streams();
    given.showsPieces = showsPieces;
    err_.str("");
    EXPECT_EQ(answerOnce(answerer_, "q", given, runPlainly), ExitCode::Fine);
    EXPECT_EQ(err_.str(), "qai-chat: The service sent no text. The model refused: I\uFFFD can't.\n");
  }
}

TEST_F(Conversation, AnAnswerThatCameBeforeTheInterruptIsShown) {
  converse(streams("one\n"), runInterrupted);
  EXPECT_EQ(out_.str(), "re: one\n");
}

TEST_F(Conversation, HabitsOfOtherProgramsAreNotSent) {
  for (const char* line : {"help", "?", "\\?", ".help", "\\dt", ".mode box", "\\timing", "\x1B[A", "\x1B[1~", "exit"}) {
    converse(streams(std::string(line) + "\n"), runPlainly);
    in_.clear();
    EXPECT_THAT(answerer_.questions, IsEmpty()) << line;
  }
}

TEST_F(Conversation, GoesOnWithoutTheDatabase) {
  LostDatabase lost;
  Workbench workbench(lost, {}, {}, {.streams = streams(), .runQuery = runPlainly});
  answerer_.next.text = "```sql\nSELECT 1\n```";
  const ExitCode code =
      answerLines(answerer_, streams("one\ntwo\n/sql SELECT 1\n"), runPlainly, {.tables = {}, .workbench = &workbench});
  EXPECT_EQ(answerer_.questions.size(), 2U);
  EXPECT_EQ(err_.str().substr(0, err_.str().find('\n')), "qai-chat: The file is gone");
  EXPECT_EQ(code, ExitCode::NoInput);
}

TEST_F(Conversation, AskingToAgreeAtTheEndOfTheInputIsANoAndEndsNothingElse) {
  EXPECT_FALSE(askToAgree("Sure?", streams("")));
  EXPECT_TRUE(in_.good());
  PlainLineEditor editor(in_, err_);
  EXPECT_FALSE(askToAgree("Sure?", editor, err_));
  EXPECT_TRUE(in_.good());
  in_.str("y\n");
  EXPECT_TRUE(askToAgree("Sure?", editor, err_));
}

}  // namespace
