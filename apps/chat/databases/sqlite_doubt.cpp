#include "databases/sqlite_doubt.h"

#include "ascii_case.h"
#include "sql/lexer.h"
#include "sql/names.h"

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t kMostOthers = 5;
constexpr std::size_t kMostCalls = 10;
constexpr const char* kNoter = "qai_note_repeated";

/// Texts that differ in case or spaces, then those that hold the literal or stand in it, then the most frequent ones.
/// Long texts are no names of anything.
std::string makeOthersSQL(const std::string& table, const std::string& column) {
  const std::string lower = "lower(trim(" + column + "))";
  const std::string literal = "lower(trim(?1))";
  return "SELECT " + column + " FROM " + table + " WHERE typeof(" + column + ") <> 'blob' AND length(" + column +
         ") BETWEEN 1 AND 80 GROUP BY 1 ORDER BY " + lower + " = " + literal + " DESC, instr(" + lower + ", " +
         literal + ") > 0 OR instr(" + literal + ", " + lower + ") > 0 DESC, count(*) DESC, 1 LIMIT " +
         std::to_string(kMostOthers);
}

void lookFor(sqlite3* connection, const ColumnName& name, const std::string& literal, NearValues& near) {
  const std::string table = quoteSqlName(name.table) + " AS t";
  const std::string column = "t." + quoteSqlName(name.column);
  SqliteQuery exact(connection, ("SELECT 1 FROM " + table + " WHERE " + column + " = ?1 LIMIT 1").c_str());
  exact.bind(literal);
  near.presence = exact.nextRow() ? Presence::There : Presence::Absent;
  if (near.presence == Presence::There) return;
  SqliteQuery others(connection, makeOthersSQL(table, column).c_str());
  others.bind(literal);
  while (others.nextRow()) near.others.push_back(others.text(0));
}

/// Has `work` done as far as the limits let it.
void doWithin(SqliteEngine& engine, std::chrono::milliseconds patience, const std::function<void()>& work) {
  RunLimits limits;
  limits.deadline = patience;
  try {
    engine.within(limits, SqliteStage::Running, work);
  } catch (const QueryError& error) {
    constexpr std::array kLimits{QueryProblem::TooLong, QueryProblem::TooMuchMemory, QueryProblem::TooLarge};
    if (std::find(kLimits.begin(), kLimits.end(), error.problem) == kLimits.end()) throw;
  }
}

/// A call in the text of a statement.
struct Call {
  std::size_t begin;
  std::size_t end;
  std::string argument;
  std::string table;
};

/// The calls in a statement that add up columns of one table each.
class CallFinder {
 public:
  CallFinder(std::string_view sql, const std::vector<ColumnName>& columns)
      : sql_(sql), tokens_(readSolidTokens(sql)), columns_(columns) {}

  std::vector<Call> find() const {
    std::vector<Call> calls;
    for (std::size_t at = 0; at + 1 < tokens_.size() && calls.size() < kMostCalls; ++at) {
      if (auto call = readCall(at)) calls.push_back(*std::move(call));
    }
    return calls;
  }

 private:
  std::string lower(std::size_t at) const {
    return at < tokens_.size() && tokens_[at].isName() ? toLowerAscii(unquoteSql(tokens_[at])) : "";
  }

  bool is(std::size_t at, std::string_view symbol) const { return at < tokens_.size() && tokens_[at].isSymbol(symbol); }

  std::optional<Call> readCall(std::size_t at) const {
    constexpr std::array<std::string_view, 4> kSums{"avg", "count", "sum", "total"};
    if (std::find(kSums.begin(), kSums.end(), lower(at)) == kSums.end() || !is(at + 1, "(")) return std::nullopt;
    std::size_t end = at + 2;
    for (std::size_t open = 1; end < tokens_.size(); ++end) {
      if (is(end, "(")) ++open;
      if (is(end, ")") && --open == 0) break;
    }
    if (end >= tokens_.size() || lower(end + 1) == "over" || lower(end + 1) == "filter") return std::nullopt;
    const auto table = findTable(at + 2, end);
    if (!table) return std::nullopt;
    const std::size_t argument = tokens_[at + 1].end();
    return Call{.begin = tokens_[at].begin,
                .end = tokens_[end].end(),
                .argument = std::string(sql_.substr(argument, tokens_[end].begin - argument)),
                .table = *table};
  }

  /// The one table, or alias, whose columns stand in the tokens from `begin` to `end`.
  std::optional<std::string> findTable(std::size_t begin, std::size_t end) const {
    std::optional<std::string> found;
    for (std::size_t at = begin; at < end; ++at) {
      if (!tokens_[at].isName() || is(at + 1, "(")) continue;
      const std::string word = lower(at);
      if (word == "distinct" || word == "select") return std::nullopt;
      std::optional<std::string> table;
      if (is(at + 1, ".")) {
        table = unquoteSql(tokens_[at]);
        at += 2;
        if (is(at + 1, ".")) return std::nullopt;  // a schema's name comes first
      } else {
        table = findOwner(word);
      }
      if (!table) continue;
      if (found && toLowerAscii(*found) != toLowerAscii(*table)) return std::nullopt;
      found = table;
    }
    return found;
  }

