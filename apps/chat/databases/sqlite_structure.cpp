#include "databases/sqlite_structure.h"

#include "ascii_case.h"
#include "databases/sqlite_bounds.h"
#include "databases/sqlite_connection.h"
#include "sql/names.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace {

constexpr const char* kSchemasSQL = R"(
  SELECT name FROM pragma_database_list
  ORDER BY CASE name WHEN 'main' THEN 0 WHEN 'temp' THEN 1 ELSE 2 END, name)";

// Without SQLite's own tables. SQLite's list of tables would tell their kinds, too, but compiles each view for that,
// which a few hundred bytes can make impossible. Tables come first, so that no view keeps one out.
constexpr const char* kObjectsSQL = R"(.sqlite_schema
  WHERE type IN ('table', 'view') AND name NOT LIKE 'sqlite\_%' ESCAPE '\' ORDER BY type, name)";

// How the names of the tables behind virtual ones end, with the modules that SQLite brings along: FTS3 to 5, R-Tree.
constexpr std::array<std::string_view, 11> kShadowEndings{"config", "content", "data",   "docsize",  "idx", "node",
                                                          "parent", "rowid",   "segdir", "segments", "stat"};

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

struct Object {
  std::string name;
  bool isView;
  bool isVirtual;
};

std::vector<std::string> readSchemas(sqlite3* connection) {
  std::vector<std::string> schemas;
  SqliteQuery query(connection, kSchemasSQL);
  while (query.nextRow()) schemas.push_back(query.text(0));
  return schemas;
}

/// As SQLite tells them: by their names alone.
void eraseShadows(std::vector<Object>& objects) {
  std::set<std::string> owners;
  for (const Object& object : objects) {
    if (object.isVirtual) owners.insert(toLowerAscii(object.name));
  }
  std::erase_if(objects, [&](const Object& object) {
    const std::string name = toLowerAscii(object.name);
    const std::size_t mark = name.rfind('_');
    return !object.isView && mark != std::string::npos && owners.contains(name.substr(0, mark)) &&
           std::binary_search(kShadowEndings.begin(), kShadowEndings.end(), name.substr(mark + 1));
  });
}

std::vector<Object> readObjects(sqlite3* connection, const std::string& schema) {
  std::vector<Object> objects;
  const std::string sql = "SELECT name, type = 'view', sql LIKE 'create virtual table%' FROM " + quoteSqlName(schema);
  SqliteQuery query(connection, (sql + kObjectsSQL).c_str());
  while (query.nextRow())
    objects.push_back({.name = query.text(0), .isView = query.integer(1) != 0, .isVirtual = query.integer(2) != 0});
  eraseShadows(objects);
  return objects;
}

class SchemaReader {
 public:
  SchemaReader(sqlite3* connection, std::chrono::milliseconds patience)
      : connection_(connection),
        columns_(connection, kColumnsSQL),
        keys_(connection, kForeignKeysSQL),
        bounds_(patience) {}

  DatabaseDescription read() {
    DatabaseDescription database;
    for (const std::string& schema : readSchemas(connection_)) readSchema(schema, database);
    if (leftOut_ > 0)
      database.notes.push_back(std::to_string(leftOut_) +
                               (leftOut_ == 1 ? " table or view is" : " tables and views are") +
                               " left out: views of many others take too long to read");
    return database;
  }

 private:
  void readSchema(const std::string& schema, DatabaseDescription& database) {
    const std::vector<Object> objects = readObjects(connection_, schema);
    if (objects.empty()) return;
    database.schemas.push_back({.name = schema == "main" ? "" : schema, .tables = {}, .views = {}});
    for (const Object& object : objects) readObject(schema, object, database);
  }

  void readObject(const std::string& schema, const Object& object, DatabaseDescription& database) {
    if (bounds_.areReached()) {
      ++leftOut_;
      return;
    }
    try {
      TableDescription table = readColumns(schema, object.name);
      if (!object.isView) table.foreignKeys = readForeignKeys(schema, object.name);
      SchemaDescription& target = database.schemas.back();
      (object.isView ? target.views : target.tables).push_back(std::move(table));
    } catch (const SqliteError& error) {
      const std::optional<std::string> lack = explainLack(error);
      if (!lack) throw;
      database.notes.push_back(object.name + " is left out: " + *lack);
    }
  }

  /// Why one object can't be read where others can; nothing when the error is not of one object alone.
  std::optional<std::string> explainLack(const SqliteError& error) const {
    if (error.resultCode == SQLITE_NOMEM && bounds_.wereTight()) return "it takes too much memory to read";
    // A view on a table that is gone, a virtual table of an unknown module: they can't be queried either.
    if (error.resultCode == SQLITE_ERROR) return error.what();
    return std::nullopt;
  }

  TableDescription readColumns(const std::string& schema, const std::string& name) {
    const SqliteBounds::Reading reading(bounds_);
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
    if (bounds_.areReached()) return {};
    try {
      return readColumns(schema, name).primaryKey;
    } catch (const SqliteError& error) {
      if (!explainLack(error)) throw;
      return {};  // noted with the object itself
    }
  }

  sqlite3* connection_;
  SqliteQuery columns_;
  SqliteQuery keys_;
  SqliteBounds bounds_;
  std::size_t leftOut_ = 0;  // when the bounds were reached
};

}  // namespace

DatabaseDescription describeSqlite(sqlite3* connection, std::chrono::milliseconds patience) {
  return SchemaReader(connection, patience).read();
}
