// What the program does with a database, whatever its product.
#pragma once

#include "databases/description.h"
#include "databases/query_error.h"
#include "databases/result.h"
#include "databases/statement.h"
#include "exit_code.h"

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// Why a database can't be opened or read: a sentence for the user.
class DatabaseError : public std::runtime_error {
 public:
  DatabaseError(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), exitCode(code) {}

  ExitCode exitCode;
};

enum class Access { Read, Write };

/// Access to one database. Used by one thread but for interrupt(). What is given to check, run and explain comes from
/// anyone: the engine itself, and no look at the text, sees to it that they change nothing in the database, in its
/// folder or elsewhere.
///
/// Each operation on a statement throws QueryError when the statement fails, and std::bad_alloc when the machine, and
/// not a limit, has no more memory.
class Database {
 public:
  virtual ~Database() = default;

  /// The product, whose SQL dialect a model should write.
  virtual std::string productName() const = 0;

  /// Takes a few seconds at most.
  /// @throw DatabaseError
  virtual DatabaseDescription readDescription() = 0;

  /// What the one statement in `sql` would do. It is prepared, not run.
  virtual StatementCheck check(const std::string& sql) = 0;

  /// The rows of a statement that reads, within `limits`.
  /// @throw QueryError, too, when it does anything else: QueryProblem::NotAllowed with check's reason
  virtual Result run(const std::string& sql, const RunLimits& limits) = 0;

  /// Runs a statement that writes in a transaction of its own, which is kept only when `confirm`, called once with the
  /// number of changed rows, gives true; while it thinks, others can't write, and the deadline does not run. An
  /// interrupt that comes until then takes the changes back.
  ///
  /// Counted are the rows that the statement, its triggers and the actions of foreign keys insert, update or delete.
  /// SQLite does not count what REPLACE deletes, what triggers do INSTEAD OF changing a view, nor the rows that go with
  /// a table; in a virtual table (full-text, R-tree) it counts the rows of the tables behind it, too. A statement that
  /// changes the structure may have 0.
  /// @throw QueryError, with nothing changed; QueryProblem::NotAllowed when it does not write, can't be taken back or
  /// the
  ///        database was not opened for writing
  virtual Written runWriting(const std::string& sql, const RunLimits& limits, const Confirm& confirm) = 0;

  /// How the engine would go about the statement: rows of one text, indented. It is not run.
  virtual Result explain(const std::string& sql) = 0;

  /// Whether `literal` occurs in `column` and, if not, a few values that do: those nearest to it and most frequent
  /// first. What is not known after `patience` stays Unknown or empty.
  virtual NearValues findNearValues(const ColumnName& column, const std::string& literal,
                                    std::chrono::milliseconds patience) = 0;

  /// The sums, averages and counts of the reading statement `sql` that take a row of a table in several times, because
  /// a join repeats it within the group. Each was seen to do so by running the statement; one that is not told of may
  /// do so, too. Nothing when that takes longer than `patience`.
  virtual std::vector<RepeatedRows> findRepeatedRows(const std::string& sql, std::chrono::milliseconds patience) = 0;

  /// Ends the operation on a statement that runs, and those that begin before dropLateInterrupt(), with
  /// QueryProblem::Interrupted. May be called from any thread.
  virtual void interrupt() noexcept = 0;

  /// After what was interrupted has ended: takes the interrupt back, which would end the next operation, too.
  virtual void dropLateInterrupt() noexcept = 0;
};

/// Opens the database that `text` names; today the path of a SQLite file.
/// @throw DatabaseError when there is no such database, or none that can be opened so; never with a password of `text`
std::unique_ptr<Database> openDatabase(const std::string& text, Access access);
