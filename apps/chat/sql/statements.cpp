#include "sql/statements.h"

#include "sql/lexer.h"

#include <cf/text.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace {

/// Follows a statement from token to token up to the semicolon that ends it.
class StatementEnd {
 public:
  /// @return whether the statement ends with `token`, which is no blank
  bool add(const SqlToken& token) {
    const bool ends = token.kind == SqlTokenKind::Semicolon && (!isTrigger_ || trail_ == Trail::End);
    follow(token);
    if (opening_ != Opening::Other) readOpening(token);
    return ends;
  }

 private:
  /// "CREATE [TEMP] TRIGGER", which something to explain may stand before.
  void readOpening(const SqlToken& token) {
    const bool isCreate = opening_ == Opening::None && token.isWord("CREATE");
    const bool goesOn = opening_ == Opening::None
                            ? token.isWord("EXPLAIN") || token.isWord("QUERY") || token.isWord("PLAN")
                            : token.isWord("TEMP") || token.isWord("TEMPORARY");
    isTrigger_ = opening_ == Opening::Create && token.isWord("TRIGGER");
    if (isCreate) {
      opening_ = Opening::Create;
    } else if (!goesOn) {
      opening_ = Opening::Other;
    }
  }

  /// A trigger ends with "; END ;": the END of a CASE has no semicolon before it.
  void follow(const SqlToken& token) {
    if (token.kind == SqlTokenKind::Semicolon) {
      trail_ = Trail::Semicolon;
    } else {
      trail_ = trail_ == Trail::Semicolon && token.isWord("END") ? Trail::End : Trail::None;
    }
  }

  enum class Opening : std::uint8_t { None, Create, Other };
  enum class Trail : std::uint8_t { None, Semicolon, End };  // what has just been read

  Opening opening_ = Opening::None;
  Trail trail_ = Trail::None;
  bool isTrigger_ = false;
};

class Splitter {
 public:
  explicit Splitter(std::string_view sql) : sql_(sql), lexer_(sql) {}

  std::vector<std::string> split() {
    for (SqlToken token; lexer_.next(token);) {
      if (!hasSolid_ && isShellCommand(token)) {
        lexer_.skip(restOfLine());
        begin_ = lexer_.position();
      } else if (!token.isBlank()) {
        take(token);
      } else if (endsLineBehindStatement(token)) {
        begin_ = lexer_.position();
      }
    }
    finish(sql_.size());
    return std::move(statements_);
  }

 private:
  void take(const SqlToken& token) {
    const bool ends = end_.add(token);
    hasSolid_ = hasSolid_ || token.kind != SqlTokenKind::Semicolon;
    if (!ends) return;
    finish(lexer_.position());
    behindStatement_ = true;
  }

  void finish(std::size_t end) {
    if (hasSolid_) statements_.push_back(tidyStatement(sql_.substr(begin_, end - begin_)));
    begin_ = end;
    hasSolid_ = false;
    end_ = {};
  }

  /// Whether `token`, a blank or a comment, still belongs to the line on which the last statement ended.
  bool endsLineBehindStatement(const SqlToken& token) {
    if (hasSolid_ || !behindStatement_) return false;
    behindStatement_ = token.text.find('\n') == std::string_view::npos;
    return token.kind == SqlTokenKind::Comment;
  }

  bool isShellCommand(const SqlToken& token) const {
    const bool isFirst = token.begin == 0 || sql_[token.begin - 1] == '\n';
    const std::string_view next = sql_.substr(lexer_.position(), 1);
    return isFirst && token.isSymbol(".") && next >= "a" && next <= "z";
  }

  std::size_t restOfLine() const {
    const std::string_view rest = sql_.substr(lexer_.position());
    return std::min(rest.find('\n'), rest.size());
  }

  std::string_view sql_;
  SqlLexer lexer_;
  StatementEnd end_;
  std::size_t begin_ = 0;         // of the statement
  bool hasSolid_ = false;         // it holds something to run
  bool behindStatement_ = false;  // on the line where one ended
  std::vector<std::string> statements_;
};

}  // namespace

std::vector<std::string> splitStatements(std::string_view sql) { return Splitter(sql).split(); }

std::string tidyStatement(std::string_view statement) { return cfTrimAsString(statement); }

bool isEmptyStatement(std::string_view sql) {
  SqlLexer lexer(sql);
  for (SqlToken token; lexer.nextSolid(token);) {
    if (token.kind != SqlTokenKind::Semicolon) return false;
  }
  return true;
}
