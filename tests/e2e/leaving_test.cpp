// What leaves this machine: it is told beforehand and afterwards, and no row is ever among it.
#include "scripted_answers.h"
#include "support/services.h"
#include "workplace.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kCanary = "canary7f3e";  // in each row

/// Rows in tables of all sorts, some where statements on them fail and quote them.
constexpr const char* kSql = R"(
CREATE TABLE customers (id INTEGER PRIMARY KEY, name TEXT, notes TEXT, size AS (length(name)));
CREATE TABLE codes (code TEXT PRIMARY KEY, n INTEGER CHECK (n > 0)) WITHOUT ROWID;
CREATE TABLE log (id INTEGER PRIMARY KEY AUTOINCREMENT, entry BLOB);
CREATE INDEX by_name ON customers (name, notes);
CREATE VIEW names AS SELECT name FROM customers;
CREATE VIEW broken AS SELECT json_extract(notes, name) AS value FROM customers;
CREATE TRIGGER refuse BEFORE DELETE ON customers BEGIN SELECT RAISE(ABORT, 'no'); END;
INSERT INTO customers (name, notes) VALUES ('canary7f3e-1', '{canary7f3e'), ('$[canary7f3e', '{"canary7f3e":1}');
INSERT INTO codes VALUES ('canary7f3e-2', 1);
INSERT INTO log (entry) VALUES (CAST('canary7f3e-3' AS BLOB));
ANALYZE;
)";

class Leaving : public Workplace {
 protected:
  std::string everythingSent() const { return ::everythingSent(server_); }

  std::string database_ = makeDatabase("rows.db", kSql);
  standin::Server server_;
};

class LeavingFor : public Leaving, public testing::WithParamInterface<TestedService> {
 protected:
  Command at(std::vector<std::string> arguments, std::string input = "") const {
    arguments.insert(arguments.begin(), {"--provider", GetParam().provider, "--host", server_.address()});
    std::vector<std::string> environment;
    if (GetParam().usesKey()) environment.push_back(GetParam().keyVariables.front() + "=" + kKey);
    return chat(std::move(arguments), std::move(environment), std::move(input));
  }
};

