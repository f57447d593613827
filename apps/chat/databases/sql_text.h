// SQL as words, as far as this room must look at it: to name things, never to decide what may be run.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

struct SqlWord {
  enum class Kind { Identifier, QuotedIdentifier, Text, Other };

  Kind kind;
  std::size_t begin;  // bytes from the start of the SQL
  std::size_t end;
};

/// Without white space and comments. `Other` is a number or one character of an operator.
std::vector<SqlWord> splitSql(std::string_view sql);

/// What stands in the quotes of an identifier, or the identifier itself.
std::string readIdentifier(std::string_view sql, const SqlWord& word);

/// All identifiers and key words of `sql`, without their quotes, with A to Z in lower case.
std::vector<std::string> listIdentifiers(std::string_view sql);

/// `name` as an identifier in quotes.
std::string quoteIdentifier(std::string_view name);

/// With A to Z in lower case, as names are compared.
std::string toLowerAscii(std::string_view text);
