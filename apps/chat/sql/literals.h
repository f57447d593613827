// The texts that a statement compares with.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// A text in single quotes.
struct TextLiteral {
  std::size_t begin = 0;  // where it stands in the statement, quotes included
  std::size_t size = 0;
  std::string value;       // what it stands for
  std::string comparison;  // "=", "<>", "LIKE", "IN", "BETWEEN" … in capitals; "": with nothing that is simple to tell
  std::string qualifier;   // of the column that it is compared with: a table or an alias; often ""
  std::string column;      // as it is called, without quotes; "" when there is no comparison
};

/// The text literals of `statement` in their order. The columns are hints from how the words stand, for what is written
/// simply: `country = 'Germany'`, `'x' = t.c`, `lower(city) LIKE 'b%'`, `c NOT IN ('a', 'b')`. Names of columns that
/// AS gives in single quotes are left out. Linear time.
std::vector<TextLiteral> findTextLiterals(std::string_view statement);
