// The structure of SQLite databases.
#pragma once

#include "databases/database.h"

#include <sqlite3.h>

#include <chrono>

inline constexpr std::chrono::seconds kPatienceWithViews{3};

/// Describes what `connection` can see: the databases main and temp and the attached ones. Objects in main are named
/// without a schema, as they are written in SQL; all others with theirs. What takes too much memory to read is left out
/// with a note; so is the rest, when views of many others have taken `patience` together.
/// @throw SqliteError
DatabaseDescription describeSqlite(sqlite3* connection, std::chrono::milliseconds patience = kPatienceWithViews);
