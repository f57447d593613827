#include "databases/sql_text.h"

#include <algorithm>

namespace {

bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool startsWord(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}
bool isWordPart(char c) { return startsWord(c) || isDigit(c) || c == '$'; }

/// The end of what is quoted at `begin`; a doubled quote does not end it.
std::size_t findQuoteEnd(std::string_view sql, std::size_t begin) {
  const char quote = sql[begin] == '[' ? ']' : sql[begin];
  for (std::size_t at = begin + 1; at < sql.size(); ++at) {
    if (sql[at] != quote) continue;
    if (quote == ']' || at + 1 == sql.size() || sql[at + 1] != quote) return at + 1;
    ++at;
  }
  return sql.size();
}

/// The end of the white space or comment at `begin`, `begin` when there is none.
std::size_t skipBlank(std::string_view sql, std::size_t begin) {
  if (isSpace(sql[begin])) return begin + 1;
  if (sql.substr(begin, 2) == "--") return std::min(sql.find('\n', begin), sql.size());
  if (sql.substr(begin, 2) != "/*") return begin;
  const std::size_t end = sql.find("*/", begin + 2);
  return end == std::string_view::npos ? sql.size() : end + 2;
}

std::size_t findEnd(std::string_view sql, std::size_t begin) {
  return static_cast<std::size_t>(
      std::find_if_not(sql.begin() + static_cast<std::ptrdiff_t>(begin), sql.end(), isWordPart) - sql.begin());
}

SqlWord readWord(std::string_view sql, std::size_t begin) {
  const char c = sql[begin];
  if (c == '\'') return {SqlWord::Kind::Text, begin, findQuoteEnd(sql, begin)};
  if (c == '"' || c == '`' || c == '[') return {SqlWord::Kind::QuotedIdentifier, begin, findQuoteEnd(sql, begin)};
  if (startsWord(c)) return {SqlWord::Kind::Identifier, begin, findEnd(sql, begin)};
  if (isDigit(c)) return {SqlWord::Kind::Other, begin, findEnd(sql, begin)};
  return {SqlWord::Kind::Other, begin, begin + 1};
}

}  // namespace

std::vector<SqlWord> splitSql(std::string_view sql) {
  std::vector<SqlWord> words;
  for (std::size_t at = 0; at < sql.size();) {
    const std::size_t next = skipBlank(sql, at);
    if (next == at) words.push_back(readWord(sql, at));
    at = next == at ? words.back().end : next;
  }
  return words;
}

std::string readIdentifier(std::string_view sql, const SqlWord& word) {
  const std::string_view whole = sql.substr(word.begin, word.end - word.begin);
  if (word.kind != SqlWord::Kind::QuotedIdentifier) return std::string(whole);
  const char quote = whole.front() == '[' ? ']' : whole.front();
  const bool isClosed = whole.size() > 1 && whole.back() == quote;
  std::string name;
  for (std::size_t at = 1; at < whole.size() - (isClosed ? 1 : 0); ++at) {
    name += whole[at];
    if (whole[at] == quote) ++at;
  }
  return name;
}

std::vector<std::string> listIdentifiers(std::string_view sql) {
  std::vector<std::string> names;
  for (const SqlWord& word : splitSql(sql)) {
    if (word.kind == SqlWord::Kind::Identifier || word.kind == SqlWord::Kind::QuotedIdentifier)
      names.push_back(toLowerAscii(readIdentifier(sql, word)));
  }
  return names;
}

std::string quoteIdentifier(std::string_view name) {
  std::string quoted = "\"";
  for (const char c : name) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + '"';
}

std::string toLowerAscii(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return lower;
}
