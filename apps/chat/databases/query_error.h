// Why a statement failed: for the user in the engine's words, for anyone else without a value of any row.
#pragma once

#include "databases/description.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

enum class QueryProblem {
  Syntax,
  NoSuchTable,
  NoSuchColumn,
  NoSuchFunction,
  NoSuchObject,  // an index, a module, a collation
  AmbiguousColumn,
  WrongArguments,
  MisusedAggregate,
  ColumnCounts,
  NotAllowed,
  TooLong,
  Interrupted,
  TooMuchMemory,
  TooLarge,
  TooComplex,
  BadJson,
  BadMatch,
  Overflow,
  Constraint,
  CannotWrite,
  Locked,
  Damaged,
  Unreadable,
  Other,
};

/// Our own words for it, as part of a sentence.
std::string_view describe(QueryProblem problem);

/// what() is for the user at the terminal alone: it holds the engine's words, which may quote a row's value.
class QueryError : public std::runtime_error {
 public:
  QueryError(QueryProblem aProblem, std::string aName, std::string text);

  QueryProblem problem;
  std::string name;        // that the engine gave when it prepared the statement; "" when it gave none
  std::string engineText;  // or the reason why it is not allowed
};

/// What may be told of `error` to one who must not see a value: our words and the name it concerns. The name is left
/// out unless `database` has it as the name of a schema, table or column, or `sql` has it among its names.
std::string describeWithoutValues(const QueryError& error, const DatabaseDescription& database, std::string_view sql);
