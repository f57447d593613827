// The statements of answers, run by the program: rows, what fails, what is refused.
#include "scripted_answers.h"
#include "workplace.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kPeople = R"(
CREATE TABLE people (id INTEGER PRIMARY KEY, name TEXT, country TEXT);
INSERT INTO people VALUES (1, 'Ann', 'AT'), (2, 'Bo', 'CH'), (3, NULL, 'AT');
CREATE TABLE orders (id INTEGER PRIMARY KEY, person INTEGER REFERENCES people, total INTEGER);
INSERT INTO orders VALUES (1, 1, 10), (2, 1, 20);
CREATE TABLE lines (id INTEGER PRIMARY KEY, order_id INTEGER REFERENCES orders);
INSERT INTO lines VALUES (1, 1), (2, 1), (3, 2);
)";

class Running : public Workplace {
 protected:
  void answer(std::string_view sql) { scriptAnswer(server_, fence(sql)); }

  Command command(std::vector<std::string> arguments, std::string input = "") const {
    arguments.insert(arguments.begin(), {"--model", kModel});
    return chatWith(server_, std::move(arguments), std::move(input));
  }

  /// QUESTION mode.
  ProgramRun ask(std::vector<std::string> options = {}) const {
    options.insert(options.end(), {people_, "Who?"});
    return runCommand(command(std::move(options)));
  }

