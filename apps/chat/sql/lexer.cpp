#include "sql/lexer.h"

#include "ascii_case.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";

bool isBlankByte(char c) { return kBlanks.find(c) != std::string_view::npos; }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// All of a character beyond ASCII counts as a letter, as it does for engines.
bool isWordByte(char c) {
  const char capital = toCapitalAscii(c);
  return isDigit(c) || (capital >= 'A' && capital <= 'Z') || c == '_' || c == '$' ||
         static_cast<unsigned char>(c) >= 0x80U;
}

template <typename Predicate>
std::size_t sizeWhile(std::string_view text, Predicate holds) {
  return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), holds) - text.begin());
}

std::size_t sizeUpTo(std::string_view text, std::string_view end, std::size_t from) {
  const std::size_t found = text.find(end, from);
  return found == std::string_view::npos ? text.size() : found + end.size();
}

/// Of what stands in quotes, which are doubled inside.
std::size_t sizeOfQuoted(std::string_view text) {
  const char quote = text.front();
  std::size_t size = 1;
  for (;;) {
    size = text.find(quote, size);
    if (size == std::string_view::npos) return text.size();
    ++size;
    if (size == text.size() || text[size] != quote) return size;
    ++size;
  }
}

std::size_t sizeOfNumber(std::string_view text) {
  std::size_t size = 0;
  while (size < text.size() && (isWordByte(text[size]) || text[size] == '.')) {
    const bool isExponent =
        toCapitalAscii(text[size]) == 'E' && toCapitalAscii(text[std::min<std::size_t>(1, size)]) != 'X';
    ++size;
    if (isExponent && size + 1 < text.size() && (text[size] == '+' || text[size] == '-') && isDigit(text[size + 1])) {
      ++size;
    }
  }
  return size;
}

std::size_t sizeOfSymbol(std::string_view text) {
  constexpr std::array<std::string_view, 11> kSymbols{
      "->>", "<>", "!=", "==", "<=", ">=", "||", "->", "<<", ">>", "::"};
  for (const std::string_view symbol : kSymbols) {
    if (text.starts_with(symbol)) return symbol.size();
  }
  return 1;
}

struct Extent {
  SqlTokenKind kind;
  std::size_t size;
};

Extent measureToken(std::string_view text) {
  const char first = text.front();
  const bool beginsFraction = first == '.' && text.size() > 1 && isDigit(text[1]);
  if (isBlankByte(first)) return {SqlTokenKind::Blank, sizeWhile(text, isBlankByte)};
  if (text.starts_with("--")) return {SqlTokenKind::Comment, std::min(text.find('\n'), text.size())};
  if (text.starts_with("/*")) return {SqlTokenKind::Comment, sizeUpTo(text, "*/", 2)};
  if (first == '\'') return {SqlTokenKind::Text, sizeOfQuoted(text)};
  if (first == '"' || first == '`') return {SqlTokenKind::QuotedName, sizeOfQuoted(text)};
  if (first == '[') return {SqlTokenKind::QuotedName, sizeUpTo(text, "]", 1)};
  if (first == ';') return {SqlTokenKind::Semicolon, 1};
  if (isDigit(first) || beginsFraction) return {SqlTokenKind::Number, sizeOfNumber(text)};
  if (isWordByte(first)) return {SqlTokenKind::Word, sizeWhile(text, isWordByte)};
  return {SqlTokenKind::Symbol, sizeOfSymbol(text)};
}

}  // namespace

bool SqlToken::isWord(std::string_view capitals) const {
  return kind == SqlTokenKind::Word && std::equal(text.begin(), text.end(), capitals.begin(), capitals.end(),
                                                  [](char left, char right) { return toCapitalAscii(left) == right; });
}

bool SqlLexer::next(SqlToken& token) {
  if (at_ >= text_.size()) return false;
  const Extent extent = measureToken(text_.substr(at_));
  token = {extent.kind, text_.substr(at_, extent.size), at_};
  at_ += extent.size;
  return true;
}

bool SqlLexer::nextSolid(SqlToken& token) {
  while (next(token)) {
    if (!token.isBlank()) return true;
  }
  return false;
}

std::vector<SqlToken> readSolidTokens(std::string_view text) {
  std::vector<SqlToken> tokens;
  SqlLexer lexer(text);
  for (SqlToken token; lexer.nextSolid(token);) tokens.push_back(token);
  return tokens;
}

std::string unquoteSql(const SqlToken& token) {
  if (token.kind != SqlTokenKind::Text && token.kind != SqlTokenKind::QuotedName) return std::string(token.text);
  const char quote = token.text.front() == '[' ? ']' : token.text.front();
  std::string_view inner = token.text.substr(1);
  if (inner.ends_with(quote)) inner.remove_suffix(1);
  std::string plain;
  for (std::size_t at = 0; at < inner.size(); ++at) {
    plain += inner[at];
    if (inner[at] == quote && at + 1 < inner.size() && inner[at + 1] == quote) ++at;
  }
  return plain;
}

std::string quoteSql(std::string_view text, char quote) {
  std::string quoted(1, quote);
  for (const char c : text) quoted.append(c == quote ? 2 : 1, c);
  return quoted + quote;
}
