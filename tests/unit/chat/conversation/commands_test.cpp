#include "conversation/commands.h"

#include "conversation_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Commands : public Conversation {};

TEST_F(Commands, CostIsThatOfTheConversation) {
  answerer_.next.tokens = {.in = 5, .out = 2};
  converse(streams("/cost\none\nbad\ntwo\n/cost\n/provider gemini\n/cost\n/new\n/cost\n"), runPlainly);
  const std::string both = "> 2 answers. Tokens: 10 in, 4 out.\n";
  EXPECT_THAT(err_.str(), HasSubstr("> There is no answer yet.\n"));
  EXPECT_THAT(err_.str(), HasSubstr(both + "> Gemini answers from here on. Model: its first.\n" + both));
  EXPECT_THAT(err_.str(), HasSubstr("The conversation begins anew.\n> There is no answer yet.\n"));
}

TEST_F(Commands, CostBeginsAnewWithAServiceThatCannotGoOn) {
  answerer_.next.tokens = {.in = 5, .out = 2};
  converse(streams("one\n/provider openai-assistants\n/cost\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("starts anew.\n> There is no answer yet.\n"));
}

TEST_F(Commands, CostOfAConversationThatGoesOnAfterAllStays) {
  answerer_.next.tokens = {.in = 5, .out = 2};
  answerer_.conversationError = answerer_.moveError = "not now";
  converse(streams("one\n/new\n/provider openai-assistants\n/cost\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("> 1 answer. Tokens: 5 in, 2 out.\n"));
}

TEST_F(Commands, QuitEndsIt) {
  converse(streams("/quit\none\n"), runPlainly);
  EXPECT_THAT(answerer_.questions, IsEmpty());
}

TEST_F(Commands, HelpListsTheCommands) {
  converse(streams("/help\n"), runPlainly);
  for (const char* command :
       {"/cost", "/help", "/model NAME", "/new", "/provider NAME [MODEL]", "/quit", "/tables NAME"})
    EXPECT_THAT(err_.str(), HasSubstr(command));
  EXPECT_EQ(out_.str(), "");
}

TEST_F(Commands, NewBeginsAnotherConversation) {
  converse(streams("/new\n"), runPlainly);
  EXPECT_EQ(answerer_.conversations, 1);
  EXPECT_THAT(answerer_.questions, IsEmpty());
}

TEST_F(Commands, NewTellsItsFailure) {
  answerer_.conversationError = "not now";
  converse(streams("/new\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("qai-chat: not now\nThe conversation goes on.\n"));
}

TEST_F(Commands, NewThatIsCalledOffIsNoFailure) {
  answerer_.conversationError = "cancelled by someone";
  converse(streams("/new\n"), runInterrupted);
  EXPECT_THAT(err_.str(), HasSubstr("Cancelled.\nThe conversation goes on.\n"));
  EXPECT_THAT(err_.str(), Not(HasSubstr("by someone")));
}

TEST_F(Commands, NewThatIsDoneBeforeTheInterruptIsTold) {
  converse(streams("/new\n"), runInterrupted);
  EXPECT_THAT(err_.str(), HasSubstr("The conversation begins anew.\n"));
}

TEST_F(Commands, UnknownCommandsAreNotSent) {
  converse(streams("/frobnicate\x1b\n"), runPlainly);
  EXPECT_THAT(answerer_.questions, IsEmpty());
  EXPECT_THAT(err_.str(), HasSubstr("There is no command /frobnicate\uFFFD; /help lists them.\n"));
}

TEST_F(Commands, AMistypedCommandNamesTheNearest) {
  converse(streams("/hlep\x1b\n/tabels orders\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("There is no command /hlep\uFFFD; did you mean /help? /help lists them.\n"));
  EXPECT_THAT(err_.str(), HasSubstr("There is no command /tabels orders; did you mean /tables? /help lists them.\n"));
}

TEST_F(Commands, TablesListsThemAndTheViews) {
  converse(streams("/tables\n"), runPlainly, kShop);
  EXPECT_THAT(err_.str(), HasSubstr("> "
                                    "  orders\n  Orders\n  order lines\uFFFD\n  turnover (a view)\n> "));
}

TEST_F(Commands, TablesOfADatabaseWithoutAnySaysSo) {
  converse(streams("/tables\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("The database holds no tables.\n"));
}

TEST_F(Commands, TablesWithANameListsItsColumns) {
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
    converse(streams(std::string(row.line) + "\n"), runPlainly, kShop);
    in_.clear();
    EXPECT_THAT(err_.str(), HasSubstr(row.shown)) << row.line;
  }
  EXPECT_THAT(answerer_.questions, IsEmpty());
}

TEST_F(Commands, SentAndContextTellWhatTheBackgroundKnows) {
  Background background = kShop;
  background.tellSent = [] { return "two\nlines\x1b"; };
  background.tellContext = [] { return "facts"; };
  converse(streams("/sent\n/context\n"), runPlainly, background);
  EXPECT_EQ(err_.str(), "> two\nlines\uFFFD\n> facts\n> \n");
  EXPECT_THAT(answerer_.questions, IsEmpty());
}

TEST_F(Commands, CountsTablesViewsAndColumns) {
  EXPECT_EQ(countTables(kShop.tables), "3 tables, 1 view, 4 columns");
  EXPECT_EQ(countTables({}), "0 tables, 0 views, 0 columns");
}

TEST_F(Commands, UnknownCommandsWithBlanksOrWrongArgumentsAreToldWhole) {
  for (const char* line : {"/new now", "/provider a b c", "/ help"}) {
    converse(streams(std::string(line) + "\n"), runPlainly);
    in_.clear();
    EXPECT_THAT(err_.str(), HasSubstr("There is no command " + std::string(line) + ";"));
  }
  EXPECT_EQ(answerer_.conversations, 0);
}

TEST_F(Commands, ProviderListsTheServicesAndMarksTheCurrentOne) {
  converse(streams("/provider\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("* openai             OpenAI, model m\uFFFD\n"));
  for (const ProviderProfile& provider : kProfiles)
    EXPECT_THAT(err_.str(), HasSubstr(" " + std::string(provider.name) + " "));
  EXPECT_EQ(out_.str(), "");
}

TEST_F(Commands, ProviderMovesItAndTellsWhoAnswers) {
  converse(streams("/provider gemini\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("Gemini answers from here on. Model: its first.\n> "));
}

TEST_F(Commands, AMoveThatCannotCarryTheTurnsSaysSoEitherWay) {
  const std::string notice = "OpenAI Assistants keeps conversations itself, so this one starts anew.\n";
  converse(streams("/provider openai-assistants\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("OpenAI Assistants answers from here on. Model: its first.\n" + notice));
  err_.str("");
  in_.clear();
  converse(streams("/provider openai-assistants m\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("OpenAI Assistants answers from here on. Model: m.\n> "));
  err_.str("");
  in_.clear();
  converse(streams("/provider openai\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("OpenAI answers from here on. Model: its first.\n" + notice));
}

TEST_F(Commands, ProviderTakesAModel) {
  converse(streams(" /provider \t ollama  tiny:1b \n"), runPlainly);
  EXPECT_EQ(answerer_.provider().name, "ollama");
  EXPECT_EQ(answerer_.model(), "tiny:1b");
}

TEST_F(Commands, AnUnknownProviderIsToldAndNothingMoves) {
  converse(streams("/provider nobody\x1b\none\n"), runPlainly);
  EXPECT_THAT(err_.str(),
              HasSubstr("qai-chat: 'nobody\uFFFD' is not one of: openai, openai-assistants, gemini, ollama\n"));
  EXPECT_EQ(answerer_.provider().name, "openai");
  EXPECT_EQ(out_.str(), "re: one\n");
}

TEST_F(Commands, AMoveThatFailsIsTold) {
  answerer_.moveError = "not there";
  converse(streams("/provider gemini\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("qai-chat: not there\nThe conversation stays with OpenAI.\n"));
}

TEST_F(Commands, ModelListsTheServicesAndMarksTheCurrentOne) {
  converse(streams("/model b\n/model\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("  a\uFFFD\n* b:latest\n  c\n> "));
  EXPECT_EQ(out_.str(), "");
}

TEST_F(Commands, ModelNamesTheCurrentOneThatIsNotListed) {
  converse(streams("/model\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("* m\uFFFD, which is not listed\n  a"));
}

TEST_F(Commands, ModelTellsThatTheListFails) {
  answerer_.modelsError = "no list";
  converse(streams("/model\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("qai-chat: no list\n> "));
}

TEST_F(Commands, ModelOfAListThatIsCalledOffIsNoFailure) {
  answerer_.modelsError = "cancelled by someone";
  converse(streams("/model\n"), runInterrupted);
  EXPECT_THAT(err_.str(), testing::AllOf(HasSubstr("Cancelled.\n"), Not(HasSubstr("by someone"))));
}

TEST_F(Commands, ModelChangesItAndGoesOn) {
  converse(streams("/model c\n/model\none\n"), runPlainly);
  EXPECT_EQ(answerer_.model(), "c");
  EXPECT_EQ(answerer_.conversations, 0);
  EXPECT_THAT(err_.str(), HasSubstr("> c answers from here on.\n> "));
}

TEST_F(Commands, ModelThatIsNotListedIsTakenAndTold) {
  converse(streams("/model other\n"), runPlainly);
  EXPECT_EQ(answerer_.model(), "other");
  EXPECT_THAT(err_.str(), HasSubstr("other answers from here on.\nOpenAI does not list it; the next question"));
}

TEST_F(Commands, ModelIsTakenWithoutAList) {
  answerer_.modelsError = "no list";
  converse(streams("/model other\n"), runPlainly);
  EXPECT_EQ(answerer_.model(), "other");
  EXPECT_THAT(err_.str(), Not(HasSubstr("list")));
}

TEST_F(Commands, ModelThatIsRefusedIsToldAndTheOldOneStays) {
  answerer_.moveError = "not there";
  converse(streams("/model other\n"), runPlainly);
  EXPECT_THAT(err_.str(), HasSubstr("qai-chat: not there\nThe model stays m\uFFFD.\n"));
}

TEST_F(Commands, ModelThatIsCalledOffStays) {
  converse(streams("/model c\n"), runInterrupted);
  EXPECT_EQ(answerer_.model(), "m\x1b");
  EXPECT_THAT(err_.str(), HasSubstr("Cancelled.\nThe model stays m\uFFFD.\n"));
}

TEST_F(Commands, AMoveThatIsCalledOffIsNoFailure) {
  answerer_.moveError = "cancelled by someone";
  converse(streams("/provider gemini\n"), runInterrupted);
  EXPECT_THAT(err_.str(), HasSubstr("Cancelled.\nThe conversation stays with OpenAI.\n"));
  EXPECT_THAT(err_.str(), Not(HasSubstr("by someone")));
}

}  // namespace
