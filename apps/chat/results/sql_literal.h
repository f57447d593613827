// Values as literals of SQLite's dialect.
#pragma once

#include "databases/result.h"

#include <string>

/// `value` as an expression that gives it back to the bit, in SQLite 3.40 and later; nan, which SQLite knows no value
/// for, becomes NULL.
std::string sqlLiteral(const Value& value);
