// Reads the structure of SQLite databases.
#pragma once

#include "databases/database.h"

#include <sqlite3.h>

#include <chrono>
#include <memory>
#include <string>

inline constexpr std::chrono::seconds kPatienceWithViews{3};

/// Describes what `connection` can see: the databases main and temp and the attached ones. Objects in main are named
/// without a schema, as they are written in SQL; all others with theirs. What takes too much memory to read is left out
/// with a note; so is the rest, when views of many others have taken `patience` together.
/// @throw SqliteError
DatabaseDescription describeSqlite(sqlite3* connection, std::chrono::milliseconds patience = kPatienceWithViews);

/// A reader of the SQLite file at `path`, opened for reading only.
/// @throw DatabaseError when there is no such file or it can't be opened
std::unique_ptr<DatabaseReader> openSqliteDatabase(const std::string& path);
