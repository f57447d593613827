// What keys do at a terminal: at one that knows all of them, and at one that knows none.
#include "typing_fixture.h"

#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kUp = "\x1b[A";
constexpr const char* kDown = "\x1b[B";
constexpr const char* kHome = "\x1b[H";
constexpr const char* kEnd = "\x1b[F";
constexpr const char* kCtrlR = "\x12";
constexpr const char* kCtrlU = "\x15";
constexpr const char* kCtrlZ = "\x1a";
constexpr const char* kBackspace = "\x7f";
constexpr const char* kPasteBegin = "\x1b[200~";
constexpr const char* kPasteEnd = "\x1b[201~";
constexpr const char* kPasteOff = "\x1b[?2004l";

TEST_F(Typing, APasteOfSeveralLinesIsOneQuestionThatEnterSends) {
  TerminalChild chat(command());
  waitForPrompt(chat);
  chat.type(std::string(kPasteBegin) + "How many\r\n\tcustomers\rare \x1b there?\n" + kPasteEnd);
  EXPECT_THAT(chat.waitFor("there?"), HasSubstr("How many\r\n"));
  EXPECT_THAT(server_.requests(), IsEmpty());
  chat.type("\n");
  EXPECT_THAT(answered(chat), HasSubstr("How many\\n\\tcustomers\\nare \uFFFD there?\""));
  EXPECT_EQ(server_.requests().size(), 1U);
  end(chat);
}

TEST_F(Typing, PastesAreToldApartOnlyWhileALineIsRead) {
  TerminalChild chat(command());
  EXPECT_THAT(chat.waitFor("> "), HasSubstr("\x1b[?2004h"));
  chat.type("How many customers are there?\n");
  EXPECT_THAT(chat.waitFor("FROM customers"), HasSubstr(kPasteOff));
  chat.waitFor("\x1b[?2004h");
  chat.type("\x1c");  // the key that ends a program by SIGQUIT
  chat.waitFor(kPasteOff);
  EXPECT_EQ(chat.finish(), 128 + SIGQUIT);
}

TEST_F(Typing, APasteOfAHundredThousandBytesArrivesWhole) {
  TerminalChild chat(command());
  waitForPrompt(chat);
  const std::string text = "How many customers " + std::string(100'000, 'x') + " end";
  chat.type(kPasteBegin + text + kPasteEnd);
  chat.waitFor(" end");
  chat.type("\n");
  EXPECT_THAT(answered(chat).find(text + '"'), testing::Ne(std::string::npos));
  end(chat);
}

class TypingAt : public Typing, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Terminals, TypingAt, testing::Values("xterm", "dumb"));

