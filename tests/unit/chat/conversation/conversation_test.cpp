#include "conversation/conversation.h"

#include "conversation/consent.h"
#include "conversation/workbench.h"
#include "lost_database.h"
#include "terminal/plain_line_editor.h"
#include "terminal/rendering.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <span>
#include <sstream>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr std::array kProfiles{
    ProviderProfile{.name = "openai", .title = "OpenAI"},
    ProviderProfile{.name = "openai-assistants", .title = "OpenAI Assistants", .keepsConversations = true},
    ProviderProfile{.name = "gemini", .title = "Gemini"},
    ProviderProfile{.name = "ollama", .title = "Ollama"},
};

const Background kShop{
    .tables = {{.name = "orders",
                .columns = {{.name = "id", .about = "INTEGER, primary key"}, {.name = "customer_id", .about = "\x1b"}}},
               {.name = "Orders", .columns = {{.name = "another", .about = ""}}},
               {.name = "order lines\x1b", .columns = {}},
               {.name = "turnover", .isView = true, .columns = {{.name = "total", .about = "REAL"}}}}};

/// Answers "re: QUESTION"; fails for questions that start with "bad".
class FakeAnswerer : public MovableAnswerer {
 public:
  std::string startConversation() override {
    ++conversations;
    return conversationError;
  }
  Answer ask(const std::string& question) override {
    questions.push_back(question);
    if (question.starts_with("bad")) return {.error = "no answer to " + question};
    Answer answer = next;
    if (answer.text.empty() && answer.finishReason.empty()) answer.text = "re: " + question;
    return answer;
  }
  /// In two pieces, of which a failure has the first one.
  Answer askInPieces(const std::string& question, const ShowPiece& show) override {
    Answer answer = ask(question);
    if (!answer.text.empty() || question == "bad end") show("re: ");
    if (!answer.text.empty()) show(answer.text.substr(4));
    return answer;
  }
  ExitCode failureCode() const override { return code; }
  std::span<const ProviderProfile> providers() const override { return kProfiles; }
  const ProviderProfile& provider() const override { return *provider_; }
  const std::string& model() const override { return model_; }
  std::string moveTo(const ProviderProfile& provider, const std::string& model) override {
    if (!moveError.empty()) return moveError;
    provider_ = &provider;
    model_ = model.empty() ? "its first" : model;
    return "";
  }
  std::pair<std::vector<std::string>, std::string> listModels() override { return {models, modelsError}; }
  std::string changeModel(const std::string& model) override {
    if (moveError.empty()) model_ = model;
    return moveError;
  }

  std::vector<std::string> questions;
  int conversations = 0;
  std::string conversationError;
  ExitCode code = ExitCode::ServiceFailed;
  Answer next;  // what is beside the usual text
  std::string moveError;
  std::vector<std::string> models = {"a\x1b", "b:latest", "c"};
  std::string modelsError;

 private:
  const ProviderProfile* provider_ = kProfiles.data();
  std::string model_ = "m\x1b";
};

class Conversation : public testing::Test {
 protected:
  Streams streams(const std::string& input = "") {
    in_.str(input);
    return {in_, out_, err_};
  }
  static bool runPlainly(const std::function<void()>& turn) {
    turn();
    return false;
  }
  static bool runInterrupted(const std::function<void()>& turn) {
    turn();
    return true;
  }

  FakeAnswerer answerer_;
  std::istringstream in_;
  std::ostringstream out_;
  std::ostringstream err_;
};

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
  converse(answerer_, streams("one\n\ntwo\n"), runPlainly);
  EXPECT_EQ(out_.str(), "re: one\nre: two\n");
  EXPECT_EQ(err_.str(), "> \n> > \n> \n");
}

TEST_F(Conversation, TerminalGoesOnAfterAFailure) {
  converse(answerer_, streams("bad\none\n"), runPlainly);
  EXPECT_EQ(out_.str(), "re: one\n");
  EXPECT_THAT(err_.str(), HasSubstr("qai-chat: no answer to bad\n"));
}

TEST_F(Conversation, AnInterruptedTurnIsNoFailure) {
  converse(answerer_, streams("bad\n"), runInterrupted);
  EXPECT_EQ(err_.str(), "> \nStopped. No answer is kept, and it is as if you had not asked.\n\n> \n");
}

