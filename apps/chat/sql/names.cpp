#include "sql/names.h"

#include "ascii_case.h"
#include "sql/lexer.h"

std::vector<std::string> listSqlNames(std::string_view sql) {
  std::vector<std::string> names;
  SqlLexer lexer(sql);
  for (SqlToken token; lexer.nextSolid(token);) {
    if (token.isName()) names.push_back(toLowerAscii(unquoteSql(token)));
  }
  return names;
}

std::string quoteSqlName(std::string_view name) { return quoteSql(name, '"'); }
