#include "conversation/doubts.h"

#include "ascii_case.h"
#include "sql/literals.h"

#include <algorithm>
#include <chrono>
#include <string_view>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience{1000};

std::chrono::milliseconds remaining(Clock::time_point end) {
  return std::max(std::chrono::milliseconds{0},
                  std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()));
}

bool isSameName(std::string_view one, std::string_view other) { return toLowerAscii(one) == toLowerAscii(other); }

/// Whether the literal stands for a value of the column, and not for a pattern or a format.
bool isLookedFor(const TextLiteral& literal) {
  return !literal.column.empty() &&
         (literal.comparison == "=" || literal.comparison == "IN" || literal.comparison == "IS");
}

std::string inQuotes(const std::string& text) { return "'" + text + "'"; }

/// "" when the column has it, or nothing is known.
std::string explainAbsence(Database& database, const ColumnName& column, const TextLiteral& literal,
                           Clock::time_point end) {
  const NearValues near = database.findNearValues(column, literal.value, remaining(end));
  if (near.presence != Presence::Absent) return "";
  std::string sentence = "No row of " + column.table + " has " + column.column + " " + inQuotes(literal.value);
  if (near.others.empty()) return sentence;
  sentence += near.others.size() == 1 ? "; there is " : "; there are ";
  for (std::size_t i = 0; i < near.others.size(); ++i) sentence += (i == 0 ? "" : ", ") + inQuotes(near.others[i]);
  return sentence;
}

void addAbsences(Database& database, const std::string& sql, const StatementCheck& check,
                 std::vector<std::string>& doubts) {
  const Clock::time_point end = Clock::now() + kPatience;
  for (const TextLiteral& literal : findTextLiterals(sql)) {
    if (!isLookedFor(literal)) continue;
    for (const ColumnName& column : check.columnsRead) {
      if (!isSameName(column.column, literal.column) || remaining(end).count() == 0) continue;
      const std::string sentence = explainAbsence(database, column, literal, end);
      if (!sentence.empty() && std::find(doubts.begin(), doubts.end(), sentence) == doubts.end())
        doubts.push_back(sentence);
    }
  }
}

}  // namespace

std::vector<std::string> findDoubts(Database& database, const std::string& sql, const StatementCheck& check,
                                    const Result& result) {
  std::vector<std::string> doubts;
  if (result.rows.empty()) addAbsences(database, sql, check, doubts);
  for (const RepeatedRows& repeated : database.findRepeatedRows(sql, kPatience))
    doubts.push_back(repeated.call + " counts rows of " + repeated.table + " more than once: a join repeats them");
  return doubts;
}
