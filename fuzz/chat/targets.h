// The targets over the rooms of qai-chat, a program of their own: the library has types of the same names.
#pragma once

#include <string_view>

/// An answer: what SQL it holds.
void fuzzSql(std::string_view input);
/// A statement that is to be checked and run.
void fuzzSqlite(std::string_view input);
