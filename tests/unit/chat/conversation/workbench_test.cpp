#include "conversation/workbench.h"

#include "conversation/conversation.h"
#include "conversation/mending.h"
#include "lost_database.h"
#include "support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <sstream>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kPeople =
    "CREATE TABLE people (id INTEGER PRIMARY KEY, name TEXT, country TEXT);"
    "INSERT INTO people VALUES (1, 'Ann', 'AT'), (2, 'Bo', 'CH'), (3, NULL, 'AT');"
    "CREATE TABLE orders (id INTEGER PRIMARY KEY, person INTEGER REFERENCES people, total INTEGER);"
    "INSERT INTO orders VALUES (1, 1, 10), (2, 1, 20);"
    "CREATE TABLE lines (id INTEGER PRIMARY KEY, order_id INTEGER REFERENCES orders);"
    "INSERT INTO lines VALUES (1, 1), (2, 1), (3, 2);"
    "CREATE TABLE notes (id INTEGER PRIMARY KEY, json TEXT); INSERT INTO notes VALUES (1, 'secret Ann');";

std::string fenced(const std::string& sql) { return "Here:\n```sql\n" + sql + "\n```\n"; }

/// Gives the answers it was made with, one after the other.
class ScriptedAnswerer : public Answerer {
 public:
  std::string startConversation() override { return ""; }
  Answer ask(const Inquiry& inquiry) override {
    inquiries.push_back(inquiry);
    return {.text = next.at(inquiries.size() - 1)};
  }
  Answer askInPieces(const Inquiry& inquiry, const ShowPiece& /*show*/) override { return ask(inquiry); }
  ExitCode failureCode() const override { return ExitCode::ServiceFailed; }

  std::vector<std::string> next;
  std::vector<Inquiry> inquiries;
};

