// What is said of texts that name no SQLite file.
#include "database_fixture.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class DatabaseText : public SqliteFile {
 protected:
  static std::string fail(const std::string& text, ExitCode code) {
    try {
      openDatabase(text, Access::Read);
    } catch (const DatabaseError& error) {
      EXPECT_EQ(error.exitCode, code);
      return error.what();
    }
    ADD_FAILURE() << text << " was opened";
    return "";
  }
};

struct AddressCase {
  const char* name;
  const char* text;
  const char* said;
};

class AddressOfAServer : public DatabaseText, public testing::WithParamInterface<AddressCase> {};

TEST_P(AddressOfAServer, IsSaidWithoutItsPassword) {
  const std::string said = fail(GetParam().text, ExitCode::NoInput);
  EXPECT_EQ(said, std::string(GetParam().said) + "; only SQLite files can be read now");
  EXPECT_THAT(said, Not(HasSubstr("secret")));
}

INSTANTIATE_TEST_SUITE_P(
    Forms, AddressOfAServer,
    testing::Values(
        AddressCase{"postgres", "postgres://u:secret@h/d", "This is the address of a PostgreSQL database"},
        AddressCase{"postgresql", "PostgreSQL://u:secret@h:5432/d?x=://",
                    "This is the address of a PostgreSQL database"},
        AddressCase{"mysql", "mysql://u:secret@h/d", "This is the address of a MySQL database"},
        AddressCase{"mariadb", "mariadb://u:secret@h/d", "This is the address of a MariaDB database"},
        AddressCase{"mssql", "mssql://sa:secret@h", "This is the address of a SQL Server database"},
        AddressCase{"mongodb", "mongodb+srv://u:secret@h/d", "This is the address of a MongoDB database"},
        AddressCase{"jdbc", "jdbc:mysql://h/d?password=secret", "This is the address of a MySQL database"},
        AddressCase{"driver", "postgresql+psycopg2://u:secret@h/d", "This is the address of a PostgreSQL database"},
        AddressCase{"unknown", "newdb://u:secret@h/d", "This is an address, not the path of a file"},
        AddressCase{"words", "host=h user=u password=secret", "This tells how to reach a database server"},
        AddressCase{"other_words", "Server=h;Uid=u;Pwd=secret;", "This tells how to reach a database server"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(DatabaseText, OfAFileToImportTellsHow) {
  write("a.csv", "x,y\n1,2\n");
  write("a.TSV", "x\ty\n");
  write("a.sql", "CREATE TABLE t(a);\n");
  EXPECT_EQ(fail(path("a.csv"), ExitCode::NotADatabase),
            path("a.csv") + " is a table as text, not a database. Make one of it: sqlite3 new.db '.import --csv \"" +
                path("a.csv") + "\" TABLE'");
  EXPECT_THAT(fail(path("a.TSV"), ExitCode::NotADatabase), HasSubstr("'.mode tabs' '.import \"" + path("a.TSV")));
  EXPECT_EQ(fail(path("a.sql"), ExitCode::NotADatabase),
            path("a.sql") + " is a script, not a database. Make one of it: sqlite3 new.db < \"" + path("a.sql") + "\"");
}

TEST_F(DatabaseText, OfAMissingFileToImportSaysThatItIsMissing) {
  EXPECT_THAT(fail(path("none.csv"), ExitCode::NoInput), HasSubstr("There is no file"));
}

TEST_F(DatabaseText, CountsLessThanWhatTheFileHolds) {
  writer("a.sql", kShop);
  EXPECT_EQ(openDatabase(path("a.sql"), Access::Read)->readDescription().schemas.front().tables.size(), 4U);
}

TEST_F(DatabaseText, MayHoldColonsAndWordsOfOthers) {
  writer("mysql", kShop);
  EXPECT_EQ(openDatabase(path("mysql"), Access::Read)->productName(), "SQLite");
}

}  // namespace
