// A statement, as a service may propose it, on a database that is open for reading: whatever it is, it changes nothing,
// reaches nothing else and ends in time.
#include "ascii_case.h"
#include "chat/processor_time.h"
#include "chat/targets.h"
#include "chat/watched_files.h"
#include "databases/database.h"
#include "expect.h"
#include "support/temporary_folder.h"

#include <sqlite3.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

namespace {

constexpr std::string_view kSecret = "canary7f3a";  // a value of rows that must not be told with an error

constexpr const char* kSample = R"(
  CREATE TABLE customers(id INTEGER PRIMARY KEY, name TEXT UNIQUE, country TEXT, data TEXT, photo BLOB,
                         initial AS (substr(name, 1, 1)));
  CREATE TABLE orders(id INTEGER PRIMARY KEY, customer INT REFERENCES customers ON DELETE CASCADE, total REAL);
  CREATE TABLE keyed(code TEXT PRIMARY KEY, amount INT CHECK (amount > 0)) WITHOUT ROWID;
  CREATE TABLE counted(id INTEGER PRIMARY KEY AUTOINCREMENT, a);
  CREATE VIEW totals AS SELECT name, sum(total) AS total FROM orders JOIN customers c ON c.id = customer GROUP BY 1;
  CREATE INDEX by_country ON customers(lower(country)) WHERE country IS NOT NULL;
  CREATE TRIGGER counting AFTER INSERT ON orders BEGIN INSERT INTO counted(a) VALUES(new.id); END;
  CREATE VIRTUAL TABLE notes USING fts5(text);
  CREATE VIRTUAL TABLE old USING fts4(text);
  CREATE VIRTUAL TABLE boxes USING rtree(id, x0, x1);
  INSERT INTO customers VALUES(1, 'Alice', 'AT', '{"a":[1,2]}', x'00ff'), (2, 'canary7f3a', 'CH', '{canary7f3a', NULL),
                              (3, 'Bob', 'AT', 'canary7f3a"', zeroblob(5000));
  INSERT INTO orders VALUES(10, 1, 5.5), (11, 1, 9e999), (12, 2, -0.0);
  INSERT INTO keyed VALUES('x', 1), ('canary7f3a', 9223372036854775807);
  INSERT INTO notes VALUES('a red pen'), ('canary7f3a ink'); INSERT INTO old VALUES('a red canary7f3a');
  INSERT INTO boxes VALUES(1, 0, 1);
  ANALYZE;)";

/// What a statement on the connection could have changed, that the others after it would see.
constexpr const char* kStateSQL = R"(
  SELECT group_concat(sql), (SELECT count(*) FROM temp.sqlite_schema),
         (SELECT group_concat(name || file) FROM pragma_database_list), total_changes(), last_insert_rowid(),
         (SELECT foreign_keys FROM pragma_foreign_keys), (SELECT cache_size FROM pragma_cache_size),
         (SELECT count(*) FROM pragma_function_list),
         (SELECT count(*) FROM pragma_collation_list), 'a' LIKE 'A', (SELECT count(*) FROM customers)
  FROM sqlite_schema)";

RunLimits shortLimits() {
  RunLimits limits;
  limits.deadline = std::chrono::milliseconds{50};
  limits.rows = 20;
  limits.bytes = std::size_t{64} << 10U;
  limits.heap = std::int64_t{16} << 20U;
  return limits;
}

/// The sample in a folder of its own, opened as the program opens what it reads.
class Sample {
 public:
  Sample() {
    sqlite3* made = nullptr;
    expect(sqlite3_open(toText(path_).c_str(), &made) == SQLITE_OK, "the sample can be made");
    expect(sqlite3_exec(made, kSample, nullptr, nullptr, nullptr) == SQLITE_OK, "the sample can be filled",
           sqlite3_errmsg(made));
    sqlite3_close(made);
    bytes_ = readBytes();
    watchFiles(toText(path_));
    database_ = openDatabase(toText(path_), Access::Read);
    description_ = database_->readDescription();
    state_ = readState();
  }

  Database& database() { return *database_; }
  const DatabaseDescription& description() const { return description_; }

