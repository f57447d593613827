// Values as texts.
#pragma once

#include "databases/result.h"

#include <cstddef>
#include <string>
#include <string_view>

/// The shortest decimal that reads back as the same double, with a point or an exponent: "0.5", "75.0", "1e+22"; "inf",
/// "-inf" and "nan".
std::string realText(double value);

/// The digits of `bytes`, two for each: "0AFF".
std::string hexText(std::string_view bytes);

/// `value` for one cell of a table, on one line and safe for a terminal. No two kinds of value look alike: NULL is
/// `NULL`, bytes are `x'0AFF' (2 bytes)`, and a text that reads like one of them, that is empty, stands in single
/// quotes or has blanks at its ends is put in single quotes: `'NULL'`. In texts newlines are shown as ↵, tabs as ⇥, and
/// what hides or reorders by its code; what takes more than `longest` columns ends with "…". Numbers are never cut. The
/// time depends on `longest` and not on the value's size.
std::string cellText(const Value& value, std::size_t longest);

/// A column's name for a table's head, as a text in a cell, never in quotes.
std::string headText(std::string_view name, std::size_t longest);
