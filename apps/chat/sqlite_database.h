// Reads the structure of SQLite databases.
#pragma once

#include "database.h"

#include <sqlite3.h>

#include <memory>
#include <string>

/// Describes what `connection` can see: the databases main and temp and the attached ones. Objects in main are named
/// without a schema, as they are written in SQL; all others with theirs.
/// @throw SqliteError
DatabaseDescription describeSqlite(sqlite3* connection);

/// A reader of the SQLite file at `path`, opened for reading only.
/// @throw DatabaseError when there is no such file or it can't be opened
std::unique_ptr<DatabaseReader> openSqliteDatabase(const std::string& path);
