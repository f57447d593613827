#include "words.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <iterator>
#include <utility>

namespace standin {
namespace {

constexpr auto kNumbers =
    std::to_array<std::string_view>({"one", "two", "three", "four", "five", "six", "seven", "eight", "nine", "ten"});

/// Words without weight: an answer that does not use them has left nothing out.
constexpr auto kLightWords = std::to_array<std::string_view>(
    {"a",     "all",  "also",   "an",   "and",  "any",   "are",  "as",   "at",   "can",   "could", "did",   "do",
     "does",  "each", "every",  "find", "for",  "from",  "get",  "give", "has",  "have",  "how",   "i",     "in",
     "is",    "it",   "its",    "let",  "list", "me",    "my",   "of",   "on",   "or",    "our",   "out",   "please",
     "query", "see",  "select", "show", "sql",  "table", "tell", "that", "the",  "their", "them",  "there", "these",
     "they",  "this", "to",     "us",   "want", "was",   "we",   "were", "what", "which", "with",  "you"});

bool isWordByte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return std::isalnum(byte) != 0 || byte >= 0x80;  // all of a letter beyond ASCII
}

bool isPluralOf(std::string_view plural, std::string_view singular) {
  const std::string stem(singular);
  if (plural == stem + "s" || plural == stem + "es") return true;
  return stem.ends_with('y') && plural == stem.substr(0, stem.size() - 1) + "ies";
}

bool isLight(std::string_view word) {
  return std::find(kLightWords.begin(), kLightWords.end(), word) != kLightWords.end();
}

}  // namespace

std::vector<std::string> splitWords(std::string_view text) {
  std::vector<std::string> words;
  bool inside = false;
  bool afterLower = false;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool upper = std::isupper(byte) != 0;
    if (!isWordByte(c)) {
      inside = false;
      continue;
    }
    if (!inside || (upper && afterLower)) words.emplace_back();
    words.back() += static_cast<char>(std::tolower(byte));
    inside = true;
    afterLower = std::islower(byte) != 0;
  }
  return words;
}

bool sameWord(std::string_view left, std::string_view right) {
  return left == right || isPluralOf(left, right) || isPluralOf(right, left);
}

Question::Question(std::string_view text, const Schema& schema) : schema_(schema) {
  for (std::string& word : splitWords(text)) words_.push_back({.text = std::move(word)});
  for (const Relation& relation : schema) {
    markName(splitWords(relation.name));
    for (const Column& column : relation.columns) markName(splitWords(column.name));
  }
}

void Question::markName(const std::vector<std::string>& name) {
  if (name.size() < 2) return;
  for (std::size_t at = 0; at + name.size() <= words_.size(); ++at) {
    if (!standsAt(name, at, words_.size())) continue;
    words_[at].nameSize = std::max(words_[at].nameSize, name.size());
    for (std::size_t i = at; i < at + name.size(); ++i) words_[i].insideName = true;
  }
}

bool Question::standsAt(const std::vector<std::string>& phrase, std::size_t at, std::size_t end) const {
  if (phrase.empty() || at + phrase.size() > end) return false;
  for (std::size_t i = 0; i < phrase.size(); ++i) {
    if (!sameWord(words_[at + i].text, phrase[i])) return false;
  }
  return true;
}

void Question::use(Range range) {
  for (std::size_t at = range.begin; at < range.end; ++at) words_[at].used = true;
}

std::optional<Range> Question::take(std::string_view phrase, Range range) {
  const std::vector<std::string> wanted = splitWords(phrase);
  for (std::size_t at = range.begin; at < range.end; ++at) {
    if (words_[at].insideName || !standsAt(wanted, at, range.end)) continue;
    const Range found{at, at + wanted.size()};
    use(found);
    return found;
  }
  return std::nullopt;
}

std::optional<int> Question::takeNumber(Range range) {
  for (std::size_t at = range.begin; at < range.end; ++at) {
    const std::string& text = words_[at].text;
    int number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto named = std::distance(kNumbers.begin(), std::find(kNumbers.begin(), kNumbers.end(), text));
    const bool isName = named != std::ssize(kNumbers);
    if (isName) number = static_cast<int>(named) + 1;
    if (number < 1 || (!isName && read.ptr != text.data() + text.size())) continue;
    use({at, at + 1});
    return number;
  }
  return std::nullopt;
}

const Relation* Question::relationAt(std::size_t at, std::size_t end, std::size_t& size) const {
  const Relation* best = nullptr;
  bool bestHasSchema = false;
  for (const Relation& relation : schema_) {
    const std::vector<std::string> name = splitWords(relation.name);
    if (name.size() < words_[at].nameSize || !standsAt(name, at, end)) continue;
    const std::vector<std::string> schema = splitWords(relation.schema);
    const bool hasSchema = schema.size() <= at && standsAt(schema, at - schema.size(), at);
    if (best != nullptr && (name.size() < size || (name.size() == size && (bestHasSchema || !hasSchema)))) continue;
    best = &relation;
    bestHasSchema = hasSchema;
    size = name.size();
  }
  return best;
}

std::vector<Mention> Question::takeRelations(Range range) {
  std::vector<Mention> mentions;
  for (std::size_t at = range.begin; at < range.end;) {
    std::size_t size = 0;
    const Relation* relation = relationAt(at, range.end, size);
    if (relation == nullptr) {
      at += words_[at].nameSize;
      continue;
    }
    mentions.push_back({relation, {at, at + size}});
    use(mentions.back().where);
    at += size;
  }
  return mentions;
}

std::optional<ColumnRef> Question::takeColumn(const Relation& relation, Range range, bool byLastWord) {
  for (std::size_t at = range.begin; at < range.end; ++at) {
    for (const Column& column : relation.columns) {
      std::vector<std::string> name = splitWords(column.name);
      if (byLastWord && (name.size() < 2 || isKeyColumn(relation, column.name))) continue;
      if (byLastWord) name.erase(name.begin(), name.end() - 1);
      if (!byLastWord && name.size() < words_[at].nameSize) continue;
      if (!byLastWord && name.size() == 1 && words_[at].insideName) continue;
      if (!standsAt(name, at, range.end)) continue;
      use({at, at + name.size()});
      return ColumnRef{&relation, &column};
    }
  }
  return std::nullopt;
}

std::vector<std::string> Question::unused() const {
  std::vector<std::string> words;
  for (const Word& word : words_) {
    if (!word.used && !isLight(word.text)) words.push_back(word.text);
  }
  return words;
}

std::string Question::textOf(Range range) const {
  std::string text;
  for (std::size_t at = range.begin; at < range.end; ++at) {
    if (isLight(words_[at].text)) continue;
    text += (text.empty() ? "" : " ") + words_[at].text;
  }
  return text;
}

}  // namespace standin
