// Statements that write, where that is allowed: counted, confirmed, or taken back.
#include "database_fixture.h"

namespace {

using testing::HasSubstr;

class WritableFile : public DatabaseFile {
 protected:
  Written write(const std::string& sql, bool isKept) {
    return database().runWriting(sql, RunLimits(), [=](std::int64_t) { return isKept; });
  }

  QueryProblem failToWrite(const std::string& sql) {
    try {
      write(sql, true);
    } catch (const QueryError& error) {
      return error.problem;
    }
    ADD_FAILURE() << sql << " was run";
    return QueryProblem::Other;
  }

  std::size_t count(const std::string& table) { return run("SELECT 1 FROM " + table).rows.size(); }
};

TEST_F(WritableFile, IsChangedWhenTheNumberOfRowsIsConfirmed) {
  open(kShop, Access::Write);
  EXPECT_EQ(database().check("DELETE FROM lines").reason, "It would delete rows of lines");
  std::int64_t told = 0;
  const Written written =
      database().runWriting("DELETE FROM lines WHERE quantity = 1", RunLimits(), [&](std::int64_t rows) {
        told = rows;
        return true;
      });
  EXPECT_TRUE(written.isKept);
  EXPECT_EQ(told, 2);
  EXPECT_EQ(written.changedRows, 2);
  EXPECT_EQ(count("lines"), 2U);
}

TEST_F(WritableFile, IsAsBeforeWhenItIsNot) {
  open(kShop, Access::Write);
  const auto before = contents();
  const Written written = write("DELETE FROM lines", false);
  EXPECT_FALSE(written.isKept);
  EXPECT_EQ(written.changedRows, 4);
  EXPECT_EQ(count("lines"), 4U);
  EXPECT_EQ(contents(), before);
}

TEST_F(WritableFile, IsAsBeforeWhenTheOneWhoConfirmsThrows) {
  open(kShop, Access::Write);
  EXPECT_THROW(database().runWriting("DELETE FROM lines", RunLimits(), [](std::int64_t) -> bool { throw 1; }), int);
  EXPECT_EQ(count("lines"), 4U);
  EXPECT_TRUE(write("DELETE FROM lines", true).isKept);
}

TEST_F(WritableFile, RowsThatTriggersAndForeignKeysChangeAreCounted) {
  open(std::string(kShop) +
           "DELETE FROM lines; CREATE TABLE log(a);"
           "CREATE TRIGGER t AFTER DELETE ON customers BEGIN INSERT INTO log VALUES(old.name); END",
       Access::Write);
  EXPECT_EQ(write("DELETE FROM customers WHERE id = 1", false).changedRows, 4) << "a customer, two orders, an entry";
}

TEST_F(WritableFile, GivesWhatReturningClausesTell) {
  open(kShop, Access::Write);
  RunLimits limits;
  limits.rows = 1;
  const Written written = database().runWriting("UPDATE lines SET quantity = 9 RETURNING product", limits,
                                                [](std::int64_t) { return true; });
  EXPECT_EQ(written.result.rows.size(), 1U);
  EXPECT_TRUE(written.result.isCut);
  EXPECT_EQ(written.changedRows, 4);
  EXPECT_EQ(run("SELECT 1 FROM lines WHERE quantity = 9").rows.size(), 4U) << "all were changed";
}

TEST_F(WritableFile, ItsStructureCanBeChangedAndThatTakenBack) {
  open(kShop, Access::Write);
  EXPECT_EQ(write("CREATE TABLE n(a)", false).changedRows, 0);
  EXPECT_TRUE(fail("SELECT * FROM n"));
  EXPECT_TRUE(write("CREATE TABLE n(a)", true).isKept);
  EXPECT_FALSE(fail("SELECT * FROM n"));
  EXPECT_EQ(database().readDescription().schemas.front().tables.size(), 5U);
}

TEST_F(WritableFile, StillRefusesWhatCannotBeTakenBack) {
  open(kShop, Access::Write);
  const auto before = contents();
  for (const char* sql : {"VACUUM", "VACUUM INTO 'b.db'", "ATTACH 'b.db' AS b", "COMMIT", "PRAGMA user_version=7",
                          "DELETE FROM lines; COMMIT", "SELECT 1", "SELECT load_extension('x')"})
    EXPECT_EQ(failToWrite(sql), QueryProblem::NotAllowed) << sql;
  EXPECT_EQ(contents(), before);
}

TEST_F(WritableFile, IsNotWrittenByWhatIsRunToRead) {
  open(kShop, Access::Write);
  EXPECT_EQ(fail("DELETE FROM lines").value().problem, QueryProblem::NotAllowed);
  EXPECT_EQ(count("lines"), 4U);
}

TEST_F(WritableFile, ConflictsTakeAllBack) {
  open(kShop, Access::Write);
  EXPECT_EQ(failToWrite("INSERT OR ROLLBACK INTO customers(id) VALUES(50), (1)"), QueryProblem::Constraint);
  EXPECT_EQ(failToWrite("INSERT OR FAIL INTO customers(id) VALUES(50), (1)"), QueryProblem::Constraint);
  EXPECT_EQ(failToWrite("DELETE FROM orders"), QueryProblem::Constraint) << "lines name them";
  EXPECT_EQ(count("customers"), 3U);
  EXPECT_EQ(count("orders"), 3U);
  EXPECT_TRUE(write("DELETE FROM lines", true).isKept) << "the next is not in the way of that";
}

TEST_F(WritableFile, ConflictsThatShowAtTheEndTakeAllBack) {
  open("CREATE TABLE p(id INTEGER PRIMARY KEY); CREATE TABLE c(p REFERENCES p DEFERRABLE INITIALLY DEFERRED)",
       Access::Write);
  EXPECT_EQ(failToWrite("INSERT INTO c VALUES(5)"), QueryProblem::Constraint);
  EXPECT_EQ(count("c"), 0U);
}

TEST_F(WritableFile, AnInterruptWhileTheUserThinksTakesAllBack) {
  open(kShop, Access::Write);
  const Confirm confirm = [&](std::int64_t) {
    database().interrupt();
    return true;
  };
  try {
    database().runWriting("DELETE FROM lines", RunLimits(), confirm);
    ADD_FAILURE() << "it was kept";
  } catch (const QueryError& error) {
    EXPECT_EQ(error.problem, QueryProblem::Interrupted);
  }
  database().dropLateInterrupt();
  EXPECT_EQ(count("lines"), 4U);
}

TEST_F(WritableFile, ADeadlineTakesAllBack) {
  open(kShop, Access::Write);
  RunLimits limits;
  limits.deadline = std::chrono::milliseconds(50);
  try {
    database().runWriting(
        "INSERT INTO lines WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n) SELECT 1, 'a', i FROM n",
        limits, [](std::int64_t) { return true; });
    ADD_FAILURE() << "it ended";
  } catch (const QueryError& error) {
    EXPECT_EQ(error.problem, QueryProblem::TooLong);
  }
  EXPECT_EQ(count("lines"), 4U);
}

TEST_F(WritableFile, InWriteAheadModeIsTidiedUp) {
  writer("w.db", std::string("PRAGMA journal_mode=WAL;") + kShop);
  {
    const auto opened = openDatabase(path("w.db"), Access::Write);
    opened->runWriting("DELETE FROM lines", RunLimits(), [](std::int64_t) { return true; });
    EXPECT_TRUE(opened->run("SELECT 1 FROM lines", RunLimits()).rows.empty());
  }
  EXPECT_EQ(contents().size(), 1U);
}

TEST_F(WritableFile, LockedByAnotherProgramIsSaid) {
  open(kShop, Access::Write);
  const SqliteConnection other = writer("a.db", "BEGIN IMMEDIATE");
  EXPECT_EQ(failToWrite("DELETE FROM lines"), QueryProblem::Locked);
}

TEST_F(WritableFile, WithoutPermissionIsSaidWhenItIsOpened) {
  writer("a.db", kShop);
  std::filesystem::permissions(toPath(path("a.db")), std::filesystem::perms::owner_read);
  if (std::ofstream(toPath(path("a.db")), std::ios::app)) GTEST_SKIP() << "this user may write all files";
  try {
    openDatabase(path("a.db"), Access::Write);
    ADD_FAILURE() << "it was opened";
  } catch (const DatabaseError& error) {
    EXPECT_EQ(error.exitCode, ExitCode::NoInput);
    EXPECT_THAT(error.what(), HasSubstr("can't be written"));
  }
  EXPECT_NO_THROW(openDatabase(path("a.db"), Access::Read));
}

}  // namespace
