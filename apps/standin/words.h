// The words of a question, and the names of a schema found among them.
#pragma once

#include "ddl.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace standin {

/// The words of a text or of a name, in lower case: "order_date", "OrderDate" and "order date" alike give two.
std::vector<std::string> splitWords(std::string_view text);

/// Whether two words are the same but for the English plural.
bool sameWord(std::string_view left, std::string_view right);

/// Words from `begin` up to, not including, `end`.
struct Range {
  std::size_t begin = 0;
  std::size_t end = 0;
};

struct Mention {
  const Relation* relation;
  Range where;
};

struct ColumnRef {
  const Relation* relation;
  const Column* column;
};

/// A question read against a schema, which must outlive it. What is taken from it counts as used.
class Question {
 public:
  Question(std::string_view text, const Schema& schema);

  Range whole() const { return {0, words_.size()}; }
  const std::string& word(std::size_t at) const { return words_[at].text; }

  /// Takes the first place in `range` where `phrase` stands outside of names of several words.
  std::optional<Range> take(std::string_view phrase, Range range);
  bool has(std::string_view phrase) { return take(phrase, whole()).has_value(); }
  /// Takes the first number in `range`, in digits or as a word up to ten.
  std::optional<int> takeNumber(Range range);

  void takeAll() { use(whole()); }
  /// Takes all tables and views that are named in `range`.
  std::vector<Mention> takeRelations(Range range);
  /// Takes the first of the columns of `relation` that is named in `range`: by its whole name, or with `byLastWord`
  /// by the end of it, keys excepted.
  std::optional<ColumnRef> takeColumn(const Relation& relation, Range range, bool byLastWord);

  /// The words of weight that nothing has taken.
  std::vector<std::string> unused() const;
  /// The words of weight in `range`, as one text.
  std::string textOf(Range range) const;

 private:
  struct Word {
    std::string text;
    std::size_t nameSize = 1;  // words of the longest name that begins here
    bool insideName = false;   // a name of several words holds it
    bool used = false;
  };

  bool standsAt(const std::vector<std::string>& phrase, std::size_t at, std::size_t end) const;
  void use(Range range);
  const Relation* relationAt(std::size_t at, std::size_t end, std::size_t& size) const;
  void markName(const std::vector<std::string>& name);

  const Schema& schema_;
  std::vector<Word> words_;
};

}  // namespace standin
