#include "rules.h"

#include "describe.h"
#include "sql_rules.h"
#include "suggestions.h"
#include "words.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <optional>
#include <utility>

namespace standin {
namespace {

constexpr std::string_view kAbilities =
    "I am a stand-in without a language model: I answer from rules.\n"
    "I can list the tables, describe one, repeat what you asked before, and write SQL for counts, totals and "
    "averages,\n"
    "for the largest or latest rows, and for tables joined along their keys.\n";

bool hasAny(Question& question, std::initializer_list<std::string_view> phrases) {
  return std::any_of(phrases.begin(), phrases.end(), [&](std::string_view phrase) { return question.has(phrase); });
}

std::string quoteLast(const std::vector<Turn>& history, bool fromUser, std::string_view opening,
                      std::string_view nothing) {
  const auto last =
      std::find_if(history.rbegin(), history.rend(), [&](const Turn& turn) { return turn.fromUser == fromUser; });
  if (last == history.rend()) return std::string(nothing);
  return std::string(opening) + "\"" + last->text + "\"\n";
}

std::optional<std::string> answerAboutHistory(const std::vector<Turn>& history, Question question) {
  const bool aboutUser = hasAny(question, {"i", "my"}) && hasAny(question, {"ask", "asked", "question"});
  if (aboutUser && hasAny(question, {"how many", "number of"})) {
    const auto before = std::count_if(history.begin(), history.end(), [](const Turn& turn) { return turn.fromUser; });
    return "From the conversation that came with the request: " + std::to_string(before) +
           (before == 1 ? " question" : " questions") + " before this one.\n";
  }
  if (aboutUser || hasAny(question, {"previous question", "last question"})) {
    return quoteLast(history, true, "From the conversation that came with the request, you asked before: ",
                     "No earlier question came with the request.\n");
  }
  if (question.has("you") && hasAny(question, {"answer", "answered", "say", "said"})) {
    return quoteLast(history, false, "From the conversation that came with the request, I answered before: ",
                     "No earlier answer came with the request.\n");
  }
  return std::nullopt;
}

std::optional<Finding> describe(Question question, const Schema& schema) {
  if (!hasAny(question, {"describe", "column", "field", "structure", "definition", "about", "explain", "key"})) {
    return std::nullopt;
  }
  const std::vector<Mention> mentions = question.takeRelations(question.whole());
  if (mentions.empty()) return std::nullopt;
  question.takeAll();
  return Finding{describeRelation(schema, *mentions.front().relation), std::move(question)};
}

std::optional<Finding> listTables(Question question, const Schema& schema) {
  if (!hasAny(question, {"table", "view", "schema", "database"})) return std::nullopt;
  if (!question.takeRelations(question.whole()).empty()) return std::nullopt;
  question.takeAll();
  return Finding{listRelations(schema), std::move(question)};
}

constexpr std::array<Rule, 6> kRules{describe, listTables, answerRanking, answerMeasure, answerJoin, answerListing};

std::string noteUnused(const Question& question) {
  std::string words;
  for (const std::string& word : question.unused()) words += (words.empty() ? "\"" : ", \"") + word + "\"";
  if (words.empty()) return "";
  return "I made no use of " + words + "; conditions are beyond my rules.\n";
}

std::optional<Finding> applyRules(const Question& question, const Schema& schema) {
  for (const Rule rule : kRules) {
    if (auto finding = rule(question, schema)) return finding;
  }
  return std::nullopt;
}

/// Whether `fragment` stands in `text` and is no beginning of a longer name.
bool holdsWhole(std::string_view text, std::string_view fragment) {
  for (std::size_t at = text.find(fragment); at != std::string_view::npos; at = text.find(fragment, at + 1)) {
    constexpr std::string_view kBehind = " \n;";
    const std::size_t end = at + fragment.size();
    if (end < text.size() && kBehind.find(text[end]) != std::string_view::npos) return true;
  }
  return false;
}

/// Whether the rules answer all of the question, and with what it is meant to be answered with.
bool isUnderstood(const Suggestion& suggestion, const Schema& schema) {
  const Question question(suggestion.question, schema);
  if (answerAboutHistory({}, question)) return false;
  const auto finding = applyRules(question, schema);
  return finding && finding->isAnswer && finding->question.unused().empty() &&
         std::all_of(suggestion.fragments.begin(), suggestion.fragments.end(),
                     [&](const std::string& fragment) { return holdsWhole(finding->text, fragment); });
}

std::string listSuggestions(const Schema& schema) {
  const std::vector<std::string> questions =
      suggestQuestions(schema, [&](const Suggestion& suggestion) { return isUnderstood(suggestion, schema); });
  std::string text = "Of this schema I understand, for example:\n";
  for (const std::string& question : questions) text += "- " + question + "\n";
  return questions.empty() ? "" : text;
}

}  // namespace

std::string answerQuestion(std::string_view instructions, const std::vector<Turn>& history, std::string_view question) {
  const Schema schema = readSchema(instructions);
  const Question words(question, schema);
  if (auto answer = answerAboutHistory(history, words)) return *answer;
  if (schema.empty()) return std::string("No schema came with the instructions.\n") + std::string(kAbilities);
  const std::string basis = "From the schema in the instructions (" + countRelations(schema) + "):\n";
  const auto finding = applyRules(words, schema);
  if (!finding)
    return basis + "None of my rules fits this question.\n" + std::string(kAbilities) + listSuggestions(schema);
  const std::string answer = basis + finding->text + noteUnused(finding->question);
  return finding->isAnswer ? answer : answer + listSuggestions(schema);
}

}  // namespace standin