TEST_F(Conversation, AServiceThatKeepsConversationsMayKeepTheQuestionOfAnInterruptedTurn) {
  answerer_.moveTo(kProfiles[1], "");
  converse(answerer_, streams("bad\n"), runInterrupted);
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
  converse(answerer_, inPieces, runPlainly);
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

TEST_F(Conversation, CostIsThatOfTheConversation) {
  answerer_.next.tokens = {.in = 5, .out = 2};
  converse(answerer_, streams("/cost\none\nbad\ntwo\n/cost\n/provider gemini\n/cost\n/new\n/cost\n"), runPlainly);
  const std::string both = "> 2 answers. Tokens: 10 in, 4 out.\n";
  EXPECT_THAT(err_.str(), HasSubstr("> There is no answer yet.\n"));
  EXPECT_THAT(err_.str(), HasSubstr(both + "> Gemini answers from here on. Model: its first.\n" + both));
  EXPECT_THAT(err_.str(), HasSubstr("The conversation begins anew.\n> There is no answer yet.\n"));
}

TEST_F(Conversation, CostBeginsAnewWithAServiceThatCannotGoOn) {
  answerer_.next.tokens = {.in = 5, .out = 2};
  converse(answerer_, streams("one\n/provider openai-assistants\n/cost\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("starts anew.\n> There is no answer yet.\n"));
}

TEST_F(Conversation, CostOfAConversationThatGoesOnAfterAllStays) {
  answerer_.next.tokens = {.in = 5, .out = 2};
  answerer_.conversationError = answerer_.moveError = "not now";
  converse(answerer_, streams("one\n/new\n/provider openai-assistants\n/cost\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("> 1 answer. Tokens: 5 in, 2 out.\n"));
}

TEST_F(Conversation, AnAnswerThatCameBeforeTheInterruptIsShown) {
  converse(answerer_, streams("one\n"), runInterrupted);
  EXPECT_EQ(out_.str(), "re: one\n");
}

TEST_F(Conversation, QuitEndsIt) {
  converse(answerer_, streams("/quit\none\n"), runPlainly);
  EXPECT_THAT(answerer_.questions, IsEmpty());
}

TEST_F(Conversation, HelpListsTheCommands) {
  converse(answerer_, streams("/help\n"), runPlainly);
  for (const char* command :
       {"/cost", "/help", "/model NAME", "/new", "/provider NAME [MODEL]", "/quit", "/tables NAME"})
    EXPECT_THAT(err_.str(), HasSubstr(command));
  EXPECT_EQ(out_.str(), "");
}

TEST_F(Conversation, NewBeginsAnotherConversation) {
  converse(answerer_, streams("/new\n"), runPlainly);
  EXPECT_EQ(answerer_.conversations, 1);
  EXPECT_THAT(answerer_.questions, IsEmpty());
}

TEST_F(Conversation, NewTellsItsFailure) {
  answerer_.conversationError = "not now";
  converse(answerer_, streams("/new\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("qai-chat: not now\nThe conversation goes on.\n"));
}

TEST_F(Conversation, NewThatIsCalledOffIsNoFailure) {
  answerer_.conversationError = "cancelled by someone";
  converse(answerer_, streams("/new\n"), runInterrupted);
  EXPECT_THAT(err_.str(), HasSubstr("Cancelled.\nThe conversation goes on.\n"));
  EXPECT_THAT(err_.str(), Not(HasSubstr("by someone")));
}

TEST_F(Conversation, NewThatIsDoneBeforeTheInterruptIsTold) {
  converse(answerer_, streams("/new\n"), runInterrupted);
  EXPECT_THAT(err_.str(), HasSubstr("The conversation begins anew.\n"));
}

TEST_F(Conversation, UnknownCommandsAreNotSent) {
  converse(answerer_, streams("/frobnicate\x1b\n"), runPlainly);
  EXPECT_THAT(answerer_.questions, IsEmpty());
  EXPECT_THAT(err_.str(), HasSubstr("There is no command /frobnicate\uFFFD; /help lists them.\n"));
}

TEST_F(Conversation, AMistypedCommandNamesTheNearest) {
  converse(answerer_, streams("/hlep\x1b\n/tabels orders\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("There is no command /hlep\uFFFD; did you mean /help? /help lists them.\n"));
  EXPECT_THAT(err_.str(), HasSubstr("There is no command /tabels orders; did you mean /tables? /help lists them.\n"));
}

TEST_F(Conversation, TablesListsThemAndTheViews) {
  converse(answerer_, streams("/tables\n"), runPlainly, kShop);
  EXPECT_THAT(err_.str(), HasSubstr("> "
                                    "  orders\n  Orders\n  order lines\uFFFD\n  turnover (a view)\n> "));
}

TEST_F(Conversation, TablesOfADatabaseWithoutAnySaysSo) {
  converse(answerer_, streams("/tables\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("The database holds no tables.\n"));
}

TEST_F(Conversation, TablesWithANameListsItsColumns) {
  struct Row {
    const char* line;
    const char* shown;
  };
  for (const Row& row : {Row{"/tables orders", "  id           INTEGER, primary key\n  customer_id  \uFFFD\n"},
                         Row{"\\d Orders", "  another  \n"}, Row{".schema TURNOVER;", "  total  REAL\n"},
                         Row{"/tables `turnover`", "  total  REAL\n"}, Row{"/tables \"orders\"", "  id  "},
                         Row{"/tables order", "There is no table order; did you mean orders? /tables lists them\n"},
                         Row{"/tables x", "There is no table x; /tables lists them\n"}}) {
    err_.str("");
    converse(answerer_, streams(std::string(row.line) + "\n"), runPlainly, kShop);
    in_.clear();
    EXPECT_THAT(err_.str(), HasSubstr(row.shown)) << row.line;
  }
  EXPECT_THAT(answerer_.questions, IsEmpty());
}

TEST_F(Conversation, SentAndContextTellWhatTheBackgroundKnows) {
  Background background = kShop;
  background.tellSent = [] { return "two\nlines\x1b"; };
  background.tellContext = [] { return "facts"; };
  converse(answerer_, streams("/sent\n/context\n"), runPlainly, background);
  EXPECT_EQ(err_.str(), "> two\nlines\uFFFD\n> facts\n> \n");
  EXPECT_THAT(answerer_.questions, IsEmpty());
}

TEST_F(Conversation, CountsTablesViewsAndColumns) {
  EXPECT_EQ(countTables(kShop.tables), "3 tables, 1 view, 4 columns");
  EXPECT_EQ(countTables({}), "0 tables, 0 views, 0 columns");
}

TEST_F(Conversation, HabitsOfOtherProgramsAreNotSent) {
  for (const char* line : {"help", "?", "\\?", ".help", "\\dt", ".mode box", "\\timing", "\x1B[A", "\x1B[1~", "exit"}) {
    converse(answerer_, streams(std::string(line) + "\n"), runPlainly);
    in_.clear();
    EXPECT_THAT(answerer_.questions, IsEmpty()) << line;
  }
}

TEST_F(Conversation, UnknownCommandsWithBlanksOrWrongArgumentsAreToldWhole) {
  for (const char* line : {"/new now", "/provider a b c", "/ help"}) {
    converse(answerer_, streams(std::string(line) + "\n"), runPlainly);
    in_.clear();
    EXPECT_THAT(err_.str(), HasSubstr("There is no command " + std::string(line) + ";"));
  }
  EXPECT_EQ(answerer_.conversations, 0);
}

TEST_F(Conversation, ProviderListsTheServicesAndMarksTheCurrentOne) {
  converse(answerer_, streams("/provider\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("* openai             OpenAI, model m\uFFFD\n"));
  for (const ProviderProfile& provider : kProfiles)
    EXPECT_THAT(err_.str(), HasSubstr(" " + std::string(provider.name) + " "));
  EXPECT_EQ(out_.str(), "");
}

TEST_F(Conversation, ProviderMovesItAndTellsWhoAnswers) {
  converse(answerer_, streams("/provider gemini\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("Gemini answers from here on. Model: its first.\n> "));
}

TEST_F(Conversation, AMoveThatCannotCarryTheTurnsSaysSoEitherWay) {
  const std::string notice = "OpenAI Assistants keeps conversations itself, so this one starts anew.\n";
  converse(answerer_, streams("/provider openai-assistants\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("OpenAI Assistants answers from here on. Model: its first.\n" + notice));
  err_.str("");
  in_.clear();
  converse(answerer_, streams("/provider openai-assistants m\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("OpenAI Assistants answers from here on. Model: m.\n> "));
  err_.str("");
  in_.clear();
  converse(answerer_, streams("/provider openai\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("OpenAI answers from here on. Model: its first.\n" + notice));
}

TEST_F(Conversation, ProviderTakesAModel) {
  converse(answerer_, streams(" /provider \t ollama  tiny:1b \n"), runPlainly);
  EXPECT_EQ(answerer_.provider().name, "ollama");
  EXPECT_EQ(answerer_.model(), "tiny:1b");
}

TEST_F(Conversation, AnUnknownProviderIsToldAndNothingMoves) {
  converse(answerer_, streams("/provider nobody\x1b\none\n"), runPlainly);
  EXPECT_THAT(err_.str(),
              HasSubstr("qai-chat: 'nobody\uFFFD' is not one of: openai, openai-assistants, gemini, ollama\n"));
  EXPECT_EQ(answerer_.provider().name, "openai");
  EXPECT_EQ(out_.str(), "re: one\n");
}

TEST_F(Conversation, AMoveThatFailsIsTold) {
  answerer_.moveError = "not there";
  converse(answerer_, streams("/provider gemini\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("qai-chat: not there\nThe conversation stays with OpenAI.\n"));
}

TEST_F(Conversation, ModelListsTheServicesAndMarksTheCurrentOne) {
  converse(answerer_, streams("/model b\n/model\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("  a\uFFFD\n* b:latest\n  c\n> "));
  EXPECT_EQ(out_.str(), "");
}

TEST_F(Conversation, ModelNamesTheCurrentOneThatIsNotListed) {
  converse(answerer_, streams("/model\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("* m\uFFFD, which is not listed\n  a"));
}

TEST_F(Conversation, ModelTellsThatTheListFails) {
  answerer_.modelsError = "no list";
  converse(answerer_, streams("/model\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("qai-chat: no list\n> "));
}

TEST_F(Conversation, ModelOfAListThatIsCalledOffIsNoFailure) {
  answerer_.modelsError = "cancelled by someone";
  converse(answerer_, streams("/model\n"), runInterrupted);
  EXPECT_THAT(err_.str(), testing::AllOf(HasSubstr("Cancelled.\n"), Not(HasSubstr("by someone"))));
}

TEST_F(Conversation, ModelChangesItAndGoesOn) {
  converse(answerer_, streams("/model c\n/model\none\n"), runPlainly);
  EXPECT_EQ(answerer_.model(), "c");
  EXPECT_EQ(answerer_.conversations, 0);
  EXPECT_THAT(err_.str(), HasSubstr("> c answers from here on.\n> "));
}

TEST_F(Conversation, ModelThatIsNotListedIsTakenAndTold) {
  converse(answerer_, streams("/model other\n"), runPlainly);
  EXPECT_EQ(answerer_.model(), "other");
  EXPECT_THAT(err_.str(), HasSubstr("other answers from here on.\nOpenAI does not list it; the next question"));
}

TEST_F(Conversation, ModelIsTakenWithoutAList) {
  answerer_.modelsError = "no list";
  converse(answerer_, streams("/model other\n"), runPlainly);
  EXPECT_EQ(answerer_.model(), "other");
  EXPECT_THAT(err_.str(), Not(HasSubstr("list")));
}

TEST_F(Conversation, ModelThatIsRefusedIsToldAndTheOldOneStays) {
  answerer_.moveError = "not there";
  converse(answerer_, streams("/model other\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("qai-chat: not there\nThe model stays m\uFFFD.\n"));
}

TEST_F(Conversation, ModelThatIsCalledOffStays) {
  converse(answerer_, streams("/model c\n"), runInterrupted);
  EXPECT_EQ(answerer_.model(), "m\x1b");
  EXPECT_THAT(err_.str(), HasSubstr("Cancelled.\nThe model stays m\uFFFD.\n"));
}

TEST_F(Conversation, AMoveThatIsCalledOffIsNoFailure) {
  answerer_.moveError = "cancelled by someone";
  converse(answerer_, streams("/provider gemini\n"), runInterrupted);
  EXPECT_THAT(err_.str(), HasSubstr("Cancelled.\nThe conversation stays with OpenAI.\n"));
  EXPECT_THAT(err_.str(), Not(HasSubstr("by someone")));
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
