// The tokens of SQL text, as all dialects write them alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum class SqlTokenKind : std::uint8_t {
  Blank,
  Comment,     // "-- …" without its newline, "/* … */"
  Text,        // '…'
  QuotedName,  // "…", `…` or […]
  Number,
  Word,  // a keyword, or a name without quotes
  Semicolon,
  Symbol,  // one or more characters of an operator, a parenthesis, a comma …
};

/// A part of a text; the text must outlive it.
struct SqlToken {
  SqlTokenKind kind = SqlTokenKind::Symbol;
  std::string_view text;
  std::size_t begin = 0;  // in the whole text

  std::size_t end() const { return begin + text.size(); }
  bool isBlank() const { return kind == SqlTokenKind::Blank || kind == SqlTokenKind::Comment; }
  /// Whether it is a name, with quotes or without them, or a key word.
  bool isName() const { return kind == SqlTokenKind::Word || kind == SqlTokenKind::QuotedName; }
  bool isSymbol(std::string_view symbol) const { return kind == SqlTokenKind::Symbol && text == symbol; }
  /// Whether it is this word, given in capitals, in whatever case.
  bool isWord(std::string_view capitals) const;
};

/// Takes a text apart, in linear time. The tokens joined are the text; what is not closed goes up to its end.
class SqlLexer {
 public:
  explicit SqlLexer(std::string_view text) : text_(text) {}

  /// @return false at the end
  bool next(SqlToken& token);
  /// The same, past blanks and comments.
  bool nextSolid(SqlToken& token);
  /// Where the next token begins.
  std::size_t position() const { return at_; }
  /// Goes on behind `count` more bytes.
  void skip(std::size_t count) { at_ += count; }

 private:
  std::string_view text_;
  std::size_t at_ = 0;
};

/// All tokens of `text` but blanks and comments.
std::vector<SqlToken> readSolidTokens(std::string_view text);

/// What a token in quotes stands for: without them, and with doubled ones once. Any other token's own text.
std::string unquoteSql(const SqlToken& token);

/// `text` between two of `quote`, which are doubled inside: ' for a text, " or ` for a name.
std::string quoteSql(std::string_view text, char quote);
