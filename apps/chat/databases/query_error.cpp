#include "databases/query_error.h"

#include "ascii_case.h"
#include "sql/names.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr std::array<std::pair<QueryProblem, std::string_view>, 24> kDescriptions{{
    {QueryProblem::Syntax, "there is a syntax error"},
    {QueryProblem::NoSuchTable, "there is no such table or view"},
    {QueryProblem::NoSuchColumn, "there is no such column"},
    {QueryProblem::NoSuchFunction, "there is no such function"},
    {QueryProblem::NoSuchObject, "there is no such index, module or collation"},
    {QueryProblem::AmbiguousColumn, "the column name is ambiguous"},
    {QueryProblem::WrongArguments, "a function has wrong arguments"},
    {QueryProblem::MisusedAggregate, "an aggregate or window function stands where it can't"},
    {QueryProblem::ColumnCounts, "the numbers of columns do not match"},
    {QueryProblem::NotAllowed, "the statement is not allowed"},
    {QueryProblem::TooLong, "it took too long"},
    {QueryProblem::Interrupted, "it was interrupted"},
    {QueryProblem::TooMuchMemory, "it needs too much memory"},
    {QueryProblem::TooLarge, "a value is too large"},
    {QueryProblem::TooComplex, "the statement is too complex"},
    {QueryProblem::BadJson, "a value or path is no good JSON"},
    {QueryProblem::BadMatch, "the full-text search can't be done so"},
    {QueryProblem::Overflow, "an integer overflows"},
    {QueryProblem::Constraint, "a constraint forbids it"},
    {QueryProblem::CannotWrite, "the database can't be written"},
    {QueryProblem::Locked, "the database is locked by another program"},
    {QueryProblem::Damaged, "the database is damaged"},
    {QueryProblem::Unreadable, "the database can't be read"},
    {QueryProblem::Other, "the statement failed"},
}};

std::string makeSentence(QueryProblem problem, const std::string& engineText) {
  std::string sentence(describe(problem));
  sentence.front() = static_cast<char>(sentence.front() - 'a' + 'A');
  return engineText.empty() ? sentence : sentence + " (" + engineText + ")";
}

bool isNameIn(const DatabaseDescription& database, const std::string& name) {
  const auto isIt = [&](const auto& described) { return toLowerAscii(described.name) == name; };
  const auto hasIt = [&](const TableDescription& table) {
    return isIt(table) || std::any_of(table.columns.begin(), table.columns.end(), isIt);
  };
  return std::any_of(database.schemas.begin(), database.schemas.end(), [&](const SchemaDescription& schema) {
    return (!schema.name.empty() && isIt(schema)) || std::any_of(schema.tables.begin(), schema.tables.end(), hasIt) ||
           std::any_of(schema.views.begin(), schema.views.end(), hasIt);
  });
}

}  // namespace

std::string_view describe(QueryProblem problem) {
  const auto* const row = std::find_if(kDescriptions.begin(), kDescriptions.end(),
                                       [&](const auto& candidate) { return candidate.first == problem; });
  return row == kDescriptions.end() ? kDescriptions.back().second : row->second;
}

QueryError::QueryError(QueryProblem aProblem, std::string aName, std::string text)
    : std::runtime_error(makeSentence(aProblem, text)),
      problem(aProblem),
      name(std::move(aName)),
      engineText(std::move(text)) {}

std::string describeWithoutValues(const QueryError& error, const DatabaseDescription& database, std::string_view sql) {
  const std::vector<std::string> used = listSqlNames(sql);
  const auto isKnown = [&](const std::string& name) {
    const std::string lower = toLowerAscii(name);
    return isNameIn(database, lower) || std::find(used.begin(), used.end(), lower) != used.end();
  };
  // A name with dots in it may be one, or several.
  bool isGood = !error.name.empty();
  if (isGood && !isKnown(error.name)) {
    std::size_t begin = 0;
    while (isGood && begin <= error.name.size()) {
      const std::size_t end = std::min(error.name.find('.', begin), error.name.size());
      const std::string part = error.name.substr(begin, end - begin);
      isGood = part == "main" || isKnown(part);
      begin = end + 1;
    }
  }
  const std::string words(describe(error.problem));
  return isGood ? words + ": " + error.name : words;
}
