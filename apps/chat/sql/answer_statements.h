// The statements that an answer proposes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The statements in the fenced blocks of `answer`, in their order; the first has number 1. Blocks count that say they
/// hold SQL of whatever kind, and those that say nothing and begin as SQL does. Linear time.
std::vector<std::string> findStatements(std::string_view answer);