  void expectUnchanged(std::string_view sql) {
    expect(readBytes() == bytes_, "the file stays as it is", sql);
    const auto files = std::filesystem::directory_iterator(folder_.path());
    expect(std::distance(begin(files), end(files)) == 1, "there is no file beside it", sql);
    expect(readState() == state_, "the next statement finds all as it was", sql);
  }

 private:
  std::string readBytes() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  std::vector<std::vector<Value>> readState() { return database_->run(kStateSQL, RunLimits()).rows; }

  TemporaryFolder folder_{"qai-fuzz"};
  std::filesystem::path path_ = folder_.path() / "sample.db";
  std::string bytes_;
  std::unique_ptr<Database> database_;
  DatabaseDescription description_;
  std::vector<std::vector<Value>> state_;
};

/// Has `work` use the statement. @return its error; nothing when it ended well
template <typename Work>
std::optional<QueryError> failureOf(Sample& sample, const std::string& sql, Work work) {
  try {
    work();
  } catch (const QueryError& error) {
    const std::string told = describeWithoutValues(error, sample.description(), sql);
    expect(error.what() != std::string(), "an error has a text", sql);
    expect(
        toLowerAscii(told).find(kSecret) == std::string::npos || toLowerAscii(sql).find(kSecret) != std::string::npos,
        "an error is told without values", told);
    return error;
  }
  return std::nullopt;
}

void expectWithin(const RunLimits& limits, const Result& result, std::string_view sql) {
  expect(result.rows.size() <= limits.rows, "there are no more rows than allowed", sql);
  std::size_t bytes = 0;
  for (const auto& row : result.rows) {
    expect(row.size() == result.columns.size(), "a row has a value for each column", sql);
    for (const Value& value : row) {
      if (const auto* text = std::get_if<std::string>(&value)) bytes += text->size();
      if (const auto* blob = std::get_if<Blob>(&value)) bytes += blob->bytes.size();
    }
  }
  expect(bytes <= limits.bytes, "the rows are no larger than allowed", sql);
}

void fuzzStatement(Sample& sample, const std::string& sql) {
  const RunLimits limits = shortLimits();
  StatementCheck check;
  const auto checkError = failureOf(sample, sql, [&] { check = sample.database().check(sql); });
  expect(check.effect == Effect::Reads || checkError || !check.reason.empty(), "a refusal has a reason", sql);
  expect(check.effect != Effect::Reads || check.isSingle, "what is run is one statement", sql);

  const auto runError = failureOf(sample, sql, [&] { expectWithin(limits, sample.database().run(sql, limits), sql); });
  expect(runError || check.effect == Effect::Reads, "what runs only reads", sql);
  if (!checkError && check.effect != Effect::Reads) {
    expect(runError->problem == QueryProblem::NotAllowed, "what does not read is not allowed", sql);
  }

  const auto writeError = failureOf(sample, sql, [&] {
    sample.database().runWriting(sql, limits, [](std::int64_t /*rows*/) {
      expect(false, "nobody is asked about writing to what is open for reading");
      return true;
    });
  });
  expect(writeError && writeError->problem == QueryProblem::NotAllowed, "nothing writes", sql);
}

void fuzzLooks(Sample& sample, const std::string& sql) {
  failureOf(sample, sql, [&] {
    const Result plan = sample.database().explain(sql);
    expect(plan.columns.size() == 1, "a plan is a column of texts", sql);
  });
  failureOf(sample, sql, [&] {
    for (const RepeatedRows& rows : sample.database().findRepeatedRows(sql, shortLimits().deadline))
      expect(sql.find(rows.call) != std::string::npos, "a doubtful call is as it stands in the statement", rows.call);
  });
  const NearValues near = sample.database().findNearValues({"customers", "name"}, sql, shortLimits().deadline);
  expect(near.others.size() <= 5, "there are five near values at most", sql);
}

}  // namespace

void fuzzSqlite(std::string_view input) {
  static Sample sample;
  constexpr double kSoon = 10;  // some times the limit, and calls of functions on the largest values
  const std::string sql(input);
  const double start = processorSeconds();
  fuzzStatement(sample, sql);
  fuzzLooks(sample, sql);
  expect(processorSeconds() - start < kSoon, "a statement ends in time", sql);
  sample.expectUnchanged(sql);
}
