// Where the questions about a database are kept; one source file for each system.
#pragma once

#include "terminal/history.h"

#include <memory>
#include <string>

/// The store for the database at `path`, a file in this user's state folder. Null where the system keeps no such folder
/// or has none for this user, and where a line can't be edited by what was asked before.
std::unique_ptr<HistoryStore> makeHistoryStore(const std::string& path);
