#include "databases/sqlite_problems.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace {

/// SQLite tells most errors by their texts alone. Between the two parts stands a name, unless `ending` is kNoName.
struct Wording {
  std::string_view beginning;
  std::string_view ending;
  QueryProblem problem;
};

constexpr std::string_view kNoName = "*";

constexpr std::array kPreparing{
    Wording{"no such table: ", "", QueryProblem::NoSuchTable},
    Wording{"no such view: ", "", QueryProblem::NoSuchTable},
    Wording{"no such column: ", "", QueryProblem::NoSuchColumn},
    Wording{"ambiguous column name: ", "", QueryProblem::AmbiguousColumn},
    Wording{"no such function: ", "", QueryProblem::NoSuchFunction},
    Wording{"no such index: ", "", QueryProblem::NoSuchObject},
    Wording{"no such trigger: ", "", QueryProblem::NoSuchObject},
    Wording{"no such module: ", "", QueryProblem::NoSuchObject},
    Wording{"no such collation sequence: ", "", QueryProblem::NoSuchObject},
    Wording{"no such window: ", "", QueryProblem::NoSuchObject},
    Wording{"wrong number of arguments to function ", "()", QueryProblem::WrongArguments},
    Wording{"too many arguments on ", kNoName, QueryProblem::WrongArguments},
    Wording{"misuse of aggregate: ", "()", QueryProblem::MisusedAggregate},
    Wording{"misuse of aggregate function ", "()", QueryProblem::MisusedAggregate},
    Wording{"misuse of window function ", "()", QueryProblem::MisusedAggregate},
    Wording{"misuse of aliased aggregate ", "", QueryProblem::MisusedAggregate},
    Wording{"misuse of aliased window function ", "", QueryProblem::MisusedAggregate},
    Wording{"a GROUP BY clause is required before HAVING", kNoName, QueryProblem::MisusedAggregate},
    Wording{"aggregate functions are not allowed in the GROUP BY clause", kNoName, QueryProblem::MisusedAggregate},
    Wording{"SELECTs to the left and right of ", kNoName, QueryProblem::ColumnCounts},
    Wording{"sub-select returns ", kNoName, QueryProblem::ColumnCounts},
    Wording{"row value misused", kNoName, QueryProblem::ColumnCounts},
    Wording{"all VALUES must have the same number of terms", kNoName, QueryProblem::ColumnCounts},
    Wording{"near \"", "\": syntax error", QueryProblem::Syntax},
    Wording{"incomplete input", kNoName, QueryProblem::Syntax},
    Wording{"unrecognized token: ", kNoName, QueryProblem::Syntax},
    Wording{"unable to use function MATCH", kNoName, QueryProblem::BadMatch},
    Wording{"Expression tree is too large", kNoName, QueryProblem::TooComplex},
    Wording{"parser stack overflow", kNoName, QueryProblem::TooComplex},
    Wording{"too many ", kNoName, QueryProblem::TooComplex},
    Wording{"at most ", kNoName, QueryProblem::TooComplex},
};

constexpr std::array kRunning{
    Wording{"malformed JSON", kNoName, QueryProblem::BadJson},
    Wording{"JSON ", kNoName, QueryProblem::BadJson},
    Wording{"bad JSON path", kNoName, QueryProblem::BadJson},
    Wording{"fts5: ", kNoName, QueryProblem::BadMatch},
    Wording{"malformed MATCH expression", kNoName, QueryProblem::BadMatch},
    Wording{"no such column: ", kNoName, QueryProblem::BadMatch},  // a full-text search names one that its table lacks
    Wording{"unknown special query", kNoName, QueryProblem::BadMatch},
    Wording{"integer overflow", kNoName, QueryProblem::Overflow},
    Wording{"LIKE or GLOB pattern too complex", kNoName, QueryProblem::TooComplex},
    Wording{"ESCAPE expression must be a single character", kNoName, QueryProblem::WrongArguments},
};

struct Meaning {
  QueryProblem problem;
  std::string name;
};

std::optional<Meaning> read(std::string_view text, const Wording& wording) {
  if (!text.starts_with(wording.beginning)) return std::nullopt;
  if (wording.ending == kNoName) return Meaning{wording.problem, ""};
  if (!text.ends_with(wording.ending) || text.size() < wording.beginning.size() + wording.ending.size())
    return std::nullopt;
  text.remove_prefix(wording.beginning.size());
  text.remove_suffix(wording.ending.size());
  // Later releases put the name in quotes and go on with advice.
  if (text.starts_with('"')) text = text.substr(1, text.find('"', 1) - 1);
  return Meaning{wording.problem, std::string(text)};
}

/// "table orders has no column named totl", or "... has 3 columns but 2 values were supplied"
std::optional<Meaning> readTableSentence(std::string_view text) {
  constexpr std::string_view kNoColumn = " has no column named ";
  if (!text.starts_with("table ")) return std::nullopt;
  const std::size_t at = text.find(kNoColumn);
  if (at != std::string_view::npos)
    return Meaning{QueryProblem::NoSuchColumn, std::string(text.substr(at + kNoColumn.size()))};
  if (text.ends_with(" values were supplied")) return Meaning{QueryProblem::ColumnCounts, ""};
  return std::nullopt;
}

template <std::size_t count>
std::optional<Meaning> findMeaning(std::string_view text, const std::array<Wording, count>& wordings) {
  for (const Wording& wording : wordings) {
    if (auto meaning = read(text, wording)) return meaning;
  }
  return std::nullopt;
}

Meaning readText(std::string_view text, SqliteStage stage) {
  if (stage == SqliteStage::Running) return findMeaning(text, kRunning).value_or(Meaning{QueryProblem::Other, ""});
  if (auto meaning = readTableSentence(text)) return *std::move(meaning);
  return findMeaning(text, kPreparing).value_or(Meaning{QueryProblem::Other, ""});
}

Meaning readCode(const SqliteError& error, SqliteStage stage) {
  switch (error.resultCode) {
    case SQLITE_ERROR:
      return readText(error.what(), stage);
    case SQLITE_AUTH:
      return {QueryProblem::NotAllowed, ""};
    case SQLITE_TOOBIG:
      return {QueryProblem::TooLarge, ""};
    case SQLITE_CONSTRAINT:
      return {QueryProblem::Constraint, ""};
    case SQLITE_READONLY:
    case SQLITE_FULL:
    case SQLITE_PERM:
      return {QueryProblem::CannotWrite, ""};
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return {QueryProblem::Locked, ""};
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return {QueryProblem::Damaged, ""};
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
      return {QueryProblem::Unreadable, ""};
    default:
      return {QueryProblem::Other, ""};
  }
}

}  // namespace

QueryError explainSqliteError(const SqliteError& error, SqliteStage stage) {
  Meaning meaning = readCode(error, stage);
  return {meaning.problem, std::move(meaning.name), error.what()};
}