TEST_P(TypingAt, ALineOfAHundredThousandBytesArrivesWhole) {
  TerminalChild chat(command(GetParam()));
  waitForPrompt(chat);
  const std::string begin = "How many customers ";
  chat.type(begin);
  std::string text = begin;
  for (int i = 0; i < 100; ++i) {  // as much as fits between it and its echo
    const std::string piece = std::string(994, 'x') + " " + std::to_string(10'000 + i);
    chat.type(piece);
    chat.waitFor(std::to_string(10'000 + i).substr(4));
    text += piece;
  }
  chat.type("\n");
  EXPECT_THAT(answered(chat).find(text + '"'), testing::Ne(std::string::npos));
  end(chat);
}

TEST_P(TypingAt, CtrlDOnAHalfTypedLineDoesNothing) {
  TerminalChild chat(command(GetParam()));
  waitForPrompt(chat);
  chat.type("How many cust");
  chat.waitFor("cust");
  chat.typeEnd();
  chat.type("omers?\n");
  EXPECT_THAT(answered(chat), HasSubstr("How many customers?\""));
  end(chat);
}

TEST_P(TypingAt, CtrlCDropsTheLine) {
  TerminalChild chat(command(GetParam()));
  waitForPrompt(chat);
  chat.type("half a quest");
  chat.waitFor("half a quest");
  chat.typeCtrlC();
  waitForPrompt(chat);
  chat.type("How many customers are there?\n");
  EXPECT_THAT(answered(chat), Not(HasSubstr("half a quest")));
  EXPECT_EQ(server_.requests().size(), 1U);
  end(chat);
}

TEST_P(TypingAt, CtrlCDropsABlock) {
  TerminalChild chat(command(GetParam()));
  waitForPrompt(chat);
  chat.type("\"\"\"half\n");
  chat.waitFor(". ");
  chat.typeCtrlC();
  waitForPrompt(chat);
  chat.type("How many customers are there?\n");
  EXPECT_THAT(answered(chat), Not(HasSubstr("half")));
  end(chat);
}

TEST_P(TypingAt, ABlockIsOneQuestion) {
  TerminalChild chat(command(GetParam()));
  waitForPrompt(chat);
  chat.type("\"\"\"\n");
  chat.waitFor(". ");
  chat.type("How many\n");
  chat.waitFor(". ");
  chat.type("customers?\"\"\"\n");
  EXPECT_THAT(answered(chat), HasSubstr("How many\\ncustomers?\""));
  end(chat);
}

TEST_P(TypingAt, BackspaceTakesWideCharactersWhole) {
  TerminalChild chat(command(GetParam()));
  waitForPrompt(chat);
  chat.type("How many customers 中😀" + std::string(kBackspace) + kBackspace + "ä?\n");
  EXPECT_THAT(answered(chat), AllOf(HasSubstr("How many customers \u00e4?\"")));
  end(chat);
}

TEST_F(Typing, AtADumbTerminalIsEchoedAsTheSystemWould) {
  TerminalChild chat(command("dumb"));
  waitForPrompt(chat);
  chat.type(
      "How few \x01 w\x17\x15"
      "How many\xc2\x9b customers?\n");
  const std::string shown = chat.waitFor("rules fits");
  EXPECT_THAT(shown, HasSubstr("^A w\b \b"));
  EXPECT_THAT(shown,
              AllOf(HasSubstr("How many\uFFFD customers?\r\n"), Not(HasSubstr("\x1b")), Not(HasSubstr("\xc2\x9b"))));
  waitForPrompt(chat);
  end(chat);
}

TEST_F(Typing, HomeAndEndMoveInALineOfWideCharacters) {
  TerminalChild chat(command());
  waitForPrompt(chat);
  chat.type("many 中😀 customers" + std::string(kHome) + "How " + kEnd + "?\n");
  EXPECT_THAT(answered(chat), HasSubstr("How many 中😀 customers?\""));
  end(chat);
}

TEST_F(Typing, KeysThatAreNotKnownLeaveNothingBehind) {
  TerminalChild chat(command());
  waitForPrompt(chat);
  chat.type("How \x1b[15~many\x1b[5;3~\x1bOP\x1b[1;2R customers?\n");
  EXPECT_THAT(answered(chat), HasSubstr("How many customers?\""));
  end(chat);
}

TEST_F(Typing, UpRecallsTheQuestionsOfEarlierRuns) {
  {
    TerminalChild chat(command());
    waitForPrompt(chat);
    chat.type(std::string(kPasteBegin) + "How many\ncustomers?" + kPasteEnd + "\n");
    answered(chat);
    end(chat);
  }
  TerminalChild chat(command());
  waitForPrompt(chat);
  chat.type("own" + std::string(kUp));
  chat.waitFor("customers?");
  chat.type("\n");
  EXPECT_THAT(answered(chat), HasSubstr("How many\\ncustomers?\""));
  chat.type("How many customers" + std::string(kUp) + kDown + "!\n");
  EXPECT_THAT(answered(chat), HasSubstr("How many customers!\""));
  end(chat);
}

TEST_F(Typing, CtrlRFindsAQuestion) {
  TerminalChild chat(command());
  waitForPrompt(chat);
  chat.type("How many customers \u00e9\u4e0a?\n");
  answered(chat);
  chat.type("/cost\n");
  waitForPrompt(chat);
  chat.type(std::string(kCtrlR) + "\u4e0a");
  chat.waitFor("(search) '\u4e0a': ");
  chat.type("\n");
  EXPECT_THAT(answered(chat), HasSubstr("How many customers \u00e9\u4e0a?\"}]"));
  chat.type(std::string(kCtrlR) + "nowhere");
  chat.waitFor("(no more) 'nowhere': ");
  chat.typeCtrlC();
  chat.waitFor("\x1b[?2004h> ");
  end(chat);
}

TEST_F(Typing, TabCompletesNamesAndShowsThemWhereThereAreSeveral) {
  TerminalChild chat(command());
  waitForPrompt(chat);
  chat.type("How many cust\t");
  EXPECT_THAT(chat.waitFor("customers"), HasSubstr("customer_turnover"));
  chat.waitFor("> How many customer");
  chat.type("s\n");
  EXPECT_THAT(answered(chat), HasSubstr("How many customers\""));
  chat.type("/pro\tdee\t");
  EXPECT_THAT(chat.waitFor("pseek "), EndsWith("pseek "));
  chat.type(kCtrlU);
  end(chat);
}

TEST_F(Typing, CtrlZWhereNobodyCouldGoOnLeavesTheLine) {
  TerminalChild chat(command());
  waitForPrompt(chat);
  chat.type("How many cust");
  chat.waitFor("cust");
  chat.type(kCtrlZ);
  EXPECT_THAT(chat.waitFor("How many cust"), EndsWith("How many cust"));
  chat.type("omers?\n");
  EXPECT_THAT(answered(chat), HasSubstr("How many customers?\""));
  end(chat);
}

TEST_F(Typing, IsKeptForThisUserAloneWithoutBlanksAndKeys) {
  TerminalChild chat(command());
  waitForPrompt(chat);
  for (const std::string& line : {std::string("How many customers?"), std::string(" How many customers, secretly?"),
                                  "How many customers has " + std::string(kKey) + "?", std::string("/cost")}) {
    chat.type(line + "\n");
    if (line == "/cost") {
      waitForPrompt(chat);
    } else {
      answered(chat);
    }
  }
  end(chat);
  const fs::path file = fs::directory_iterator(toPath(path("state/qai-chat/history")))->path();
  std::ostringstream kept;
  kept << std::ifstream(file).rdbuf();
  EXPECT_EQ(kept.str(), "How many customers?\n/cost\n");
  struct stat about {};
  ASSERT_EQ(stat(file.c_str(), &about), 0);
  EXPECT_EQ(about.st_mode & 07777U, 0600U);
}

TEST_F(Typing, ThatCannotBeKeptIsToldOnce) {
  write("state", "in the way");
  TerminalChild chat(command());
  waitForPrompt(chat);
  chat.type("How many customers?\n");
  EXPECT_THAT(chat.waitFor("FROM customers"), HasSubstr("qai-chat: What you ask is not kept for later: "));
  waitForPrompt(chat);
  chat.type("How many customers are there?\n");
  EXPECT_THAT(chat.waitFor("FROM customers"), Not(HasSubstr("not kept")));
  waitForPrompt(chat);
  end(chat);
}

TEST_F(Typing, NothingIsToldWhereThereIsNoHome) {
  Command homeless = command();
  std::erase_if(homeless.environment, [](const std::string& entry) { return entry.starts_with("XDG"); });
  TerminalChild chat(homeless);
  waitForPrompt(chat);
  chat.type("How many customers?\n");
  EXPECT_THAT(chat.waitFor("FROM customers"), Not(HasSubstr("qai-chat:")));
  waitForPrompt(chat);
  end(chat);
}

TEST_F(Typing, TheSecondsOfAWaitAreToldAndWiped) {
  TerminalChild chat(command());
  waitForPrompt(chat);
  server_.script({.status = {}, .body = {}, .headers = {}, .fault = standin::Fault::NoReply});
  chat.type("Will this end?\n");
  EXPECT_THAT(chat.waitFor("\r2 s"), EndsWith("\r2 s"));
  chat.typeCtrlC();
  EXPECT_THAT(chat.waitFor("Stopped."), HasSubstr("\r                \r"));
  waitForPrompt(chat);
  end(chat);
}

}  // namespace
