#include "sql_rules.h"

#include "measures.h"
#include "query.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>

namespace standin {
namespace {

std::string asCode(const std::string& sql) { return "```sql\n" + sql + "\n```\n"; }

std::optional<Range> takeAny(Question& question, std::span<const std::string_view> phrases) {
  for (const std::string_view phrase : phrases) {
    if (const auto found = question.take(phrase, question.whole())) return found;
  }
  return std::nullopt;
}

enum class RankBy { Time, Price, Number, After };  // After: by what is named behind the word

struct RankWord {
  std::string_view phrase;
  bool descending;
  RankBy by;
};
constexpr std::array kRankWords{
    RankWord{"most recent", true, RankBy::Time},
    RankWord{"most expensive", true, RankBy::Price},
    RankWord{"least expensive", false, RankBy::Price},
    RankWord{"cheapest", false, RankBy::Price},
    RankWord{"latest", true, RankBy::Time},
    RankWord{"newest", true, RankBy::Time},
    RankWord{"last", true, RankBy::Time},
    RankWord{"oldest", false, RankBy::Time},
    RankWord{"earliest", false, RankBy::Time},
    RankWord{"first", false, RankBy::Time},
    RankWord{"top", true, RankBy::Number},
    RankWord{"largest", true, RankBy::Number},
    RankWord{"biggest", true, RankBy::Number},
    RankWord{"highest", true, RankBy::Number},
    RankWord{"best", true, RankBy::Number},
    RankWord{"smallest", false, RankBy::Number},
    RankWord{"lowest", false, RankBy::Number},
    RankWord{"bottom", false, RankBy::Number},
    RankWord{"most", true, RankBy::After},
    RankWord{"fewest", false, RankBy::After},
    RankWord{"least", false, RankBy::After},
};

/// A question for the first few rows of something.
struct RankQuestion {
  const RankWord* word;
  Range subject;             // where the rows are named
  std::optional<Range> key;  // where it is named by what they are ranked
};

std::optional<RankQuestion> readRanking(Question& question) {
  std::optional<Range> place;
  const RankWord* word = nullptr;
  for (const RankWord& one : kRankWords) {
    word = &one;
    place = question.take(one.phrase, question.whole());
    if (place) break;
  }
  if (!place) return std::nullopt;
  const std::size_t end = question.whole().end;
  if (word->by == RankBy::After) return RankQuestion{word, {0, place->begin}, Range{place->end, end}};
  if (const auto by = question.take("by", {place->end, end})) {
    return RankQuestion{word, {0, by->begin}, Range{by->end, end}};
  }
  return RankQuestion{word, question.whole(), std::nullopt};
}

int takeLimit(Question& question, const Mention& subject) {
  constexpr int kSeveral = 10;
  const bool plural = question.word(subject.where.end - 1).ends_with('s');
  return question.takeNumber(question.whole()).value_or(plural ? kSeveral : 1);
}

std::vector<const Column*> rankColumns(const Relation& relation, RankBy by) {
  std::vector<const Column*> columns;
  for (const Column& column : relation.columns) {
    const bool measures = isNumber(column) && !isKeyColumn(relation, column.name) && !isTime(column);
    const std::vector<std::string> words = splitWords(column.name);
    const bool price = std::find(words.begin(), words.end(), "price") != words.end();
    if (by == RankBy::Time ? isTime(column) : measures && (by == RankBy::Number || price)) columns.push_back(&column);
  }
  return columns;
}

/// The column that the question names, else the only one that fits the word.
const Column* findRankColumn(Question& question, const Relation& relation, const RankQuestion& ranking) {
  const Range range = ranking.key.value_or(question.whole());
  for (const bool byLastWord : {false, true}) {
    if (const auto named = question.takeColumn(relation, range, byLastWord)) return named->column;
  }
  if (ranking.key) return nullptr;
  const std::vector<const Column*> fitting = rankColumns(relation, ranking.word->by);
  const bool clear = fitting.size() == 1 || (!fitting.empty() && ranking.word->by == RankBy::Time);
  return clear ? fitting.front() : nullptr;
}

std::string askBack(const Relation& relation, const RankWord& word) {
  std::string text = "I can't tell by what to rank the rows of " + qualifiedName(relation) + ".";
  std::string_view separator = " Name a column, for example: ";
  for (const Column* column : rankColumns(relation, word.by)) {
    text += std::string(separator) + column->name;
    separator = ", ";
  }
  return text + "\n";
}

std::optional<std::string> rankByMeasure(Question& question, const Schema& schema, const Relation& subject,
                                         const RankQuestion& ranking, int limit) {
  if (!ranking.key) return std::nullopt;
  const auto measure = takeMeasure(question, schema, *ranking.key);
  if (!measure || measure->relation == &subject || !findPath(schema, *measure->relation, subject, Direction::ToOne)) {
    return std::nullopt;
  }
  return asCode(measureQuery(schema, *measure, Group{&subject, nullptr}, {ranking.word->descending, limit}));
}

constexpr std::array<std::string_view, 4> kGroupWords{"per", "by", "each", "every"};
constexpr std::array<std::string_view, 5> kJoinWords{"with", "their", "and", "join", "together"};
constexpr std::array<std::string_view, 5> kListWords{"show", "list", "all", "select", "give"};

std::string labelAlias(const Select& select, const Relation& relation) {
  const std::string label = labelColumn(relation);
  return select.column(relation, label) + " AS " + quoteName(relation.name + "_" + label);
}

}  // namespace

std::optional<Finding> answerRanking(Question question, const Schema& schema) {
  const auto ranking = readRanking(question);
  if (!ranking) return std::nullopt;
  const std::vector<Mention> subjects = question.takeRelations(ranking->subject);
  if (subjects.empty()) return std::nullopt;
  const Relation& subject = *subjects.front().relation;
  const int limit = takeLimit(question, subjects.front());
  if (const Column* column = findRankColumn(question, subject, *ranking)) {
    Select select(subject);
    select.add("*").orderBy(quoteName(column->name), ranking->word->descending).limit(limit);
    return Finding{asCode(select.text()), std::move(question)};
  }
  if (auto text = rankByMeasure(question, schema, subject, *ranking, limit)) {
    return Finding{std::move(*text), std::move(question)};
  }
  return Finding{askBack(subject, *ranking->word), std::move(question), false};
}

std::optional<Finding> answerMeasure(Question question, const Schema& schema) {
  const bool asked = namesFunction(question);
  const auto by = takeAny(question, kGroupWords);
  const auto measure = takeMeasure(question, schema, {0, by ? by->begin : question.whole().end});
  if (!measure || (measure->column == nullptr && !asked)) return std::nullopt;
  if (!by) return Finding{asCode(measureQuery(schema, *measure, std::nullopt, {})), std::move(question)};
  const Range rest{by->end, question.whole().end};
  if (const auto group = takeGroup(question, schema, *measure, rest)) {
    return Finding{asCode(measureQuery(schema, *measure, group, {})), std::move(question)};
  }
  std::string text = "I can't group the rows of " + qualifiedName(*measure->relation) + " by \"" +
                     question.textOf(rest) + "\": no foreign key and no column of that name lead there.\n";
  question.takeAll();
  return Finding{std::move(text), std::move(question), false};
}

std::optional<Finding> answerJoin(Question question, const Schema& schema) {
  const std::vector<Mention> mentions = question.takeRelations(question.whole());
  if (mentions.size() < 2 || mentions[0].relation == mentions[1].relation) return std::nullopt;
  if (!takeAny(question, kJoinWords)) return std::nullopt;
  const Relation& first = *mentions[0].relation;
  const Relation& second = *mentions[1].relation;
  const auto path = findPath(schema, first, second, Direction::Any);
  if (!path) {
    return Finding{"No foreign keys join " + qualifiedName(first) + " and " + qualifiedName(second) + ".\n",
                   std::move(question), false};
  }
  Select select(first, *path, Select::Keep::AllOfFirst);
  for (const Column& column : first.columns) select.add(select.column(first, column.name));
  select.add(labelAlias(select, second));
  return Finding{asCode(select.text()), std::move(question)};
}

std::optional<Finding> answerListing(Question question, const Schema& /*schema*/) {
  const std::vector<Mention> mentions = question.takeRelations(question.whole());
  if (mentions.size() != 1 || !takeAny(question, kListWords)) return std::nullopt;
  Select select(*mentions.front().relation);
  return Finding{asCode(select.add("*").text()), std::move(question)};
}

}  // namespace standin
