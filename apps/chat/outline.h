// A database's description as conversations know it.
#pragma once

#include "conversation/background.h"
#include "databases/database.h"

#include <vector>

std::vector<TableOutline> outlineTables(const DatabaseDescription& database);
