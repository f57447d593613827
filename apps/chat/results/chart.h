// A result as a picture made of characters.
#pragma once

#include "databases/result.h"
#include "results/layout.h"

#include <string>

struct Chart {
  bool isDrawn = false;
  std::string text;  // lines, each with its end; when nothing is drawn, a sentence that says why
};

/// Draws the last column that holds numbers: over a column of dates (ISO texts) as a line from the first to the last,
/// else as a bar for each row, labelled by the first column of texts or what there is. Bars begin at 0; a NULL has
/// none, and breaks a line. Only the rows that the layout shows are drawn. Safe for a terminal.
Chart drawChart(const Result& result, const ResultLayout& layout);
