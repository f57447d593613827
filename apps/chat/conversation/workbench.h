// The statements of answers, at work on the database.
#pragma once

#include "conversation/run_options.h"
#include "conversation/turn.h"
#include "databases/database.h"
#include "databases/description.h"
#include "results/layout.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct WorkbenchOptions {
  RunMode mode = RunMode::Auto;
  bool writes = false;  // the database is open for it, and a statement that writes may when that is agreed to
  RowFormat format = RowFormat::Table;
  std::size_t rows = 40;    // that a table shows at most
  bool findsDoubts = true;  // looks for what makes a result misleading
  bool hasCommands = true;  // the user can name a statement later
};

/// Puts a question to the user and tells whether the answer is yes; empty where nobody can answer.
using Agree = std::function<bool(const std::string& question)>;

/// How a workbench meets its user.
struct WorkbenchSetting {
  Streams streams;      // rows go to the output, all else to the error output
  TurnRunner runQuery;  // has Ctrl-C end the database's work and a question to agree to
  Agree agree = {};
  std::function<std::size_t()> width = {};  // of the terminal, in columns; empty: as wide as it takes
};

/// Why a statement of an answer can't be run.
struct StatementFailure {
  std::string forModel;  // without a value of any row
  std::string forUser;
  std::string engineText;  // "" when it says no more than `forModel`; may quote a value
};

/// Finds the statements of an answer, checks and runs them, and keeps what the last one gave. Used by one thread.
class Workbench {
 public:
  /// Borrows `database`.
  Workbench(Database& database, DatabaseDescription description, WorkbenchOptions options, WorkbenchSetting setting);

  /// Has the statements of `answer` in place of the last ones, and runs those that may run at once, up to the first
  /// that fails or that Ctrl-C ends. @throw OutputError, as each operation that shows rows; DatabaseError, as each that
  /// runs something, when the database can't be opened any more
  std::optional<StatementFailure> take(std::string_view answer);
  /// Whether one of those that were to run last was refused, or failed and went to nobody else, which the user was
  /// told.
  bool hasRefused() const { return hasRefused_; }

  /// The statements of the last answer; numbers count from 1.
  std::size_t size() const { return statements_.size(); }
  const std::string& statement(std::size_t number) const { return statements_.at(number - 1); }

  /// Runs the statements that the user names; what writes only when it is agreed to. Says what is wrong.
  /// @return whether none failed or was refused
  bool run(const std::string& sql);
  /// Shows how the engine would go about it.
  void explain(const std::string& sql);

  /// What ran last gave; null when nothing did.
  const Result* result() const { return result_ ? &*result_ : nullptr; }
  /// Programs get the results one after the other: as CSV with an empty line between two, as JSON an array each.
  void showResult();
  /// The room of what is shown.
  ResultLayout layout() const;
  void setRows(std::size_t rows) { options_.rows = rows; }
  std::size_t rows() const { return options_.rows; }

  const Agree& agree() const { return setting_.agree; }

 private:
  std::optional<StatementFailure> handleEach(const std::vector<std::string>& statements, bool isNamed);
  /// What is named by the user is asked for no more when it reads, and fails to the user alone.
  std::optional<StatementFailure> handle(const std::string& name, const std::string& sql, bool isNamed);
  void runReading(const std::string& name, const std::string& sql, const StatementCheck& check);
  void runWriting(const std::string& name, const std::string& sql);
  bool mayRun(const std::string& name, const std::string& sql);
  void refuse(const std::string& sentence);
  void showDoubts(const std::string& sql, const StatementCheck& check);
  void write(std::string_view text) const;
  void interruptibly(const std::function<void()>& work);

  Database& database_;
  DatabaseDescription description_;
  WorkbenchOptions options_;
  WorkbenchSetting setting_;
  std::vector<std::string> statements_;
  std::optional<Result> result_;
  std::size_t count_ = 0;   // of the statements that run together
  std::size_t number_ = 0;  // of the one that runs
  bool isStopped_ = false;  // the user ended what ran
  bool isToRun_ = false;    // what runs: it was named, or runs as part of an answer
  bool hasRefused_ = false;
  bool hasWritten_ = false;  // a result, as CSV
};
