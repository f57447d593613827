#include "suggestions.h"

#include "query.h"
#include "words.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <string_view>

namespace standin {
namespace {

/// What adding up makes sense for; of other numbers an average is asked.
constexpr std::array<std::string_view, 5> kSummed{"quantity", "qty", "units", "amount", "hours"};

/// `name` as it is said: "order lines" for "OrderLines".
std::string spoken(std::string_view name) {
  std::string text;
  for (const std::string& word : splitWords(name)) text += (text.empty() ? "" : " ") + word;
  return text;
}

/// One of what `plural` names, as far as English has rules.
std::string oneOf(std::string plural) {
  constexpr std::array<std::string_view, 4> kHissing{"sses", "xes", "ches", "shes"};
  const bool hisses =
      std::any_of(kHissing.begin(), kHissing.end(), [&](std::string_view end) { return plural.ends_with(end); });
  if (plural.ends_with("ies")) return plural.replace(plural.size() - 3, 3, "y");
  if (hisses) return plural.substr(0, plural.size() - 2);
  if (plural.ends_with('s') && !plural.ends_with("ss")) plural.pop_back();
  return plural;
}

std::string asSentence(std::string text) {
  if (!text.empty()) text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
  return text + "?";
}

bool isMeasure(const Relation& relation, const Column& column) {
  return isNumber(column) && !isTime(column) && !isKeyColumn(relation, column.name);
}

bool isSummed(const Column& column) {
  const std::vector<std::string> words = splitWords(column.name);
  return std::find_first_of(words.begin(), words.end(), kSummed.begin(), kSummed.end()) != words.end();
}

std::string from(const Relation& relation) { return "FROM " + qualifiedName(relation); }

/// Looks for one question of a kind; `true` ends the look.
using Try = std::function<bool(const Suggestion& suggestion)>;
using Kind = void (*)(const Relation& relation, const Schema& schema, const Try& attempt);

void measurePer(const Relation& relation, const Schema& schema, const Try& attempt, bool summed) {
  for (const Column& column : relation.columns) {
    if (!isMeasure(relation, column) || isSummed(column) != summed) continue;
    for (const ForeignKey& key : relation.foreignKeys) {
      const Relation* group = findReferenced(schema, relation, key);
      if (group == nullptr || group == &relation) continue;
      const std::string opening = (summed ? "total " : "average ") + spoken(column.name) + " per ";
      if (attempt({asSentence(opening + oneOf(spoken(group->name))), {from(relation), "GROUP BY"}})) return;
    }
  }
}

void totalPer(const Relation& relation, const Schema& schema, const Try& attempt) {
  measurePer(relation, schema, attempt, true);
}

void averagePer(const Relation& relation, const Schema& schema, const Try& attempt) {
  measurePer(relation, schema, attempt, false);
}

void latest(const Relation& relation, const Schema& /*schema*/, const Try& attempt) {
  if (!std::any_of(relation.columns.begin(), relation.columns.end(), isTime)) return;
  attempt({asSentence("latest 5 " + spoken(relation.name)), {from(relation), "ORDER BY"}});
}

void top(const Relation& relation, const Schema& /*schema*/, const Try& attempt) {
  for (const Column& column : relation.columns) {
    if (!isMeasure(relation, column)) continue;
    const std::string question = "top 3 " + spoken(relation.name) + " by " + spoken(column.name);
    if (attempt({asSentence(question), {from(relation), "ORDER BY " + quoteName(column.name)}})) return;
  }
}

void joined(const Relation& relation, const Schema& schema, const Try& attempt) {
  for (const ForeignKey& key : relation.foreignKeys) {
    const Relation* other = findReferenced(schema, relation, key);
    if (other == nullptr || other == &relation) continue;
    const std::string question = spoken(relation.name) + " with their " + spoken(other->name);
    if (attempt({asSentence(question), {from(relation), "JOIN " + qualifiedName(*other)}})) return;
  }
}

void count(const Relation& relation, const Schema& /*schema*/, const Try& attempt) {
  attempt({asSentence("how many " + spoken(relation.name) + " are there"), {from(relation), "COUNT(*)"}});
}

void listing(const Relation& relation, const Schema& /*schema*/, const Try& attempt) {
  attempt({asSentence("show all " + spoken(relation.name)), {from(relation), "SELECT *"}});
}

/// Those that tell most about the data come first.
constexpr std::array<Kind, 7> kKinds{totalPer, averagePer, latest, top, joined, count, listing};

/// The first question of the kind that is understood; "" when none of the first few is.
std::string findQuestion(Kind kind, const Schema& schema, const Try& isUnderstood) {
  constexpr int kTries = 8;
  int tries = 0;
  std::string found;
  const auto attempt = [&](const Suggestion& suggestion) {
    if (found.empty() && tries++ < kTries && isUnderstood(suggestion)) found = suggestion.question;
    return !found.empty() || tries >= kTries;
  };
  for (const Relation& relation : schema) {
    if (!found.empty() || tries >= kTries) break;
    kind(relation, schema, attempt);
  }
  return found;
}

}  // namespace

std::vector<std::string> suggestQuestions(const Schema& schema, const Try& isUnderstood) {
  constexpr std::size_t kWanted = 3;
  std::vector<std::string> questions;
  for (const Kind kind : kKinds) {
    if (kind == averagePer && !questions.empty()) continue;  // much the same as a total
    if (questions.size() == kWanted) return questions;
    std::string question = findQuestion(kind, schema, isUnderstood);
    if (!question.empty()) questions.push_back(std::move(question));
  }
  for (const std::string_view question :
       {"Which tables are there?", "Which views are there?", "What is in the database?"}) {
    if (questions.size() < kWanted && isUnderstood({std::string(question)})) questions.emplace_back(question);
  }
  return questions;
}

}  // namespace standin
