// What a question wants counted, added up or averaged, and for whom.
#pragma once

#include "query.h"
#include "words.h"

#include <optional>
#include <string>
#include <string_view>

namespace standin {

/// A number that is computed from the rows of a table.
struct Measure {
  const Relation* relation;
  std::string_view function;       // COUNT, SUM, AVG, MIN or MAX
  const Column* column = nullptr;  // null: the rows themselves
  const Column* factor = nullptr;  // when set, the column is multiplied by it
  std::string name;                // of the result
};

/// What to compute one number each for: the rows of a table, or the values of a column.
struct Group {
  const Relation* relation;
  const Column* column;  // null: the table's rows
};

struct Ranking {
  bool descending = true;
  int limit = 0;  // 0: all
};

/// Whether a word such as "how many" or "average" is in the question.
bool namesFunction(Question question);
/// Reads what is to be computed from the words in `range`.
std::optional<Measure> takeMeasure(Question& question, const Schema& schema, Range range);
/// Reads the group from the words in `range`, if foreign keys lead to it from the measure's table.
std::optional<Group> takeGroup(Question& question, const Schema& schema, const Measure& measure, Range range);

/// The measure over all rows, or for each group in the order of the ranking.
std::string measureQuery(const Schema& schema, const Measure& measure, const std::optional<Group>& group,
                         Ranking ranking);

}  // namespace standin
