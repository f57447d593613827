// The statements of answers, with a person at a terminal to agree, to name them and to stop them.
#include "scripted_answers.h"
#include "workplace.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <tuple>
#include <vector>

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kPeople = R"(
CREATE TABLE people (id INTEGER PRIMARY KEY, name TEXT, country TEXT);
INSERT INTO people VALUES (1, 'Ann', 'AT'), (2, 'Bo', 'CH'), (3, 'Cy', 'AT');
CREATE TABLE notes (id INTEGER PRIMARY KEY, json TEXT);
INSERT INTO notes VALUES (1, 'canary7f3e');
)";

constexpr const char* kEndless =
    "SELECT 'begun' AS one; WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT count(*) FROM n; "
    "SELECT 'never ' || 'reached'";
constexpr const char* kDelete = "DELETE FROM people WHERE country = 'AT'";

class AtATerminal : public Workplace {
 protected:
  void answer(std::string_view sql) { scriptAnswer(server_, fence(sql)); }

  /// At a terminal that knows all keys, where nothing else is told.
  Command command(std::vector<std::string> options = {}, const char* terminal = "dumb") const {
    options.insert(options.begin(), {"--model", kModel});
    options.push_back(people_);
    Command command = chatWith(server_, std::move(options));
    for (const std::string& entry : {std::string("TERM=") + terminal, "XDG_STATE_HOME=" + path("state")})
      command.environment.push_back(entry);
    return command;
  }

  static void waitForPrompt(TerminalChild& chat) { EXPECT_THAT(chat.waitFor("\n> "), EndsWith("\n> ")); }
  /// Asks; the answer brings `sql`. @return what is shown up to `end`
  std::string askFor(TerminalChild& chat, std::string_view sql, const std::string& end = "\n> ") {
    answer(sql);
    chat.type("Who?\n");
    chat.waitFor("```\r\n");
    return chat.waitFor(end);
  }
  static void quit(TerminalChild& chat) {
    chat.type("/quit\n");
    EXPECT_EQ(chat.finish(), 0);
  }

