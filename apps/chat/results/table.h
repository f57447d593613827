// A result as text to read.
#pragma once

#include "databases/result.h"
#include "results/layout.h"

#include <string>

/// `result` as an aligned table: numbers to the right, all else to the left, each cell as cellText has it. Texts are
/// cut to make it fit the layout's width; where that would leave too little of them, each row becomes a block with a
/// line "name: value" for each column. Rows beyond the layout's are counted: "… 5 more rows". The last line is
/// describeSize's. Ends with a newline. Safe for a terminal. Time and memory depend on the rows shown, not on the size
/// of the values.
std::string formatTable(const Result& result, const ResultLayout& layout);

/// "3 rows, 12 ms"; "first 3 rows, 12 ms" when there are more than were read.
std::string describeSize(const Result& result);

/// "… 5 more rows\n" for those of `result` beyond the `shown` ones; "" when there are none.
std::string describeRest(const Result& result, std::size_t shown);

/// How many rows of `result` the layout shows.
std::size_t countShown(const Result& result, const ResultLayout& layout);
