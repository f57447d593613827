// A result as text for other programs. No row is left out, no value shortened.
#pragma once

#include "databases/result.h"

#include <string>
#include <string_view>

/// CSV (RFC 4180): a line of names, a line a row, each ended by CR LF. NULL is an empty field, the empty text "" (so
/// that a NULL in the only column makes an empty line), bytes are their hexadecimal digits, texts stand byte by byte as
/// they are. Nothing is put before texts that a spreadsheet would take for a formula, such as "=1+1".
std::string writeCsv(const Result& result);

/// JSON: an array with an object a row, each on its line. A name that comes twice gets a number: "id", "id_2". Integers
/// have all their digits, though some programs read no more than 2^53 exactly. Bytes are their hexadecimal digits; what
/// is not finite is null; ill-formed UTF-8 becomes U+FFFD.
std::string writeJson(const Result& result);

/// An INSERT statement a row for the table that is called `table`, in SQLite's dialect, whose literals give the same
/// values to the bit. Names as writeJson's. What can't stand in a literal (a NUL, ill-formed UTF-8) is written as bytes
/// for a database in UTF-8.
std::string writeInserts(const Result& result, std::string_view table);

/// Writes `result` into the file at `path` (UTF-8), which only this user may read, in the form that its ending names:
/// ".csv", ".json" or ".sql", whose table is called as the file.
/// @return "", or in words why it was not written
std::string exportResult(const Result& result, const std::string& path);
