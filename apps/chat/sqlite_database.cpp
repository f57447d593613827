#include "sqlite_database.h"

#include "sqlite_connection.h"

#include <cctype>
#include <map>
#include <new>
#include <utility>

namespace {

// Without SQLite's own tables and the shadow tables behind virtual ones.
constexpr const char* kObjectsSQL = R"(
  SELECT schema, name, type FROM pragma_table_list
  WHERE type IN ('table', 'view', 'virtual') AND name NOT LIKE 'sqlite\_%' ESCAPE '\'
  ORDER BY CASE schema WHEN 'main' THEN 0 WHEN 'temp' THEN 1 ELSE 2 END, schema, name)";

// Generated columns included, the hidden ones of virtual tables not. `pk` is the place in the primary key.
constexpr const char* kColumnsSQL =
    "SELECT name, type, pk FROM pragma_table_xinfo(?1, ?2) WHERE hidden <> 1 ORDER BY cid";

// SQLite counts foreign keys from the last one declared.
constexpr const char* kForeignKeysSQL =
    R"(SELECT id, "table", "from", "to" FROM pragma_foreign_key_list(?1, ?2) ORDER BY id DESC, seq)";

// For columns without a declared type and expressions in views, which may hold anything.
constexpr const char* kNoType = "ANY";

// A type is written as declared, line breaks included, but has to stay on the line of its statement.
std::string inOneLine(const std::string& type) {
  std::string line;
  for (const char c : type) {
    const bool space = std::isspace(static_cast<unsigned char>(c)) != 0;
    if (!space) {
      line += c;
    } else if (!line.ends_with(' ')) {
      line += ' ';
    }
  }
  return line.empty() ? kNoType : line;
}

class SchemaReader {
 public:
  explicit SchemaReader(sqlite3* connection)
      : objects_(connection, kObjectsSQL), columns_(connection, kColumnsSQL), keys_(connection, kForeignKeysSQL) {}

  DatabaseDescription read() {
    DatabaseDescription database;
    std::string current;
    while (objects_.nextRow()) {
      const std::string schema = objects_.text(0);
      if (database.schemas.empty() || schema != current) {
        database.schemas.push_back({.name = schema == "main" ? "" : schema, .tables = {}, .views = {}});
        current = schema;
      }
      readObject(schema, database);
    }
    return database;
  }

 private:
  void readObject(const std::string& schema, DatabaseDescription& database) {
    const std::string name = objects_.text(1);
    const bool isView = objects_.text(2) == "view";
    try {
      TableDescription table = readColumns(schema, name);
      if (!isView) table.foreignKeys = readForeignKeys(schema, name);
      SchemaDescription& target = database.schemas.back();
      (isView ? target.views : target.tables).push_back(std::move(table));
    } catch (const SqliteError& error) {
      // A view on a table that is gone, a virtual table of an unknown module: they can't be queried either.
      if (error.resultCode != SQLITE_ERROR) throw;
      database.notes.push_back(name + " is left out: " + error.what());
    }
  }

  TableDescription readColumns(const std::string& schema, const std::string& name) {
    TableDescription table{.name = name, .columns = {}, .primaryKey = {}, .foreignKeys = {}};
    std::map<int, std::string> key;
    columns_.bind(name, schema);
    while (columns_.nextRow()) {
      table.columns.push_back({.name = columns_.text(0), .type = inOneLine(columns_.text(1))});
      if (columns_.integer(2) > 0) key[columns_.integer(2)] = columns_.text(0);
    }
    for (auto& [place, column] : key) table.primaryKey.push_back(std::move(column));
    return table;
  }

  std::vector<ForeignKeyDescription> readForeignKeys(const std::string& schema, const std::string& name) {
    std::vector<ForeignKeyDescription> keys;
    int current = -1;
    keys_.bind(name, schema);
    while (keys_.nextRow()) {
      if (keys_.integer(0) != current) {
        current = keys_.integer(0);
        keys.push_back({.columns = {}, .targetTable = keys_.text(1), .targetColumns = {}});
      }
      keys.back().columns.push_back(keys_.text(2));
      if (!keys_.isNull(3)) keys.back().targetColumns.push_back(keys_.text(3));
    }
    for (ForeignKeyDescription& key : keys) {
      if (key.targetColumns.empty()) key.targetColumns = readTargetKey(schema, key.targetTable);
    }
    // Left is what points nowhere: a target without such a primary key.
    std::erase_if(keys, [](const auto& key) { return key.columns.size() != key.targetColumns.size(); });
    return keys;
  }

  std::vector<std::string> readTargetKey(const std::string& schema, const std::string& name) {
    try {
      return readColumns(schema, name).primaryKey;
    } catch (const SqliteError& error) {
      if (error.resultCode != SQLITE_ERROR) throw;
      return {};  // noted with the object itself
    }
  }

  SqliteQuery objects_;
  SqliteQuery columns_;
  SqliteQuery keys_;
};

DatabaseError explain(const std::string& path, const SqliteError& error) {
  const std::string detail = std::string(": ") + error.what();
  switch (error.resultCode) {
    case SQLITE_NOMEM:
      throw std::bad_alloc();
    case SQLITE_NOTADB:
      return {ExitCode::NotADatabase, path + " is not a SQLite database"};
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return {ExitCode::NoInput, path + " is locked by another program"};
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
      return {ExitCode::NoInput, path + " needs repair or recovery by a program that may write it" + detail};
    case SQLITE_IOERR:
    case SQLITE_PERM:
      return {ExitCode::NoInput, path + " can't be read" + detail};
    default:
      return {ExitCode::NotADatabase, "The structure of " + path + " is damaged" + detail};
  }
}

class SqliteDatabase final : public DatabaseReader {
 public:
  explicit SqliteDatabase(const std::string& path) : path_(path), connection_(openSqliteReadOnly(path)) {}

  std::string productName() const override { return "SQLite"; }

  DatabaseDescription readDescription() override try {
    DatabaseDescription database = describeSqlite(connection_.get());
    if (database.schemas.empty()) database.notes.push_back(path_ + " holds no tables");
    return database;
  } catch (const SqliteError& error) {
    throw explain(path_, error);
  }

 private:
  std::string path_;
  SqliteConnection connection_;
};

}  // namespace

DatabaseDescription describeSqlite(sqlite3* connection) { return SchemaReader(connection).read(); }

std::unique_ptr<DatabaseReader> openSqliteDatabase(const std::string& path) {
  return std::make_unique<SqliteDatabase>(path);
}
