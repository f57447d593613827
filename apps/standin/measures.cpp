#include "measures.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace standin {
namespace {

struct Function {
  std::string_view word;
  std::string_view sql;
  std::string_view prefix;  // of the result's name
};
constexpr std::array kFunctions{
    Function{"how many", "COUNT", ""},     Function{"number of", "COUNT", ""}, Function{"count", "COUNT", ""},
    Function{"average", "AVG", "average"}, Function{"avg", "AVG", "average"},  Function{"mean", "AVG", "average"},
    Function{"maximum", "MAX", "max"},     Function{"max", "MAX", "max"},      Function{"minimum", "MIN", "min"},
    Function{"min", "MIN", "min"},         Function{"total", "SUM", "total"},  Function{"sum", "SUM", "total"},
};
constexpr Function kUnnamed{"", "SUM", "total"};

constexpr std::array<std::string_view, 3> kRevenueWords{"revenue", "sales", "turnover"};
constexpr std::array<std::string_view, 3> kQuantityNames{"quantity", "qty", "units"};
constexpr std::array<std::string_view, 2> kPriceNames{"unit_price", "price"};

const Function& takeFunction(Question& question, Range range) {
  for (const Function& function : kFunctions) {
    if (question.take(function.word, range).has_value()) return function;
  }
  return kUnnamed;
}

template <std::size_t size>
const Column* findNamed(const Relation& relation, const std::array<std::string_view, size>& names) {
  for (const std::string_view name : names) {
    const auto found = std::find_if(relation.columns.begin(), relation.columns.end(), [&](const Column& column) {
      return splitWords(column.name) == splitWords(name) && isNumber(column);
    });
    if (found != relation.columns.end()) return &*found;
  }
  return nullptr;
}

/// Quantity times price, where one table holds both.
std::optional<Measure> takeRevenue(Question& question, const Schema& schema, Range range) {
  const bool asked = std::any_of(kRevenueWords.begin(), kRevenueWords.end(),
                                 [&](std::string_view word) { return question.take(word, range).has_value(); });
  if (!asked) return std::nullopt;
  for (const Relation& relation : schema) {
    const Column* quantity = findNamed(relation, kQuantityNames);
    const Column* price = findNamed(relation, kPriceNames);
    if (quantity != nullptr && price != nullptr && relation.kind == RelationKind::Table) {
      return Measure{&relation, "SUM", quantity, price, "revenue"};
    }
  }
  return std::nullopt;
}

/// A column of numbers that is named in `range`: of the tables named there before others, a whole name before an end
/// of one.
std::optional<ColumnRef> takeNumberColumn(Question& question, const Schema& schema,
                                          const std::vector<Mention>& preferred, Range range) {
  std::vector<const Relation*> relations;
  relations.reserve(preferred.size() + schema.size());
  for (const Mention& mention : preferred) relations.push_back(mention.relation);
  for (const Relation& relation : schema) relations.push_back(&relation);
  for (const bool byLastWord : {false, true}) {
    for (const Relation* relation : relations) {
      const auto found = question.takeColumn(*relation, range, byLastWord);
      if (found && isNumber(*found->column)) return found;
    }
  }
  return std::nullopt;
}

std::string resultName(std::string_view prefix, std::string_view name) {
  return std::string(prefix) + "_" + std::string(name);
}

Measure countOf(const Relation& relation) { return {&relation, "COUNT", nullptr, nullptr, relation.name + "_count"}; }

}  // namespace

bool namesFunction(Question question) { return &takeFunction(question, question.whole()) != &kUnnamed; }

std::optional<Measure> takeMeasure(Question& question, const Schema& schema, Range range) {
  const Function& function = takeFunction(question, range);
  const std::vector<Mention> mentions = question.takeRelations(range);
  if (function.sql == "COUNT") {
    return mentions.empty() ? std::nullopt : std::optional(countOf(*mentions.front().relation));
  }
  if (const auto found = takeNumberColumn(question, schema, mentions, range)) {
    return Measure{found->relation, function.sql, found->column, nullptr,
                   resultName(function.prefix, found->column->name)};
  }
  if (function.sql != "SUM") return std::nullopt;
  if (auto revenue = takeRevenue(question, schema, range)) return revenue;
  return mentions.empty() ? std::nullopt : std::optional(countOf(*mentions.front().relation));
}

std::optional<Group> takeGroup(Question& question, const Schema& schema, const Measure& measure, Range range) {
  if (const auto own = question.takeColumn(*measure.relation, range, false)) return Group{own->relation, own->column};
  const auto reachable = [&](const Relation& relation) {
    return findPath(schema, *measure.relation, relation, Direction::ToOne).has_value();
  };
  for (const Mention& mention : question.takeRelations(range)) {
    if (!reachable(*mention.relation)) continue;
    const auto column = question.takeColumn(*mention.relation, {mention.where.end, range.end}, false);
    return Group{mention.relation, column ? column->column : nullptr};
  }
  for (const Relation& relation : schema) {
    if (!reachable(relation)) continue;
    if (const auto column = question.takeColumn(relation, range, false)) return Group{column->relation, column->column};
  }
  return std::nullopt;
}

namespace {

std::string measureExpression(const Select& select, const Measure& measure) {
  std::string inner = "*";
  if (measure.column != nullptr) inner = select.column(*measure.relation, measure.column->name);
  if (measure.factor != nullptr) inner += " * " + select.column(*measure.relation, measure.factor->name);
  return std::string(measure.function) + "(" + inner + ") AS " + quoteName(measure.name);
}

/// Rows may share a label, so the key goes into the grouping too.
std::vector<std::string> groupColumns(const Group& group) {
  if (group.column != nullptr) return {group.column->name};
  std::vector<std::string> columns = group.relation->primaryKey;
  const std::string label = labelColumn(*group.relation);
  if (std::find(columns.begin(), columns.end(), label) == columns.end()) columns.push_back(label);
  return columns;
}

}  // namespace

std::string measureQuery(const Schema& schema, const Measure& measure, const std::optional<Group>& group,
                         Ranking ranking) {
  if (!group) {
    Select select(*measure.relation);
    return select.add(measureExpression(select, measure)).text();
  }
  Select select(*measure.relation,
                findPath(schema, *measure.relation, *group->relation, Direction::ToOne).value_or(std::vector<Link>()));
  std::vector<std::string> columns;
  for (const std::string& name : groupColumns(*group)) columns.push_back(select.column(*group->relation, name));
  for (const std::string& column : columns) select.add(column).groupBy(column);
  select.add(measureExpression(select, measure)).orderBy(quoteName(measure.name), ranking.descending);
  for (const std::string& column : columns) select.orderBy(column, false);  // so that equal ones have an order too
  return select.limit(ranking.limit).text();
}

}  // namespace standin
