// SQLite's own functions, as far as their time has no bounds: while one runs, SQLite heeds neither its progress handler
// nor an interrupt, and these take as long as two sizes multiplied, which for values of mebibytes are hours.
#pragma once

#include <sqlite3.h>

/// The longest pattern for LIKE and GLOB, in bytes, which the size of the text is multiplied with.
inline constexpr int kMostBytesInPattern = 256;

/// Puts functions in place of those that end at once with SQLITE_TOOBIG when they would take too long, and are as they
/// were otherwise.
/// @throw SqliteError
void boundFunctions(sqlite3* connection);