TEST_P(LeavingFor, AreNoRowsInAWholeConversation) {
  std::ifstream file(toPath(database_), std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  ASSERT_THAT(bytes, HasSubstr(kCanary)) << "there is something to find";

  TerminalChild chat(at({database_}));
  chat.waitFor("\n> ");
  for (const char* line :
       {"Who are the customers?", "/tables", "/tables broken", "Select json_extract(notes, name) from customers",
        "/context", "/sent", "/cost", "/new", "Delete all customers", "Show me the rows of broken", "/nothing"}) {
    enter(chat, line);
  }
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
  runCommand(at({database_}, "Which codes are there?\n\\d codes\nAnd in the log?\n"));
  runCommand(at({database_, "What do the names say?"}, "a line of text"));

  const std::string sent = everythingSent();
  for (const char* part : {"CREATE TABLE `customers`", "CREATE TABLE `codes`", "Show me the rows of broken",
                           "And in the log?", "a line of text"}) {
    EXPECT_THAT(sent, HasSubstr(part));
  }
  EXPECT_EQ(sent.find(kCanary), std::string::npos);
}

TEST_P(LeavingFor, AreNoValuesThatStatementsFailOver) {
  for (const char* sql : {
           "SELECT json_extract(notes, name) FROM customers",
           "SELECT json_extract('{}', code) FROM codes",
           "SELECT json(notes) FROM customers",
           "SELECT value FROM broken",
           "SELECT e.value FROM customers, json_each(notes) e",
           "SELECT name LIKE notes ESCAPE name FROM customers",
           "SELECT name, abs(-9223372036854775807 - 1) FROM customers",
           "SELECT name FROM customers WHERE name MATCH notes",
       }) {
    const std::size_t before = server_.requests().size();
    scriptAnswer(server_, GetParam(), fence(sql));
    scriptAnswer(server_, GetParam(), fence(sql));
    const ProgramRun run = runCommand(at({"--model", GetParam().model, database_, "What do they say?"}));
    EXPECT_EQ(run.code, 65) << sql << run.err;
    std::string told;
    for (std::size_t i = before; i < server_.requests().size(); ++i) told += server_.requests()[i].body;
    EXPECT_THAT(told, HasSubstr("The statement can't be run: ")) << sql;
  }
  EXPECT_EQ(everythingSent().find(kCanary), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Services, LeavingFor, testing::ValuesIn(allServices()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Leaving, AreNoRowsAfterFailedTurnsAndWithWhatIsSaved) {
  server_.script({});
  server_.script({.status = 500, .body = "{}", .headers = {}});
  const std::string kept = path("kept.json");
  runCommand(chatWith(server_, {"--model", kModel, "--save", kept, database_}, "Who?\nWhich broken ones?\nAnd now?\n"));
  runCommand(chatWith(server_, {"--restore", kept, "--save", kept, database_, "Who else?"}));
  EXPECT_THAT(server_.requests().back().body, AllOf(HasSubstr("And now?"), HasSubstr("Who else?")));
  EXPECT_EQ(everythingSent().find(kCanary), std::string::npos);
}

TEST_F(Leaving, IsToldAfterwards) {
  TerminalChild chat(chatWith(server_, {"--model", kModel, shop_}));
  chat.waitFor("\n> ");
  EXPECT_THAT(enter(chat, "/sent"), HasSubstr("Nothing has been sent yet."));
  enter(chat, "How many customers are there?");
  enter(chat, "How many orders are there?");
  const std::string told = enter(chat, "/sent");
  EXPECT_THAT(told,
              AllOf(HasSubstr("To OpenAI, http://127.0.0.1:"), HasSubstr("2 times structure and instructions"),
                    HasSubstr("1 time earlier turns"), HasSubstr("2 questions (55 bytes); 0 kinds of error; 0 rows.")));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Leaving, IsToldOfThePlaceThatARestoredConversationNames) {
  const standin::Server other;
  const std::string file =
      write("kept.json", R"({"api_host":")" + other.address() + R"(","model":"standin-small","messages":[]})");
  TerminalChild chat(chatWith(server_, {"--restore", file, shop_}));
  chat.waitFor("[y/N]");
  chat.type("y\n");
  chat.waitFor("\n> ");
  EXPECT_THAT(enter(chat, "/context"), HasSubstr("To: OpenAI, " + other.address()));
  enter(chat, "How many customers are there?");
  EXPECT_THAT(enter(chat, "/sent"), HasSubstr("To OpenAI, " + other.address() + ": 1 time structure"));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Leaving, IsToldOfEachServiceThatAnswered) {
  const standin::Server ollama;
  Command command = chatWith(server_, {"--model", kModel, shop_});
  command.environment.push_back("OLLAMA_HOST=" + ollama.address());
  TerminalChild chat(command);
  chat.waitFor("\n> ");
  enter(chat, "How many customers are there?");
  enter(chat, "/provider ollama");
  enter(chat, "How many orders are there?");
  EXPECT_THAT(enter(chat, "/sent"), AllOf(HasSubstr("To Ollama, " + ollama.address() + ": 1 time structure"),
                                          HasSubstr("To OpenAI, " + server_.address() + ": 1 time structure")));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
}

TEST_F(Leaving, IsToldBeforehandForTheNextQuestion) {
  TerminalChild chat(chatWith(server_, {"--model", kModel, shop_}));
  chat.waitFor("\n> ");
  EXPECT_THAT(enter(chat, "/context"),
              AllOf(HasSubstr("Model: standin-small"), HasSubstr("5 tables, 1 view, "), HasSubstr("Rows: none"),
                    HasSubstr("CREATE TABLE `customers`"), Not(HasSubstr("Earlier turns: "))));
  enter(chat, "How many customers are there?");
  EXPECT_THAT(enter(chat, "/context"), HasSubstr("Earlier turns: "));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_EQ(server_.requests().size(), 1U) << "telling asks nothing";
}

class DryRun : public Leaving {};

TEST_F(DryRun, TellsWhatWouldGoAndSendsNothing) {
  const ProgramRun outcome = runCommand(
      chatWith(server_, {"--dry-run", "--model", "m", "--instructions", "Be brief.", shop_, "Explain"}, "Error 42"));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.out, StartsWith("To: OpenAI, http://127.0.0.1:"));
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("\nModel: m\n"), HasSubstr("\nStructure: 5 tables, 1 view, "),
                                 HasSubstr("\nRows: none\n\nBe brief."), HasSubstr("CREATE TABLE `order_lines` ("),
                                 testing::EndsWith("\n\nExplain\n\nError 42\n")));
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(server_.connectionCount(), 0U);
}

TEST_F(DryRun, TellsWhatReallyGoes) {
  const std::vector<std::string> arguments{"--model", kModel, shop_, "How many customers are there?"};
  std::vector<std::string> dry = arguments;
  dry.insert(dry.begin(), "--dry-run");
  const std::string told = runCommand(chatWith(server_, dry)).out;
  runCommand(chatWith(server_, arguments));
  ASSERT_EQ(server_.requests().size(), 1U);
  const std::string structure =
      told.substr(told.find("CREATE TABLE"), told.find("CREATE VIEW") - told.find("CREATE TABLE"));
  ASSERT_GT(structure.size(), 500U);
  for (std::size_t begin = 0, end = 0; (end = structure.find('\n', begin)) != std::string::npos; begin = end + 1)
    EXPECT_THAT(server_.requests().front().body, HasSubstr(structure.substr(begin, end - begin)));
}

TEST_F(DryRun, WithoutAKeyNamesTheStandIn) {
  const ProgramRun outcome = runCommand(chat({"--dry-run", shop_}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.out, AllOf(StartsWith("To: OpenAI's stand-in inside this program\n"),
                                 HasSubstr("Model: chosen from the service's list; --model names one")));
  EXPECT_EQ(outcome.err, "");
}

TEST_F(DryRun, ShowsNoKeyThatTheQuestionHolds) {
  const ProgramRun outcome =
      runCommand(chatWith(server_, {"--dry-run", shop_, std::string("Is ") + kKey + " my key?"}));
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("Is [redacted] my key?"), Not(HasSubstr(kKey))));
}

TEST_F(DryRun, IsNotForWhatIsRestored) {
  EXPECT_EQ(runCommand(chatWith(server_, {"--dry-run", "--restore", "kept.json", shop_})).code, 64);
}

}  // namespace