  std::string readBytes(const std::string& file) const {
    std::ifstream stream(toPath(file), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  std::string people_ = makeDatabase("people.db", kPeople);
  standin::Server server_;
};

TEST_F(Running, ShowsRowsBelowTheAnswer) {
  answer("SELECT name FROM people ORDER BY id");
  const ProgramRun run = ask();
  EXPECT_EQ(run.code, 0);
  EXPECT_THAT(run.out, testing::StartsWith("Here:\n```sql\nSELECT name FROM people ORDER BY id\n```\nname\n"));
  EXPECT_THAT(run.out, testing::ContainsRegex("\nAnn *\nBo *\nNULL\n3 rows, .+ ms\n"));
  EXPECT_EQ(run.err, "");
}

TEST_F(Running, OfPipedLinesShowsRowsBelowEachAnswer) {
  answer("SELECT 'first' AS which");
  answer("SELECT 'second' AS which");
  const ProgramRun run = runCommand(command({people_}, "One?\nTwo?\n"));
  EXPECT_EQ(run.code, 0);
  EXPECT_THAT(run.out, HasSubstr("1 row, "));
  EXPECT_LT(run.out.find("\nfirst\n"), run.out.find("SELECT 'second'"));
  EXPECT_LT(run.out.find("SELECT 'second'"), run.out.find("\nsecond\n"));
}

TEST_F(Running, OfNamedStatementsInAPipeTellsTheirFailureAtTheEnd) {
  answer("SELECT name FROM people");
  EXPECT_EQ(runCommand(command({people_}, "Who?\n/run\n/sql SELECT 1\n")).code, 0);
  for (const char* line : {"/sql SELECT nam FROM people\n/sql SELECT 1\n", "/sql DELETE FROM people\n"}) {
    const ProgramRun run = runCommand(command({people_}, line));
    EXPECT_EQ(run.code, 65) << line;
    EXPECT_THAT(run.err, HasSubstr("The statement ")) << line;
  }
}

struct FormatCase {
  const char* name;
  const char* option;
  const char* sql;
  const char* out;
};
class RowsAlone : public Running, public testing::WithParamInterface<FormatCase> {};

TEST_P(RowsAlone, AreTheOutput) {
  answer(GetParam().sql);
  const ProgramRun run = ask({GetParam().option});
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.out, GetParam().out);
  EXPECT_THAT(run.err, HasSubstr("```sql\nSELECT ")) << "the answer is there";
}

INSTANTIATE_TEST_SUITE_P(
    Formats, RowsAlone,
    testing::Values(FormatCase{"csv", "--csv", "SELECT id, name FROM people", "id,name\r\n1,Ann\r\n2,Bo\r\n3,\r\n"},
                    FormatCase{"json", "--json", "SELECT id, name FROM people WHERE id > 1",
                               "[\n{\"id\":2,\"name\":\"Bo\"},\n{\"id\":3,\"name\":null}\n]\n"},
                    FormatCase{"csv_of_two", "--csv", "SELECT 1 AS a; SELECT 2 AS b", "a\r\n1\r\n\r\nb\r\n2\r\n"},
                    FormatCase{"json_of_two", "--json", "SELECT 1 AS a; SELECT 2 AS b",
                               "[\n{\"a\":1}\n]\n[\n{\"b\":2}\n]\n"}),
    [](const auto& row) { return std::string(row.param.name); });

struct ModeCase {
  const char* name;
  const char* mode;
  const char* told;
};
class NotAtOnce : public Running, public testing::WithParamInterface<ModeCase> {};

TEST_P(NotAtOnce, RunsNothingForAQuestion) {
  answer("SELECT 6 * 7");
  const ProgramRun run = ask({"--run", GetParam().mode});
  EXPECT_EQ(run.code, 0);
  EXPECT_THAT(run.out, AllOf(HasSubstr("6 * 7"), Not(HasSubstr("42"))));
  EXPECT_EQ(run.err, GetParam().told);
}

INSTANTIATE_TEST_SUITE_P(Modes, NotAtOnce,
                         testing::Values(ModeCase{"never", "never", "The statement was checked, not run.\n"},
                                         ModeCase{"ask", "ask",
                                                  "The statement was not run; nobody is here to agree.\n"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Running, GivesAFailedStatementBackOnce) {
  answer("SELECT nam FROM people");
  answer("SELECT name FROM people WHERE id = 2");
  const ProgramRun run = ask();
  EXPECT_EQ(run.code, 0);
  EXPECT_THAT(run.out, HasSubstr("\nBo"));
  ASSERT_EQ(server_.requests().size(), 2U);
  EXPECT_THAT(server_.requests().back().body, HasSubstr("there is no such column: nam. Write it anew"));
}

TEST_F(Running, OfAStatementThatFailsAgainTellsBothReasonsAndEndsSo) {
  answer("SELECT nam FROM people");
  answer("SELECT nome FROM people");
  const ProgramRun run = ask();
  EXPECT_EQ(run.code, 65);
  EXPECT_THAT(run.err, AllOf(HasSubstr("First: The statement can't be run: "), HasSubstr("nam)"),
                             HasSubstr("Then: The statement can't be run: "), HasSubstr("nome)")));
  EXPECT_EQ(server_.requests().size(), 2U);
}

struct RefusedCase {
  const char* name;
  std::vector<std::string> options;
  std::string sql;
  const char* told;
};
class Refusing : public Running, public testing::WithParamInterface<RefusedCase> {};

TEST_P(Refusing, TellsWhyAndLeavesTheFileAsItIs) {
  const std::string before = readBytes(people_);
  answer(GetParam().sql);
  const ProgramRun run = ask(GetParam().options);
  EXPECT_EQ(run.code, 65);
  EXPECT_THAT(run.err, HasSubstr(GetParam().told));
  EXPECT_THAT(run.out, Not(HasSubstr(" ms\n")));
  EXPECT_EQ(server_.requests().size(), 1U) << "the service is not told of it";
  EXPECT_EQ(readBytes(people_), before);
}

INSTANTIATE_TEST_SUITE_P(
    Statements, Refusing,
    testing::Values(
        RefusedCase{
            "that_write_what_is_read_only", {}, "DELETE FROM people", "and the database is not open for writing"},
        RefusedCase{"that_write_where_nobody_can_agree", {"--write"}, "DELETE FROM people", "nobody is here to agree"},
        RefusedCase{"that_attach", {"--write"}, "ATTACH 'other.db' AS other", "The statement is not run: "},
        RefusedCase{"with_a_nul", {}, std::string("SELECT 1 \0 FROM people", 22), "It has a NUL character"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Running, OfSeveralStatementsThatOneIsRefusedIsTheEndThoughOthersGaveRows) {
  answer("SELECT name FROM people WHERE id = 2; DELETE FROM people; SELECT 6 * 7");
  const ProgramRun run = ask();
  EXPECT_EQ(run.code, 65);
  EXPECT_THAT(run.out, AllOf(HasSubstr("\nBo"), HasSubstr("42")));
  EXPECT_THAT(run.err, HasSubstr("Statement 2 is not run: "));
}

TEST_F(Running, OfAPipeThatAStatementIsRefusedIsTheEndThoughTheNextQuestionIsFine) {
  answer("DELETE FROM people");
  answer("SELECT 6 * 7");
  const ProgramRun run = runCommand(command({people_}, "Who?\nWhat?\n"));
  EXPECT_EQ(run.code, 65);
  EXPECT_THAT(run.out, HasSubstr("42"));
}

TEST_F(Running, RefusesNothingThatIsNotToRun) {
  answer("DELETE FROM people");
  const ProgramRun run = ask({"--run", "never"});
  EXPECT_EQ(run.code, 0);
  EXPECT_THAT(run.err, HasSubstr("The statement is not run: "));
}

TEST_F(Running, ForgetsARefusalWithTheAnswerThatIsWrittenAnew) {
  answer("DELETE FROM people; SELECT nam FROM people");
  answer("SELECT name FROM people WHERE id = 2");
  EXPECT_EQ(ask().code, 0);
}

TEST_F(Running, MarksHiddenCharactersOfStatements) {
  answer("SELECT 'a' AS \"b\u202E\"");
  EXPECT_THAT(ask().err, AllOf(HasSubstr("characters that hide or reorder"), HasSubstr("⟨U+202E⟩")));
}

TEST_F(Running, MarksHiddenCharactersOfRows) {
  answer("SELECT 'a' || char(8238, 27) || 'b' AS text");
  EXPECT_THAT(ask().out, AllOf(HasSubstr("⟨U+202E⟩"), Not(HasSubstr("\u202E")), Not(HasSubstr("\x1b"))));
}

TEST_F(Running, TellsWhichTextIsNowhere) {
  answer("SELECT name FROM people WHERE country = 'Germany'");
  EXPECT_THAT(ask().err, HasSubstr("No row of people has country 'Germany'; there are 'AT', 'CH'"));
}

TEST_F(Running, TellsThatAJoinRepeatsWhatIsSummed) {
  answer("SELECT sum(o.total) FROM orders o JOIN lines l ON l.order_id = o.id");
  EXPECT_THAT(ask().err, HasSubstr("sum(o.total) counts rows of o more than once: a join repeats them"));
}

}  // namespace
