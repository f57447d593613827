#include "ascii_case.h"
#include "databases/database.h"
#include "databases/sqlite_database.h"
#include "path_text.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace {

/// A product that can be read. The last one takes what no other does.
struct Product {
  bool (*isMeant)(const std::string& text);
  std::unique_ptr<Database> (*open)(const std::string& text, Access access);
};

constexpr std::array kProducts{
    Product{[](const std::string& /*text*/) { return true; }, openSqliteDatabase},
};

/// What the address of a database server begins with.
struct Server {
  std::string_view scheme;
  std::string_view product;
};

constexpr std::array kServers{
    Server{"clickhouse", "ClickHouse"},
    Server{"cockroachdb", "CockroachDB"},
    Server{"db2", "Db2"},
    Server{"mariadb", "MariaDB"},
    Server{"mongodb", "MongoDB"},
    Server{"mssql", "SQL Server"},
    Server{"mysql", "MySQL"},
    Server{"mysqlx", "MySQL"},
    Server{"odbc", "ODBC"},
    Server{"oracle", "Oracle"},
    Server{"postgres", "PostgreSQL"},
    Server{"postgresql", "PostgreSQL"},
    Server{"redis", "Redis"},
    Server{"snowflake", "Snowflake"},
    Server{"sqlserver", "SQL Server"},
};

/// A file of text that a database can be made of.
struct Source {
  std::string_view ending;
  std::string_view kind;
  std::string_view command;  // the file's name comes in place of FILE
};

constexpr std::array kSources{
    Source{".csv", "a table as text", "sqlite3 new.db '.import --csv \"FILE\" TABLE'"},
    Source{".tsv", "a table as text", "sqlite3 new.db '.mode tabs' '.import \"FILE\" TABLE'"},
    Source{".sql", "a script", "sqlite3 new.db < \"FILE\""},
};

constexpr std::string_view kOnlySqlite = "only SQLite files can be read now";

/// The word before "://" in lower case, "" when there is none: of "jdbc:mysql://…" and "mysql+driver://…" mysql.
std::string readScheme(const std::string& text) {
  const std::string lower = toLowerAscii(text.substr(0, text.find("://")));
  if (lower.size() == text.size()) return "";
  const std::string last = lower.substr(lower.rfind(':') == std::string::npos ? 0 : lower.rfind(':') + 1);
  const bool isWord = !last.empty() && last.find_first_of("/\\ ") == std::string::npos;
  return isWord ? last.substr(0, last.find('+')) : "";
}

/// Nothing of `text` may be shown: a password can stand anywhere in it.
void refuseServers(const std::string& text) {
  const std::string scheme = readScheme(text);
  const auto* const server =
      std::find_if(kServers.begin(), kServers.end(), [&](const Server& row) { return row.scheme == scheme; });
  const std::string rest = std::string("; ") + std::string(kOnlySqlite);
  if (server != kServers.end())
    throw DatabaseError(ExitCode::NoInput,
                        "This is the address of a " + std::string(server->product) + " database" + rest);
  if (!scheme.empty()) throw DatabaseError(ExitCode::NoInput, "This is an address, not the path of a file" + rest);
  const std::string lower = toLowerAscii(text);
  if (lower.find("password=") != std::string::npos || lower.find("pwd=") != std::string::npos)
    throw DatabaseError(ExitCode::NoInput, "This tells how to reach a database server" + rest);
}

bool isSqliteFile(const std::filesystem::path& file) {
  constexpr std::string_view kMark = "SQLite format 3";
  std::string begin(kMark.size(), '\0');
  std::ifstream(file, std::ios::binary).read(begin.data(), static_cast<std::streamsize>(begin.size()));
  return begin == kMark;
}

void refuseSources(const std::string& text) {
  const std::string lower = toLowerAscii(text);
  const auto* const source =
      std::find_if(kSources.begin(), kSources.end(), [&](const Source& row) { return lower.ends_with(row.ending); });
  if (source == kSources.end()) return;
  std::error_code error;
  const std::filesystem::path file = makePath(text);
  if (!std::filesystem::is_regular_file(file, error) || isSqliteFile(file)) return;
  std::string command(source->command);
  command.replace(command.find("FILE"), 4, text);
  throw DatabaseError(ExitCode::NotADatabase,
                      text + " is " + std::string(source->kind) + ", not a database. Make one of it: " + command);
}

}  // namespace

std::unique_ptr<Database> openDatabase(const std::string& text, Access access) {
  refuseServers(text);
  refuseSources(text);
  const auto* const product =
      std::find_if(kProducts.begin(), kProducts.end(), [&](const Product& row) { return row.isMeant(text); });
  return product->open(text, access);
}
