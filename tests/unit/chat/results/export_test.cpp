#include "results/export.h"

#include "results/sql_literal.h"
#include "support/temporary_folder.h"

#include <cf/json.h>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <bit>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>

namespace {

constexpr std::int64_t operator""_i(unsigned long long value) { return static_cast<std::int64_t>(value); }
std::string operator""_t(const char* text, std::size_t size) { return {text, size}; }
const std::monostate kNull;

const Result kSome{
    {"id", "na\"me", "id"},
    {{1_i, "a,\"b\"\r\nc"_t, kNull}, {-2_i, ""_t, 1.0}, {kNull, Blob{"\n\xff"}, 0.1}, {0_i, "=1+1"_t, " x"_t}},
    false,
    {}};

TEST(Csv, IsWrittenAsTheStandardHasIt) {
  EXPECT_EQ(writeCsv(kSome),
            "id,\"na\"\"me\",id\r\n"
            "1,\"a,\"\"b\"\"\r\nc\",\r\n"
            "-2,\"\",1.0\r\n"
            ",0AFF,0.1\r\n"
            "0,=1+1,\" x\"\r\n");
}

TEST(Json, IsAnObjectARowWithNamesThatDiffer) {
  EXPECT_EQ(writeJson(kSome),
            "[\n"
            R"({"id":1,"na\"me":"a,\"b\"\r\nc","id_2":null},)"
            "\n"
            R"({"id":-2,"na\"me":"","id_2":1.0},)"
            "\n"
            R"({"id":null,"na\"me":"0AFF","id_2":0.1},)"
            "\n"
            R"({"id":0,"na\"me":"=1+1","id_2":" x"})"
            "\n]\n");
}

TEST(Json, TellsNumbersThatAreNotFiniteAsNull) {
  const Result result{{"a", "b", "c"},
                      {{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN(),
                        std::numeric_limits<std::int64_t>::min()}},
                      false,
                      {}};
  EXPECT_EQ(writeJson(result), "[\n{\"a\":null,\"b\":null,\"c\":-9223372036854775808}\n]\n");
}

TEST(Json, IsValidWhateverBytesATextHolds) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  EXPECT_TRUE(COJson(writeJson({{all}, {{all}, {Blob{all}}}, false, {}})).getIsValidJson());
}

TEST(Json, KeepsNamesApartThatNumbersWouldMakeTheSame) {
  EXPECT_EQ(writeJson({{"a", "a", "a_2", "a", "a_2"}, {{1_i, 2_i, 3_i, 4_i, 5_i}}, false, {}}),
            "[\n{\"a\":1,\"a_3\":2,\"a_2\":3,\"a_4\":4,\"a_2_2\":5}\n]\n");
}

TEST(Writers, StandResultsWithoutRowsAndColumns) {
  EXPECT_EQ(writeCsv({}), "");
  EXPECT_EQ(writeJson({}), "[]\n");
  EXPECT_EQ(writeInserts({}, "t"), "");
  const Result noRows{{"a", ""}, {}, false, {}};
  EXPECT_EQ(writeCsv(noRows), "a,\"\"\r\n");
  EXPECT_EQ(writeJson(noRows), "[]\n");
  EXPECT_EQ(writeInserts(noRows, "t"), "");
}

TEST(Inserts, NameTableAndColumnsInQuotes) {
  EXPECT_EQ(writeInserts({{"a", "a"}, {{1_i, "it's"_t}}, false, {}}, "my \"t\""),
            "INSERT INTO \"my \"\"t\"\"\" (\"a\", \"a_2\") VALUES (1, 'it''s');\n");
}

/// A database in memory.
class Database {
 public:
  Database() {
    sqlite3* opened = nullptr;
    EXPECT_EQ(sqlite3_open(":memory:", &opened), SQLITE_OK);
    database_.reset(opened);
  }

