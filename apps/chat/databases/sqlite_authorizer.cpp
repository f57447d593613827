#include "databases/sqlite_authorizer.h"

#include "ascii_case.h"

#include <algorithm>
#include <array>
#include <new>
#include <string_view>
#include <utility>

namespace {

/// Those that tell something and change nothing.
struct ReadingPragma {
  std::string_view name;
  bool takesArgument;  // which would change something where it takes none
};

constexpr std::array kReadingPragmas{
    ReadingPragma{"application_id", false},   ReadingPragma{"auto_vacuum", false},
    ReadingPragma{"cache_size", false},       ReadingPragma{"collation_list", false},
    ReadingPragma{"compile_options", false},  ReadingPragma{"data_version", false},
    ReadingPragma{"database_list", false},    ReadingPragma{"encoding", false},
    ReadingPragma{"foreign_key_check", true}, ReadingPragma{"foreign_key_list", true},
    ReadingPragma{"foreign_keys", false},     ReadingPragma{"freelist_count", false},
    ReadingPragma{"function_list", false},    ReadingPragma{"index_info", true},
    ReadingPragma{"index_list", true},        ReadingPragma{"index_xinfo", true},
    ReadingPragma{"module_list", false},      ReadingPragma{"page_count", false},
    ReadingPragma{"page_size", false},        ReadingPragma{"pragma_list", false},
    ReadingPragma{"schema_version", false},   ReadingPragma{"table_info", true},
    ReadingPragma{"table_list", true},        ReadingPragma{"table_xinfo", true},
    ReadingPragma{"user_version", false},
};

/// Which reach files, load code or show addresses in memory; some exist only in programs that bring them along.
constexpr std::array<std::string_view, 6> kForbiddenFunctions{"edit",     "fts3_tokenizer", "load_extension",
                                                              "readfile", "writefile",      "fsdir"};

struct Change {
  int action;
  bool namesSecond;  // of the two names that come with it
  bool changesStructure;
  std::string_view words;
};

constexpr std::array kChanges{
    Change{SQLITE_INSERT, false, false, "insert rows into "},
    Change{SQLITE_UPDATE, false, false, "update rows of "},
    Change{SQLITE_DELETE, false, false, "delete rows of "},
    Change{SQLITE_CREATE_TABLE, false, true, "create the table "},
    Change{SQLITE_CREATE_TEMP_TABLE, false, true, "create the table "},
    Change{SQLITE_CREATE_VTABLE, false, true, "create the table "},
    Change{SQLITE_CREATE_VIEW, false, true, "create the view "},
    Change{SQLITE_CREATE_TEMP_VIEW, false, true, "create the view "},
    Change{SQLITE_CREATE_INDEX, false, true, "create the index "},
    Change{SQLITE_CREATE_TEMP_INDEX, false, true, "create the index "},
    Change{SQLITE_CREATE_TRIGGER, false, true, "create the trigger "},
    Change{SQLITE_CREATE_TEMP_TRIGGER, false, true, "create the trigger "},
    Change{SQLITE_DROP_TABLE, false, true, "drop the table "},
    Change{SQLITE_DROP_TEMP_TABLE, false, true, "drop the table "},
    Change{SQLITE_DROP_VTABLE, false, true, "drop the table "},
    Change{SQLITE_DROP_VIEW, false, true, "drop the view "},
    Change{SQLITE_DROP_TEMP_VIEW, false, true, "drop the view "},
    Change{SQLITE_DROP_INDEX, false, true, "drop the index "},
    Change{SQLITE_DROP_TEMP_INDEX, false, true, "drop the index "},
    Change{SQLITE_DROP_TRIGGER, false, true, "drop the trigger "},
    Change{SQLITE_DROP_TEMP_TRIGGER, false, true, "drop the trigger "},
    Change{SQLITE_ALTER_TABLE, true, true, "alter the table "},
    Change{SQLITE_REINDEX, false, true, "rebuild the index "},
    Change{SQLITE_ANALYZE, false, true, "gather statistics on "},
};

bool isReadingPragma(const std::string& name, bool hasArgument) {
  const auto* const row = std::find_if(kReadingPragmas.begin(), kReadingPragmas.end(),
                                       [&](const ReadingPragma& pragma) { return pragma.name == name; });
  return row != kReadingPragmas.end() && (row->takesArgument || !hasArgument);
}

/// Why an action is never let through, "" when it is.
std::string explainRefusal(int action, const std::string& first, const std::string& second, bool hasSecond) {
  switch (action) {
    case SQLITE_ATTACH:
      return "It would attach another database file";
    case SQLITE_DETACH:
      return "It would detach a database file";
    case SQLITE_TRANSACTION:
    case SQLITE_SAVEPOINT:
      return "It would begin or end a transaction, and each statement has its own";
    case SQLITE_PRAGMA:
      if (isReadingPragma(toLowerAscii(first), hasSecond)) return "";
      return "PRAGMA " + first + " is not one of those that only read";
    case SQLITE_FUNCTION: {
      const std::string name = toLowerAscii(second);
      if (std::find(kForbiddenFunctions.begin(), kForbiddenFunctions.end(), name) == kForbiddenFunctions.end())
        return "";
      return "The function " + name + " reaches beyond the database";
    }
    default:
      return "";
  }
}

std::string toText(const char* text) { return text == nullptr ? "" : text; }

}  // namespace

