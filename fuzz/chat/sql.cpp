// An answer of a service as qai-chat reads it: its statements, their tokens, names and texts, and what hides in it.
#include "chat/processor_time.h"
#include "chat/targets.h"
#include "expect.h"
#include "sql/answer_statements.h"
#include "sql/fences.h"
#include "sql/lexer.h"
#include "sql/literals.h"
#include "sql/marking.h"
#include "sql/names.h"
#include "sql/statements.h"
#include "terminal/rendering.h"

#include <cf/text.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace {

void fuzzTokens(std::string_view text) {
  std::string joined;
  std::vector<std::size_t> solid;
  std::size_t names = 0;
  SqlLexer lexer(text);
  for (SqlToken token; lexer.next(token);) {
    expect(token.begin == joined.size() && !token.text.empty(), "a token begins where the last one ends", text);
    joined += token.text;
    expect(token.end() == joined.size() && lexer.position() == joined.size(), "a token tells where it ends", text);
    if (!token.isBlank()) solid.push_back(token.begin);
    if (token.isName()) ++names;
    expect(unquoteSql(token).size() <= token.text.size(), "without quotes a token is no longer", token.text);
  }
  expect(joined == text, "the tokens are the text", joined);
  const std::vector<SqlToken> tokens = readSolidTokens(text);
  expect(std::equal(tokens.begin(), tokens.end(), solid.begin(), solid.end(),
                    [](const SqlToken& token, std::size_t begin) { return token.begin == begin; }),
         "the solid tokens are all but blanks and comments", text);
  expect(listSqlNames(text).size() == names, "each name is listed", text);
}

void fuzzQuotes(std::string_view text) {
  for (const char quote : {'\'', '"', '`'}) {
    const std::string quoted = quoteSql(text, quote);
    const std::vector<SqlToken> tokens = readSolidTokens(quoted);
    expect(tokens.size() == 1 && tokens.front().text == quoted, "what is quoted is one token", quoted);
    expect(unquoteSql(tokens.front()) == text, "what is quoted is read back", quoted);
  }
}

void fuzzLiterals(std::string_view statement) {
  std::size_t end = 0;
  for (const TextLiteral& literal : findTextLiterals(statement)) {
    expect(literal.begin >= end && literal.size > 0 && literal.begin + literal.size <= statement.size(),
           "a literal stands in the statement, behind the last one", statement);
    end = literal.begin + literal.size;
    const std::string_view text = statement.substr(literal.begin, literal.size);
    const std::vector<SqlToken> tokens = readSolidTokens(text);
    expect(tokens.size() == 1 && tokens.front().kind == SqlTokenKind::Text, "a literal is a text", text);
    expect(literal.value == unquoteSql(tokens.front()), "a literal's value is what it stands for", text);
    expect(literal.column.empty() || !literal.comparison.empty(), "a column has a comparison", statement);
  }
}

void fuzzMarking(std::string_view text) {
  const MarkedText marked = markHidden(text);
  expect(cfIsUTF8(marked.text), "what is marked is UTF-8", marked.text);
  expect(terminalSafe(marked.text) == marked.text, "a terminal shows what is marked as it is", marked.text);
  expect(markHidden(marked.text).text == marked.text, "what is marked has nothing more to mark", marked.text);
  std::string plain(text);
  for (std::size_t at = 0; (at = plain.find("\r\n", at)) != std::string::npos;) plain.erase(at, 1);
  expect(marked.hasMarks || marked.text == plain, "nothing changes without a mark", marked.text);
}

void fuzzStatements(std::string_view text) {
  std::size_t size = 0;
  for (const std::string& statement : splitStatements(text)) {
    size += statement.size();
    expect(!isEmptyStatement(statement), "a statement holds something to run", statement);
    expect(tidyStatement(statement) == statement, "a statement has no blanks around it", statement);
    expect(text.find(statement) != std::string_view::npos, "a statement is as it stands in the text", statement);
    // A point behind a blank is no command of a shell, but it is one where the line begins with it.
    if (!statement.starts_with('.')) {
      expect(splitStatements(statement) == std::vector{statement}, "a statement is one", statement);
    }
    fuzzLiterals(statement);
  }
  expect(size <= text.size(), "the statements are parts of the text", text);
}

void fuzzAnswer(std::string_view answer) {
  std::size_t size = 0;
  for (const FencedCode& block : findFencedCode(answer)) {
    size += block.code.size();
    fuzzStatements(block.code);
  }
  expect(size <= answer.size() + 1, "code is no longer than the answer", answer);
  std::size_t statements = 0;
  for (const std::string& statement : findStatements(answer)) {
    statements += statement.size();
    expect(!isEmptyStatement(statement), "a proposed statement holds something to run", statement);
  }
  expect(statements <= size, "the statements are parts of the code", answer);
}

void fuzzAll(std::string_view text) {
  fuzzTokens(text);
  fuzzQuotes(text);
  fuzzLiterals(text);
  fuzzMarking(text);
  fuzzStatements(text);
  fuzzAnswer(text);
}

/// What starts over at each piece takes minutes for so many.
void fuzzLength(std::string_view piece) {
  constexpr std::size_t kEnough = 1 << 16;
  constexpr double kSoon = 5;  // with the sanitizers; linear, it takes one
  std::string text;
  while (text.size() < kEnough) text += piece;
  const double start = processorSeconds();
  fuzzAll(text);
  expect(processorSeconds() - start < kSoon, "a text is read in linear time", piece);
}

}  // namespace

void fuzzSql(std::string_view input) {
  constexpr std::string_view kRepeat = "repeat:";
  constexpr std::size_t kLongest = 20;
  const std::vector<char> own(input.begin(), input.end());  // without a NUL behind it: whoever looks there is found
  fuzzAll({own.data(), own.size()});
  const bool isRepeated = input.starts_with(kRepeat) && input.size() > kRepeat.size() && input.size() <= kLongest;
  if (isRepeated) fuzzLength(input.substr(kRepeat.size()));
}