  void run(const std::string& sql) {
    EXPECT_EQ(sqlite3_exec(database_.get(), sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(database_.get());
  }

  std::vector<std::vector<Value>> read(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(database_.get(), sql.c_str(), -1, &statement, nullptr), SQLITE_OK) << sql;
    std::vector<std::vector<Value>> rows;
    while (sqlite3_step(statement) == SQLITE_ROW) {
      rows.emplace_back();
      for (int i = 0; i < sqlite3_column_count(statement); ++i) rows.back().push_back(readValue(statement, i));
    }
    sqlite3_finalize(statement);
    return rows;
  }

 private:
  static Value readValue(sqlite3_stmt* statement, int i) {
    const auto bytes = [&] {
      const void* data = sqlite3_column_blob(statement, i);
      return std::string(static_cast<const char*>(data), static_cast<std::size_t>(sqlite3_column_bytes(statement, i)));
    };
    switch (sqlite3_column_type(statement, i)) {
      case SQLITE_INTEGER:
        return sqlite3_column_int64(statement, i);
      case SQLITE_FLOAT:
        return sqlite3_column_double(statement, i);
      case SQLITE_TEXT:
        return bytes();
      case SQLITE_BLOB:
        return Blob{sqlite3_column_bytes(statement, i) == 0 ? "" : bytes()};
      default:
        return std::monostate();
    }
  }

  std::unique_ptr<sqlite3, int (*)(sqlite3*)> database_{nullptr, sqlite3_close};
};

TEST(Inserts, GiveTheSameRowsWhenTheyAreLoaded) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  const Result result{{"a b", "\"", "order"},
                      {{kNull, std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()},
                       {"it's; --\n"_t, ""_t, "NULL"_t},
                       {"日本 👩🏽‍💻\u202E"_t, "a\0b"_t, "\xff\xC3("_t},
                       {Blob{all}, Blob{""}, all},
                       {1.0, -0.5, 1e22},
                       {0.1 + 0.2, std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min()},
                       {kInfinity, -kInfinity, std::numeric_limits<double>::min()},
                       {1e15, 123456789012345680.0, -1e20}},
                      false,
                      {}};
  Database database;
  database.run("CREATE TABLE \"x\"\"y\" (\"a b\", \"\"\"\", \"order\")");
  database.run(writeInserts(result, "x\"y"));
  EXPECT_EQ(database.read("SELECT * FROM \"x\"\"y\""), result.rows);
}

TEST(Inserts, GiveEveryDoubleBack) {
  constexpr int kTimes = 20000;
  std::mt19937_64 random(1);  // the same each time
  Database database;
  for (int i = 0; i < kTimes; ++i) {
    const std::uint64_t bits = random();
    const double any = std::bit_cast<double>(bits);
    const double usual = std::ldexp(static_cast<double>(bits >> 11U), static_cast<int>(bits % 128) - 110);
    for (const double value : {any, usual, static_cast<double>(bits % 1000000) / 100}) {
      if (!std::isfinite(value)) continue;
      const auto rows = database.read("SELECT " + sqlLiteral(value));
      ASSERT_EQ(rows.at(0).at(0), Value(value)) << sqlLiteral(value);
    }
  }
}

TEST(SqlLiteral, IsTheShortestDecimalWhereThatIsExact) {
  EXPECT_EQ(sqlLiteral(0.1), "0.1");
  EXPECT_EQ(sqlLiteral(75.0), "75.0");
  EXPECT_EQ(sqlLiteral(0.0), "0.0");
  EXPECT_EQ(sqlLiteral(std::numeric_limits<double>::quiet_NaN()), "NULL");
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

struct EndingCase {
  const char* name;
  std::string file;
  std::string content;
};
class Export : public testing::TestWithParam<EndingCase> {};

TEST_P(Export, TakesTheFormThatTheEndingNames) {
  const TemporaryFolder folder("qai-export");
  const std::string path = (folder.path() / GetParam().file).generic_string();
  EXPECT_EQ(exportResult({{"a"}, {{1_i}}, false, {}}, path), "");
  EXPECT_EQ(readFile(path), GetParam().content);
}

INSTANTIATE_TEST_SUITE_P(Endings, Export,
                         testing::Values(EndingCase{"csv", "my rows.csv", "a\r\n1\r\n"},
                                         EndingCase{"json", "rows.json", "[\n{\"a\":1}\n]\n"},
                                         EndingCase{"sql", "my rows.sql",
                                                    "INSERT INTO \"my rows\" (\"a\") VALUES (1);\n"},
                                         EndingCase{"capitals", "rows.CSV", "a\r\n1\r\n"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Export, NamesTheThreeEndingsForAnyOther) {
  const TemporaryFolder folder("qai-export");
  for (const std::string name : {"rows.xlsx", "rows", ".csv", "csv"}) {
    const std::string path = (folder.path() / name).generic_string();
    EXPECT_EQ(exportResult({}, path), "its name must end with .csv, .json or .sql, which tells the form") << name;
    EXPECT_FALSE(std::filesystem::exists(path)) << name;
  }
}

TEST(Export, SaysWhyAFileIsNotWritten) {
  const TemporaryFolder folder("qai-export");
  EXPECT_NE(exportResult({}, (folder.path() / "missing" / "rows.csv").generic_string()), "");
}

}  // namespace