class AtTheWorkbench : public testing::Test {
 protected:
  AtTheWorkbench() {
    sqlite3* made = nullptr;
    EXPECT_EQ(sqlite3_open(path().c_str(), &made), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(made, kPeople, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(made);
    sqlite3_close(made);
  }

  std::string path() const { return toText(folder_.path() / "people.db"); }

  Workbench& open(WorkbenchOptions options = {}, Access access = Access::Read) {
    database_ = openDatabase(path(), access);
    bench_ = std::make_unique<Workbench>(
        *database_, database_->readDescription(), options,
        WorkbenchSetting{.streams = streams(), .runQuery = runPlainly, .agree = agree_, .width = {}});
    return *bench_;
  }

  Streams streams() { return {in_, out_, err_}; }

  static bool runPlainly(const std::function<void()>& work) {
    work();
    return false;
  }

  /// From here on each question gets the next of `replies`.
  void agreeTo(std::vector<bool> replies) {
    replies_ = std::move(replies);
    agree_ = [this](const std::string& question) {
      asked_.push_back(question);
      return replies_.at(asked_.size() - 1);
    };
  }

  std::string count(const std::string& table) {
    Workbench& bench = open();
    out_.str("");
    bench.run("SELECT count(*) FROM " + table);
    return out_.str();
  }

  TemporaryFolder folder_{"qai-workbench"};
  std::istringstream in_;
  std::ostringstream out_;
  std::ostringstream err_;
  std::vector<bool> replies_;
  std::vector<std::string> asked_;
  Agree agree_;
  std::unique_ptr<Database> database_;
  std::unique_ptr<Workbench> bench_;
};

TEST_F(AtTheWorkbench, WhatReadsRunsAtOnce) {
  EXPECT_FALSE(open().take(fenced("SELECT name FROM people ORDER BY id;")));
  EXPECT_THAT(out_.str(), testing::AllOf(HasSubstr("Ann"), HasSubstr("NULL"), HasSubstr("3 rows, ")));
  EXPECT_EQ(err_.str(), "");
}

TEST_F(AtTheWorkbench, SeveralStatementsAreCalledByTheirNumbers) {
  Workbench& bench = open();
  EXPECT_FALSE(bench.take(fenced("SELECT 11; SELECT 22;")));
  EXPECT_EQ(bench.size(), 2U);
  EXPECT_THAT(out_.str(), HasSubstr("Statement 1:\n"));
  EXPECT_THAT(out_.str(), HasSubstr("Statement 2:\n"));
}

TEST_F(AtTheWorkbench, AnAnswerWithoutStatementsRunsNothing) {
  EXPECT_FALSE(open().take("There are three people."));
  EXPECT_EQ(out_.str() + err_.str(), "");
}

TEST_F(AtTheWorkbench, NeverRunsWhatTheUserDidNotName) {
  Workbench& bench = open({.mode = RunMode::Never});
  EXPECT_FALSE(bench.take(fenced("SELECT name FROM people")));
  EXPECT_EQ(out_.str(), "");
  EXPECT_THAT(err_.str(), HasSubstr("/run"));
  bench.run(bench.statement(1));
  EXPECT_THAT(out_.str(), HasSubstr("Ann"));
}

TEST_F(AtTheWorkbench, AsksFirstWhereThatIsWanted) {
  agreeTo({false, true});
  Workbench& bench = open({.mode = RunMode::Ask});
  EXPECT_FALSE(bench.take(fenced("SELECT name FROM people")));
  EXPECT_EQ(out_.str(), "");
  EXPECT_FALSE(bench.take(fenced("SELECT name FROM people")));
  EXPECT_THAT(out_.str(), HasSubstr("Ann"));
  EXPECT_EQ(asked_.size(), 2U);
}

TEST_F(AtTheWorkbench, AskingNobodyRunsNothing) {
  EXPECT_FALSE(open({.mode = RunMode::Ask}).take(fenced("SELECT name FROM people")));
  EXPECT_EQ(out_.str(), "");
  EXPECT_THAT(err_.str(), HasSubstr("nobody is here to agree"));
}

TEST_F(AtTheWorkbench, WhatWouldWriteIsNotRunOnWhatIsReadOnly) {
  Workbench& bench = open();
  EXPECT_FALSE(bench.take(fenced("DELETE FROM people")));
  EXPECT_TRUE(bench.hasRefused());
  EXPECT_THAT(err_.str(), StartsWith("qai-chat: The statement is not run: "));
  EXPECT_THAT(count("people"), HasSubstr("3"));
}

struct WriteCase {
  const char* name;
  std::vector<bool> replies;
  const char* told;
  const char* left;
};

class Writing : public AtTheWorkbench, public testing::WithParamInterface<WriteCase> {};

TEST_P(Writing, IsKeptOnlyWhenTheNumberOfRowsIsAgreedTo) {
  agreeTo(GetParam().replies);
  Workbench& bench = open({.writes = true}, Access::Write);
  EXPECT_FALSE(bench.take(fenced("DELETE FROM people WHERE country = 'AT' AND id > 1")));
  EXPECT_FALSE(bench.hasRefused());
  EXPECT_THAT(err_.str(), HasSubstr(GetParam().told));
  EXPECT_EQ(asked_.size(), GetParam().replies.size());
  EXPECT_THAT(count("people"), HasSubstr(GetParam().left));
}

INSTANTIATE_TEST_SUITE_P(Replies, Writing,
                         testing::Values(WriteCase{"refused", {false}, "", "3"},
                                         WriteCase{"taken_back", {true, false}, "Taken back: 1 row.", "3"},
                                         WriteCase{"kept", {true, true}, "Kept: 1 row.", "2"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(AtTheWorkbench, WritingNeedsSomebodyToAgree) {
  Workbench& bench = open({.writes = true}, Access::Write);
  EXPECT_FALSE(bench.take(fenced("DELETE FROM people")));
  EXPECT_TRUE(bench.hasRefused());
  EXPECT_THAT(err_.str(), HasSubstr("nobody is here to agree"));
  EXPECT_THAT(count("people"), HasSubstr("3"));
}

TEST_F(AtTheWorkbench, ARefusalIsOfTheStatementsThatRanLast) {
  Workbench& bench = open();
  EXPECT_FALSE(bench.hasRefused());
  EXPECT_FALSE(bench.take(fenced("DELETE FROM people; SELECT 1")));
  EXPECT_TRUE(bench.hasRefused());
  EXPECT_FALSE(bench.take(fenced("SELECT 1")));
  EXPECT_FALSE(bench.hasRefused());
}

TEST_F(AtTheWorkbench, ANamedStatementTellsWhetherItRan) {
  for (const RunMode mode : {RunMode::Auto, RunMode::Never}) {
    Workbench& bench = open({.mode = mode});
    EXPECT_TRUE(bench.run("SELECT 1"));
    EXPECT_FALSE(bench.run("SELECT nam FROM people; SELECT 1"));
    EXPECT_FALSE(bench.run("DELETE FROM people"));
    EXPECT_TRUE(bench.run("SELECT 1; SELECT 2"));
  }
}

TEST_F(AtTheWorkbench, NothingIsRefusedThatIsNotToRun) {
  Workbench& never = open({.mode = RunMode::Never});
  EXPECT_FALSE(never.take(fenced("DELETE FROM people")));
  EXPECT_FALSE(never.hasRefused());
  Workbench& asking = open({.mode = RunMode::Ask});
  EXPECT_FALSE(asking.take(fenced("SELECT 1")));
  EXPECT_FALSE(asking.hasRefused());
}

TEST_F(AtTheWorkbench, HiddenCharactersAreShownBeforeAStatementRuns) {
  EXPECT_FALSE(open().take(fenced("SELECT name FROM people -- \u202Eeht")));
  EXPECT_THAT(err_.str(), HasSubstr("characters that hide or reorder"));
  EXPECT_THAT(err_.str(), HasSubstr("⟨U+202E⟩"));
}

TEST_F(AtTheWorkbench, RowsForProgramsAreTheOutputAlone) {
  EXPECT_FALSE(open({.format = RowFormat::CSV}).take(fenced("SELECT id, name FROM people WHERE id < 3")));
  EXPECT_EQ(out_.str(), "id,name\r\n1,Ann\r\n2,Bo\r\n");
  out_.str("");
  EXPECT_FALSE(open({.format = RowFormat::JSON}).take(fenced("SELECT id FROM people WHERE id = 3")));
  EXPECT_THAT(out_.str(), HasSubstr("{\"id\":3}"));
}

TEST_F(AtTheWorkbench, WhereNothingCanBeNamedNeverIsNoWordOfCommands) {
  EXPECT_FALSE(open({.mode = RunMode::Never, .hasCommands = false}).take(fenced("SELECT name FROM people")));
  EXPECT_EQ(err_.str(), "The statement was checked, not run.\n");
}

TEST_F(AtTheWorkbench, ResultsForProgramsAreToldApart) {
  EXPECT_FALSE(open({.format = RowFormat::CSV}).take(fenced("SELECT 1 AS a; SELECT 2 AS b")));
  EXPECT_EQ(out_.str(), "a\r\n1\r\n\r\nb\r\n2\r\n");
}

TEST_F(AtTheWorkbench, AnEmptyResultTellsWhichTextIsNowhere) {
  EXPECT_FALSE(open().take(fenced("SELECT name FROM people WHERE country = 'Germany'")));
  EXPECT_THAT(err_.str(), HasSubstr("No row of people has country 'Germany'; there are 'AT', 'CH'"));
}

TEST_F(AtTheWorkbench, ARepeatedSumIsTold) {
  EXPECT_FALSE(open().take(fenced("SELECT sum(o.total) FROM orders o JOIN lines l ON l.order_id = o.id")));
  EXPECT_THAT(err_.str(), HasSubstr("counts rows of o more than once"));
}

TEST_F(AtTheWorkbench, WhatIsFineRaisesNoDoubt) {
  EXPECT_FALSE(open().take(fenced("SELECT sum(total) FROM orders")));
  EXPECT_EQ(err_.str(), "");
}

class Mending : public AtTheWorkbench {
 protected:
  bool work(const std::string& first, std::vector<std::string> next) {
    answerer_.next = std::move(next);
    Streams all = streams();
    const TurnRunner run = runPlainly;
    return runStatements(open(), first, {.answerer = answerer_, .streams = all, .runTurn = run});
  }

  ScriptedAnswerer answerer_;
};

TEST_F(Mending, WhatFailsIsAskedForOnceMoreInOurWords) {
  EXPECT_TRUE(work(fenced("SELECT nam FROM people"), {fenced("SELECT name FROM people")}));
  ASSERT_EQ(answerer_.inquiries.size(), 1U);
  EXPECT_THAT(answerer_.inquiries.front().text, testing::AllOf(HasSubstr("no such column"), HasSubstr("nam")));
  EXPECT_EQ(answerer_.inquiries.front().matter, Matter::KindOfError);
  EXPECT_THAT(out_.str(), HasSubstr("Ann"));
}

TEST_F(Mending, ASecondFailureShowsBoth) {
  EXPECT_FALSE(work(fenced("SELECT nam FROM people"), {fenced("SELECT nome FROM people")}));
  EXPECT_EQ(answerer_.inquiries.size(), 1U);
  EXPECT_THAT(err_.str(),
              testing::AllOf(HasSubstr("First: "), HasSubstr("nam"), HasSubstr("Then: "), HasSubstr("nome")));
}

TEST_F(Mending, WhatIsRefusedIsNotAskedForAnew) {
  EXPECT_FALSE(work(fenced("DELETE FROM people"), {}));
  EXPECT_THAT(answerer_.inquiries, IsEmpty());
}

TEST_F(Mending, TheDatabasesWordsStayHere) {
  EXPECT_FALSE(work(fenced("SELECT json_extract('{}', (SELECT json FROM notes))"), {"No idea."}));
  ASSERT_EQ(answerer_.inquiries.size(), 1U);
  EXPECT_THAT(answerer_.inquiries.front().text, Not(HasSubstr("Ann")));
  EXPECT_THAT(err_.str(), HasSubstr("secret Ann")) << "the user sees them";
}

TEST_F(AtTheWorkbench, ADatabaseThatIsLostIsTheCallersMatter) {
  LostDatabase lost;
  Workbench bench(lost, {}, {}, {.streams = streams(), .runQuery = runPlainly});
  EXPECT_THROW(bench.take(fenced("SELECT 1")), DatabaseError);
  EXPECT_THROW(bench.run("SELECT 1"), DatabaseError);
  EXPECT_THROW(bench.explain("SELECT 1"), DatabaseError);
}

}  // namespace
