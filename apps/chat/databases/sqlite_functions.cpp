#include "databases/sqlite_functions.h"

#include "databases/sqlite_connection.h"

#include <array>
#include <cstdint>
#include <memory>
#include <new>

namespace {

/// The time of a function's call is that of its first two arguments' bytes multiplied.
struct BoundFunction {
  const char* name;
  int arguments;
  const char* sql;
  std::int64_t most;  // of the product: a second or two
};

constexpr std::int64_t kMillion = 1'000'000;
constexpr std::array kBoundFunctions{
    BoundFunction{"instr", 2, "SELECT instr(?1, ?2)", 100'000 * kMillion},
    BoundFunction{"replace", 3, "SELECT replace(?1, ?2, ?3)", 100'000 * kMillion},
    BoundFunction{"json_patch", 2, "SELECT json_patch(?1, ?2)", 10'000 * kMillion},
    BoundFunction{"trim", 2, "SELECT trim(?1, ?2)", 1'000 * kMillion},
    BoundFunction{"ltrim", 2, "SELECT ltrim(?1, ?2)", 1'000 * kMillion},
    BoundFunction{"rtrim", 2, "SELECT rtrim(?1, ?2)", 1'000 * kMillion},
};

void require(int result, sqlite3* connection) {
  if (result == SQLITE_NOMEM) throw std::bad_alloc();
  if (result != SQLITE_OK) throw SqliteError(result, sqlite3_errmsg(connection));
}

/// A connection without a file, whose functions are SQLite's own.
std::shared_ptr<sqlite3> openPlain(int mostBytes) {
  sqlite3* opened = nullptr;
  const int result = sqlite3_open(":memory:", &opened);
  std::shared_ptr<sqlite3> plain(opened, SqliteCloser());
  require(result, opened);
  sqlite3_limit(opened, SQLITE_LIMIT_LENGTH, mostBytes);
  return plain;
}

/// A function of SQLite's own.
class OwnFunction {
 public:
  OwnFunction(std::shared_ptr<sqlite3> plain, const BoundFunction& function)
      : plain_(std::move(plain)), function_(function) {
    sqlite3_stmt* prepared = nullptr;
    const int result = sqlite3_prepare_v2(plain_.get(), function.sql, -1, &prepared, nullptr);
    statement_.reset(prepared);
    require(result, plain_.get());
  }

  void call(sqlite3_context* context, sqlite3_value** arguments) const {
    const std::int64_t first = sqlite3_value_bytes(arguments[0]);
    const std::int64_t second = sqlite3_value_bytes(arguments[1]);
    if (first * second > function_.most) {
      sqlite3_result_error_toobig(context);
      return;
    }
    giveResult(context, step(arguments));
    sqlite3_reset(statement_.get());
    sqlite3_clear_bindings(statement_.get());
  }

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  int step(sqlite3_value** arguments) const {
    for (int place = 0; place < function_.arguments; ++place) {
      const int result = sqlite3_bind_value(statement_.get(), place + 1, arguments[place]);
      if (result != SQLITE_OK) return result;
    }
    return sqlite3_step(statement_.get());
  }

  void giveResult(sqlite3_context* context, int stepped) const {
    if (stepped == SQLITE_ROW) {
      sqlite3_value* const value = sqlite3_column_value(statement_.get(), 0);
      sqlite3_result_value(context, value);
      sqlite3_result_subtype(context, sqlite3_value_subtype(value));  // that it is JSON
      return;
    }
    sqlite3_result_error(context, sqlite3_errmsg(plain_.get()), -1);
    sqlite3_result_error_code(context, stepped);
  }

  std::shared_ptr<sqlite3> plain_;  // outlives the statement
  BoundFunction function_;
  std::unique_ptr<sqlite3_stmt, Finalizer> statement_;
};

void callOwn(sqlite3_context* context, int /*count*/, sqlite3_value** arguments) {
  static_cast<const OwnFunction*>(sqlite3_user_data(context))->call(context, arguments);
}

void dropOwn(void* function) { delete static_cast<OwnFunction*>(function); }

int flags() {
  int all = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
#ifdef SQLITE_RESULT_SUBTYPE
  all |= SQLITE_RESULT_SUBTYPE;  // later releases want to know
#endif
  return all;
}

}  // namespace

void boundFunctions(sqlite3* connection) {
  const std::shared_ptr<sqlite3> plain = openPlain(sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, -1));
  for (const BoundFunction& function : kBoundFunctions) {
    auto own = std::make_unique<OwnFunction>(plain, function);
    // It drops the function itself when it fails.
    const int result = sqlite3_create_function_v2(connection, function.name, function.arguments, flags(), own.release(),
                                                  callOwn, nullptr, nullptr, dropOwn);
    require(result, connection);
  }
}
