// What makes a result misleading though the statement ran.
#pragma once

#include "databases/database.h"

#include <string>
#include <vector>

/// Sentences for the user, within two seconds: of a result without rows, which of the statement's texts are in none of
/// the columns that were read, and what stands there instead; of any, which sums count rows more than once because a
/// join repeats them. They quote rows, so they are for nobody else.
std::vector<std::string> findDoubts(Database& database, const std::string& sql, const StatementCheck& check,
                                    const Result& result);
