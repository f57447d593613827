#include "sql/answer_statements.h"

#include "sql/fences.h"
#include "sql/lexer.h"
#include "sql/statements.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace {

/// How a statement begins, and a word that prose with the same beginning would hardly have.
struct Beginning {
  std::string_view first;
  std::string_view later;  // in the same statement; "": none is needed
};
constexpr std::array kBeginnings{
    Beginning{"SELECT", ""},        Beginning{"WITH", "AS"},      Beginning{"VALUES", ""},
    Beginning{"EXPLAIN", "SELECT"}, Beginning{"INSERT", "INTO"},  Beginning{"UPDATE", "SET"},
    Beginning{"DELETE", "FROM"},    Beginning{"REPLACE", "INTO"}, Beginning{"PRAGMA", ""},
    Beginning{"CREATE", "TABLE"},   Beginning{"CREATE", "INDEX"}, Beginning{"CREATE", "VIEW"},
    Beginning{"DROP", "TABLE"},     Beginning{"ALTER", "TABLE"},  Beginning{"CREATE", "TRIGGER"}};

bool holdsWord(std::string_view sql, std::string_view capitals) {
  SqlLexer lexer(sql);
  for (SqlToken token; lexer.nextSolid(token) && token.kind != SqlTokenKind::Semicolon;) {
    if (token.isWord(capitals)) return true;
  }
  return false;
}

bool looksLikeSql(std::string_view code) {
  SqlLexer lexer(code);
  SqlToken first;
  do {
    if (!lexer.nextSolid(first)) return false;
  } while (first.isSymbol("("));
  return std::any_of(kBeginnings.begin(), kBeginnings.end(), [&](const Beginning& beginning) {
    return first.isWord(beginning.first) && (beginning.later.empty() || holdsWord(code, beginning.later));
  });
}

bool isSql(const FencedCode& block) {
  if (block.language.empty()) return looksLikeSql(block.code);
  return block.language.find("sql") != std::string::npos;  // dialects are called "sqlite", "plsql" and the like
}

}  // namespace

std::vector<std::string> findStatements(std::string_view answer) {
  std::vector<std::string> statements;
  for (const FencedCode& block : findFencedCode(answer)) {
    if (!isSql(block)) continue;
    std::vector<std::string> found = splitStatements(block.code);
    std::move(found.begin(), found.end(), std::back_inserter(statements));
  }
  return statements;
}
