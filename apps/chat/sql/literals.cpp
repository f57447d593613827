#include "sql/literals.h"

#include "ascii_case.h"
#include "sql/lexer.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace {

using Tokens = std::vector<SqlToken>;

constexpr std::array<std::string_view, 8> kComparisonSymbols{"=", "==", "<>", "!=", "<", ">", "<=", ">="};
constexpr std::array<std::string_view, 6> kComparisonWords{"IS", "LIKE", "ILIKE", "GLOB", "MATCH", "REGEXP"};
constexpr std::array<std::string_view, 12> kNoNames{"AND",  "BETWEEN", "BY",  "CASE", "ELSE", "FROM",
                                                    "NULL", "ON",      "NOT", "THEN", "WHEN", "WHERE"};

template <std::size_t Count>
bool isOneOf(const SqlToken& token, const std::array<std::string_view, Count>& words) {
  return std::any_of(words.begin(), words.end(), [&](std::string_view word) { return token.isWord(word); });
}

bool isName(const SqlToken& token) { return token.isName() && !isOneOf(token, kNoNames); }

bool isComparison(const SqlToken& token) {
  if (token.kind == SqlTokenKind::Word) return isOneOf(token, kComparisonWords);
  return token.kind == SqlTokenKind::Symbol &&
         std::find(kComparisonSymbols.begin(), kComparisonSymbols.end(), token.text) != kComparisonSymbols.end();
}

struct ColumnName {
  std::string qualifier;
  std::string column;
};

/// The solid tokens of a statement. Places run up to, not including, `end`; where they are out of range there is an
/// empty symbol.
class Reader {
 public:
  explicit Reader(std::string_view statement) : tokens_(readSolidTokens(statement)) {}

  const Tokens& tokens() const { return tokens_; }

  const SqlToken& at(std::size_t place) const {
    static const SqlToken kNone;
    return place < tokens_.size() ? tokens_[place] : kNone;
  }

  /// The column that is named before `end`, or is all that the function called there takes.
  std::optional<ColumnName> columnBefore(std::size_t end) const {
    if (at(end - 1).isSymbol(")")) {
      const auto inner = nameBefore(end - 1);
      const std::size_t opening = end - 1 - (inner && !inner->qualifier.empty() ? 4 : 2);
      return inner && at(opening).isSymbol("(") ? inner : std::nullopt;
    }
    return nameBefore(end);
  }

  /// The column that stands at `begin`.
  std::optional<ColumnName> columnAt(std::size_t begin) const {
    const SqlToken& first = at(begin);
    if (!isName(first)) return std::nullopt;
    if (at(begin + 1).isSymbol(".")) {
      return isName(at(begin + 2)) ? std::optional(ColumnName{unquoteSql(first), unquoteSql(at(begin + 2))})
                                   : std::nullopt;
    }
    if (at(begin + 1).isSymbol("(")) return std::nullopt;
    return ColumnName{"", unquoteSql(first)};
  }

 private:
  std::optional<ColumnName> nameBefore(std::size_t end) const {
    const SqlToken& last = at(end - 1);
    if (!isName(last)) return std::nullopt;
    const bool isQualified = at(end - 2).isSymbol(".") && isName(at(end - 3));
    return ColumnName{isQualified ? unquoteSql(at(end - 3)) : "", unquoteSql(last)};
  }

  Tokens tokens_;
};

/// What a literal is compared with, by what stands around it.
struct Hint {
  std::string comparison;
  ColumnName column;
};

class HintReader {
 public:
  explicit HintReader(const Reader& reader) : reader_(reader) {}

  /// Called for each place in turn, for a list has one hint for all of its items.
  void pass(std::size_t place) {
    const SqlToken& token = reader_.at(place);
    if (token.isSymbol("(") && reader_.at(place - 1).isWord("IN")) {
      list_ = hintBefore(place - 1, "IN");
    } else if (token.kind != SqlTokenKind::Text && !token.isSymbol(",")) {
      list_.reset();
    }
  }

  std::optional<Hint> hintAt(std::size_t place) const {
    if (list_) return list_;
    const SqlToken& before = reader_.at(place - 1);
    if (isComparison(before)) return hintBefore(place - 1, toCapitalsAscii(before.text));
    if (before.isWord("NOT") && reader_.at(place - 2).isWord("IS")) return hintBefore(place - 2, "IS NOT");
    if (before.isWord("BETWEEN")) return hintBefore(place - 1, "BETWEEN");
    if (before.isWord("AND") && reader_.at(place - 2).kind == SqlTokenKind::Text &&
        reader_.at(place - 3).isWord("BETWEEN")) {
      return hintBefore(place - 3, "BETWEEN");
    }
    return hintBehind(place);
  }

 private:
  /// `place` is where the comparison begins.
  std::optional<Hint> hintBefore(std::size_t place, const std::string& comparison) const {
    const bool isNegated = reader_.at(place - 1).isWord("NOT");
    const auto column = reader_.columnBefore(isNegated ? place - 1 : place);
    if (!column) return std::nullopt;
    return Hint{(isNegated ? "NOT " : "") + comparison, *column};
  }

  std::optional<Hint> hintBehind(std::size_t place) const {
    const SqlToken& behind = reader_.at(place + 1);
    if (behind.kind != SqlTokenKind::Symbol || !isComparison(behind)) return std::nullopt;
    const auto column = reader_.columnAt(place + 2);
    return column ? std::optional(Hint{std::string(behind.text), *column}) : std::nullopt;
  }

  const Reader& reader_;
  std::optional<Hint> list_;  // inside "IN (…)", as long as only texts stand there
};

/// x'…' are bytes, and a text behind AS is a name.
bool isOtherThanText(const SqlToken& before, const SqlToken& literal) {
  return before.isWord("AS") || (before.isWord("X") && before.end() == literal.begin);
}

}  // namespace

std::vector<TextLiteral> findTextLiterals(std::string_view statement) {
  const Reader reader(statement);
  HintReader hints(reader);
  std::vector<TextLiteral> literals;
  for (std::size_t place = 0; place < reader.tokens().size(); ++place) {
    hints.pass(place);
    const SqlToken& token = reader.at(place);
    if (token.kind != SqlTokenKind::Text || isOtherThanText(reader.at(place - 1), token)) continue;
    TextLiteral literal;
    literal.begin = token.begin;
    literal.size = token.text.size();
    literal.value = unquoteSql(token);
    if (auto hint = hints.hintAt(place)) {
      literal.comparison = std::move(hint->comparison);
      literal.qualifier = std::move(hint->column.qualifier);
      literal.column = std::move(hint->column.column);
    }
    literals.push_back(std::move(literal));
  }
  return literals;
}