SqliteAuthorizer::SqliteAuthorizer(sqlite3* connection) : connection_(connection) {
  sqlite3_set_authorizer(connection_, &SqliteAuthorizer::decide, this);
}

SqliteAuthorizer::~SqliteAuthorizer() { sqlite3_set_authorizer(connection_, nullptr, nullptr); }

void SqliteAuthorizer::startNoting() {
  requests_ = {};
  notes_ = true;
  changesStructure_ = isOutOfMemory_ = false;
}

SqliteRequests SqliteAuthorizer::takeRequests() {
  notes_ = false;
  if (isOutOfMemory_) throw std::bad_alloc();
  return std::exchange(requests_, {});
}

int SqliteAuthorizer::decide(void* self, int action, const char* first, const char* second, const char* /*schema*/,
                             const char* /*source*/) noexcept {
  auto& authorizer = *static_cast<SqliteAuthorizer*>(self);
  if (authorizer.letsAllThrough_) return SQLITE_OK;
  try {
    return authorizer.decide(action, toText(first), toText(second), second != nullptr);
  } catch (const std::bad_alloc&) {
    authorizer.isOutOfMemory_ = true;  // no exception gets through the engine
    return SQLITE_DENY;
  }
}

int SqliteAuthorizer::decide(int action, const std::string& first, const std::string& second, bool hasSecond) {
  std::string refusal = explainRefusal(action, first, second, hasSecond);
  if (!refusal.empty()) {
    if (notes_ && requests_.refusal.empty()) requests_.refusal = std::move(refusal);
    return SQLITE_DENY;
  }
  if (notes_ && action == SQLITE_READ) noteColumn(first, second);
  if (notes_) noteChange(action, first, second);
  return SQLITE_OK;
}

void SqliteAuthorizer::noteColumn(const std::string& table, const std::string& column) {
  const ColumnName name{.table = table, .column = column};
  std::vector<ColumnName>& columns = requests_.columnsRead;
  if (column.empty()) return;  // a table of which no column is read
  if (std::find(columns.begin(), columns.end(), name) == columns.end()) columns.push_back(name);
}

/// The first one tells what a statement is for; changes of the structure come with others in tables of SQLite's own.
void SqliteAuthorizer::noteChange(int action, const std::string& first, const std::string& second) {
  const auto* const change =
      std::find_if(kChanges.begin(), kChanges.end(), [&](const Change& row) { return row.action == action; });
  if (change == kChanges.end()) return;
  // SQLite keeps the schema there, and makes tables for statistics itself.
  if (first == "sqlite_master" || first == "sqlite_temp_master") return;
  if (change->changesStructure && first.starts_with("sqlite_")) return;
  const bool isFirst = requests_.change.empty();
  if (!isFirst && (!change->changesStructure || changesStructure_)) return;
  requests_.change = std::string(change->words) + (change->namesSecond ? second : first);
  changesStructure_ = change->changesStructure;
}