  std::string read(const std::string& name) const {
    std::ifstream stream(toPath(path(name)), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  std::string people_ = makeDatabase("people.db", kPeople);
  standin::Server server_;
};

struct AskCase {
  const char* name;
  const char* keys;  // "": Ctrl-C, "end": what ends the input
  bool runs;
};
class AskingFirst : public AtATerminal, public testing::WithParamInterface<std::tuple<AskCase, const char*>> {};

TEST_P(AskingFirst, RunsOnlyOnAYesAndGoesOn) {
  const auto& [row, terminal] = GetParam();
  TerminalChild chat(command({"--run", "ask"}, terminal));
  chat.waitFor("> ");
  EXPECT_THAT(askFor(chat, "SELECT 'r' || 'ow'", "[y/N] "), HasSubstr("Run it? The statement only reads."));
  const std::string keys = row.keys;
  if (keys.empty()) {
    chat.typeCtrlC();
  } else if (keys == "end") {
    chat.typeEnd();
  } else {
    chat.type(keys);
  }
  const std::string shown = chat.waitFor("> ");
  EXPECT_EQ(shown.find("1 row, ") != std::string::npos, row.runs) << shown;
  chat.type("/sql SELECT 6 * 7\n");
  EXPECT_THAT(chat.waitFor("1 row, "), HasSubstr("42")) << "the conversation goes on";
  chat.waitFor("> ");
  quit(chat);
}

INSTANTIATE_TEST_SUITE_P(Answers, AskingFirst,
                         testing::Combine(testing::Values(AskCase{"yes", "y\n", true}, AskCase{"no", "n\n", false},
                                                          AskCase{"nothing", "\n", false}, AskCase{"ctrl_c", "", false},
                                                          AskCase{"end", "end", false}),
                                          testing::Values("dumb", "xterm")),
                         [](const auto& row) {
                           return std::string(std::get<0>(row.param).name) + "_at_" + std::get<1>(row.param);
                         });

TEST_F(AtATerminal, CtrlCEndsAStatementAndThoseBehindIt) {
  TerminalChild chat(command());
  chat.waitFor("> ");
  askFor(chat, kEndless, "1 row, ");
  chat.typeCtrlC();
  EXPECT_THAT(chat.waitFor("\n> "), AllOf(HasSubstr("Stopped."), Not(HasSubstr("never reached"))));
  EXPECT_THAT(enter(chat, "/sql SELECT 6 * 7"), HasSubstr("42"));
  EXPECT_THAT(askFor(chat, "SELECT 6 * 8"), HasSubstr("48"));
  EXPECT_EQ(server_.requests().size(), 2U) << "what was stopped is not asked for anew";
  quit(chat);
}

TEST_F(AtATerminal, CtrlCEndsAQuestionsStatementWithTheProgram) {
  answer(kEndless);
  Child chat(chatWith(server_, {"--model", kModel, people_, "Who?"}));
  while (const auto line = chat.readLine()) {
    if (line->starts_with("1 row, ")) break;
  }
  chat.interrupt();
  EXPECT_EQ(chat.finish().code, kEndedByCtrlC);
}

struct WriteCase {
  const char* name;
  std::vector<const char*> replies;  // nullptr: Ctrl-C
  const char* told;
  const char* left;
};
class Writing : public AtATerminal, public testing::WithParamInterface<WriteCase> {};

TEST_P(Writing, IsShownAndKeptOnlyWhenTheNumberOfRowsIsAgreedTo) {
  TerminalChild chat(command({"--write"}));
  chat.waitFor("> ");
  std::string shown = askFor(chat, kDelete, "[y/N] ");
  EXPECT_THAT(shown, AllOf(HasSubstr(kDelete), HasSubstr("The statement writes.")));
  for (std::size_t i = 0; i < GetParam().replies.size(); ++i) {
    if (const char* const reply = GetParam().replies[i]) {
      chat.type(std::string(reply) + "\n");
    } else {
      chat.typeCtrlC();
    }
    const bool isLast = i + 1 == GetParam().replies.size();
    shown = chat.waitFor(isLast ? "\n> " : "[y/N] ");
    if (!isLast) {
      EXPECT_THAT(shown, HasSubstr("It changes 2 rows. Keep that?"));
    }
  }
  EXPECT_THAT(shown, HasSubstr(GetParam().told));
  EXPECT_THAT(enter(chat, "/sql SELECT 'left: ' || count(*) FROM people"), HasSubstr(GetParam().left));
  quit(chat);
}

INSTANTIATE_TEST_SUITE_P(Replies, Writing,
                         testing::Values(WriteCase{"refused", {"n"}, "", "left: 3"},
                                         WriteCase{"called_off", {nullptr}, "", "left: 3"},
                                         WriteCase{"taken_back", {"y", "n"}, "Taken back: 2 rows.", "left: 3"},
                                         WriteCase{"called_off_late", {"y", nullptr}, "Stopped.", "left: 3"},
                                         WriteCase{"kept", {"y", "y"}, "Kept: 2 rows.", "left: 1"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(AtATerminal, StatementsAreNamedByTheirNumbers) {
  TerminalChild chat(command({"--run", "never"}));
  chat.waitFor("> ");
  EXPECT_THAT(askFor(chat, "SELECT 'fir' || 'st'; SELECT 'seco' || 'nd'"),
              HasSubstr("Statement 2 was not run; /run 2 does it."));
  EXPECT_THAT(enter(chat, "/run"), HasSubstr("holds 2 statements; name one by its number"));
  EXPECT_THAT(enter(chat, "/run 2"), AllOf(HasSubstr("second"), Not(HasSubstr("Statement"))));
  EXPECT_THAT(enter(chat, "/run 1"), HasSubstr("first"));
  EXPECT_THAT(enter(chat, "/run 3"), HasSubstr("holds 2 statements"));
  quit(chat);
}

TEST_F(AtATerminal, APlanIsShownWhole) {
  const std::string name = "a_name_of_a_table_that_is_longer_than_what_a_cell_of_a_table_would_hold";
  TerminalChild chat(command({"--run", "never"}));
  chat.waitFor("> ");
  askFor(chat, "WITH " + name + " AS MATERIALIZED (SELECT count(*) FROM people) SELECT * FROM " + name);
  EXPECT_THAT(enter(chat, "/explain"), AllOf(HasSubstr("MATERIALIZE " + name + "\r\n"), Not(HasSubstr("rows, "))));
  quit(chat);
}

TEST_F(AtATerminal, RowsAreShownAnewDrawnAndWritten) {
  TerminalChild chat(command());
  chat.waitFor("> ");
  EXPECT_THAT(enter(chat, "/export x.csv"), HasSubstr("No statement has run yet."));
  askFor(chat, "SELECT name, id FROM people");
  EXPECT_THAT(enter(chat, "/rows 1"), AllOf(HasSubstr("Ann"), HasSubstr("2 more rows"), Not(HasSubstr("Bo"))));
  EXPECT_THAT(enter(chat, "/rows 40"), HasSubstr("Cy"));
  EXPECT_THAT(enter(chat, "/chart"), AllOf(HasSubstr("Ann"), HasSubstr("█")));
  for (const char* ending : {"csv", "json", "sql"}) {
    const std::string file = path(std::string("rows.") + ending);
    chat.type("/export " + file + "\n");
    EXPECT_THAT(chat.waitFor(" has 3 rows."), HasSubstr(" has 3 rows."));
    chat.waitFor("> ");
  }
  EXPECT_EQ(read("rows.csv"), "name,id\r\nAnn,1\r\nBo,2\r\nCy,3\r\n");
  EXPECT_THAT(read("rows.json"), HasSubstr(R"({"name":"Bo","id":2})"));
  EXPECT_THAT(read("rows.sql"), HasSubstr("INSERT INTO"));
  EXPECT_THAT(enter(chat, "/export rows.xls"), HasSubstr("rows.xls is not written: "));
  enter(chat, "/sql SELECT 'text'");
  EXPECT_THAT(enter(chat, "/chart"), HasSubstr("labels or dates beside it.\r\n"));
  quit(chat);
}

TEST_F(AtATerminal, RowsAreSharedOnlyAsTheyWereShownAndAgreedTo) {
  TerminalChild chat(command());
  chat.waitFor("> ");
  askFor(chat, "SELECT json FROM notes");
  chat.type("/share 1\n");
  EXPECT_THAT(chat.waitFor("[y/N] "), AllOf(HasSubstr("canary7f3e"), HasSubstr("Send this, 1 row of your database")));
  chat.type("n\n");
  waitForPrompt(chat);
  EXPECT_THAT(enter(chat, "/sent"), HasSubstr("0 rows."));
  EXPECT_THAT(everythingSent(server_), Not(HasSubstr("canary7f3e")));
  chat.type("/share 1\n");
  chat.waitFor("[y/N] ");
  scriptAnswer(server_, "I see.");
  chat.type("y\n");
  EXPECT_THAT(chat.waitFor("I see."), Not(HasSubstr("canary7f3e"))) << "it is shown once";
  waitForPrompt(chat);
  EXPECT_THAT(enter(chat, "/sent"), HasSubstr("; 1 row ("));
  EXPECT_THAT(everythingSent(server_), HasSubstr("canary7f3e"));
  quit(chat);
}

struct ConsentCase {
  const char* name;
  const char* reply;
  bool isSent;
};
class OwnWords : public AtATerminal, public testing::WithParamInterface<ConsentCase> {};

TEST_P(OwnWords, OfTheDatabaseGoOnlyWhenTheyWereShownAndAgreedTo) {
  TerminalChild chat(command());
  chat.waitFor("> ");
  EXPECT_THAT(askFor(chat, "SELECT 0x1234567890abcdef12", "[y/N] "),
              AllOf(HasSubstr("The database says: hex literal too big"), HasSubstr("may quote a value of a row")));
  scriptAnswer(server_, "I can't.");
  chat.type(GetParam().reply);
  waitForPrompt(chat);
  ASSERT_EQ(server_.requests().size(), 2U);
  EXPECT_EQ(server_.requests().back().body.find("hex literal too big") != std::string::npos, GetParam().isSent);
  quit(chat);
}

INSTANTIATE_TEST_SUITE_P(Answers, OwnWords,
                         testing::Values(ConsentCase{"yes", "y\n", true}, ConsentCase{"no", "n\n", false}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(AtATerminal, AKindOfErrorIsCounted) {
  TerminalChild chat(command());
  chat.waitFor("> ");
  answer("SELECT nam FROM people");
  askFor(chat, "SELECT name FROM people", "3 rows, ");
  waitForPrompt(chat);
  EXPECT_THAT(enter(chat, "/sent"), HasSubstr("1 kind of error"));
  quit(chat);
}

}  // namespace
