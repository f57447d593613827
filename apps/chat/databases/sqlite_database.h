// SQLite files.
#pragma once

#include "databases/database.h"

#include <memory>
#include <string>

/// The SQLite file at `path`. With Access::Read nothing about it or beside it changes, as far as SQLite can do that.
/// @throw DatabaseError when there is no such file or it can't be opened so
std::unique_ptr<Database> openSqliteDatabase(const std::string& path, Access access);