  /// The one table with such a column among those that the statement reads; key words have none.
  std::optional<std::string> findOwner(const std::string& name) const {
    std::optional<std::string> owner;
    for (const ColumnName& column : columns_) {
      if (toLowerAscii(column.column) != name) continue;
      if (owner && *owner != column.table) return std::nullopt;
      owner = column.table;
    }
    return owner;
  }

  std::string_view sql_;
  std::vector<SqlToken> tokens_;
  const std::vector<ColumnName>& columns_;
};

/// Gives its first argument on and notes whether the second is greater than the third.
void noteRepeated(sqlite3_context* context, int /*count*/, sqlite3_value** values) {
  if (sqlite3_value_int64(values[1]) > sqlite3_value_int64(values[2]))
    *static_cast<bool*>(sqlite3_user_data(context)) = true;
  sqlite3_result_value(context, values[0]);
}

/// The noting function on a connection, while this lives.
class Noter {
 public:
  explicit Noter(sqlite3* connection) : connection_(connection) {
    const int result = sqlite3_create_function_v2(connection, kNoter, 3, SQLITE_UTF8 | SQLITE_DIRECTONLY, &isRepeated_,
                                                  noteRepeated, nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) throw SqliteError(result, sqlite3_errmsg(connection));
  }
  ~Noter() {
    sqlite3_create_function_v2(connection_, kNoter, 3, SQLITE_UTF8, nullptr, nullptr, nullptr, nullptr, nullptr);
  }
  Noter(const Noter&) = delete;
  Noter& operator=(const Noter&) = delete;

  bool isRepeated() const { return isRepeated_; }

 private:
  sqlite3* connection_;
  bool isRepeated_ = false;
};

/// A name for the rowid that is no column of anything.
std::optional<std::string> chooseRowid(sqlite3* connection, const std::string& sql) {
  const std::vector<std::string> used = listSqlNames(sql);
  SqliteQuery inSchema(connection, "SELECT 1 FROM sqlite_schema WHERE instr(lower(sql), ?1) LIMIT 1");
  for (const char* name : {"rowid", "_rowid_", "oid"}) {
    inSchema.bind(name);
    if (!inSchema.nextRow() && std::find(used.begin(), used.end(), name) == used.end()) return name;
  }
  return std::nullopt;
}

/// `sql` as it is, but that what `call` takes in is noted.
std::string addNoting(const std::string& sql, const Call& call, const std::string& rowid) {
  const std::string row =
      "CASE WHEN (" + call.argument + ") IS NOT NULL THEN " + quoteSqlName(call.table) + "." + rowid + " END";
  return sql.substr(0, call.begin) + kNoter + "(" + sql.substr(call.begin, call.end - call.begin) + ", count(" + row +
         "), count(DISTINCT " + row + "))" + sql.substr(call.end);
}

bool takesRowsRepeatedly(sqlite3* connection, const std::string& sql) {
  const Noter noter(connection);
  try {
    SqliteQuery query(connection, sql.c_str());
    while (!noter.isRepeated() && query.nextRow()) continue;
  } catch (const SqliteError& error) {
    if (error.resultCode != SQLITE_ERROR) throw;
    return false;  // there is no rowid, or the call stands where it can't be looked at
  }
  return noter.isRepeated();
}

}  // namespace

NearValues findNearValues(SqliteEngine& engine, const ColumnName& column, const std::string& literal,
                          std::chrono::milliseconds patience) {
  NearValues near;
  doWithin(engine, patience, [&] { lookFor(engine.connection(), column, literal, near); });
  return near;
}

std::vector<RepeatedRows> findRepeatedRows(SqliteEngine& engine, const std::string& sql,
                                           std::chrono::milliseconds patience) {
  std::vector<RepeatedRows> repeated;
  const StatementCheck check = engine.check(sql);
  if (check.effect != Effect::Reads) return repeated;
  const std::vector<Call> calls = CallFinder(sql, check.columnsRead).find();
  if (calls.empty()) return repeated;
  doWithin(engine, patience, [&] {
    const auto rowid = chooseRowid(engine.connection(), sql);
    for (const Call& call : calls) {
      const RepeatedRows rows{.call = sql.substr(call.begin, call.end - call.begin), .table = call.table};
      const bool isKnown = std::find(repeated.begin(), repeated.end(), rows) != repeated.end();
      if (rowid && !isKnown && takesRowsRepeatedly(engine.connection(), addNoting(sql, call, *rowid)))
        repeated.push_back(rows);
    }
  });
  return repeated;
}
