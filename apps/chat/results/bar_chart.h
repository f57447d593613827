// Bars of block characters.
#pragma once

#include "results/chart_columns.h"

#include <cstddef>
#include <string>
#include <vector>

/// A line for each of `points`: its label, its number and a bar, to the left of a common 0 for what is negative. Bars
/// are in eighths of a column, negative ones in halves; what is not 0 has one.
std::string drawBars(const std::vector<ChartPoint>& points, std::size_t width);
