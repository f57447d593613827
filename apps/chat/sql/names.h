// The names in SQL text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// All names and key words of `sql`, without their quotes, with A to Z in lower case. Linear time.
std::vector<std::string> listSqlNames(std::string_view sql);

/// `name` in double quotes, as all dialects take any name.
std::string quoteSqlName(std::string_view name);
