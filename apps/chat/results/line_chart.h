// A line of dots over time.
#pragma once

#include "results/chart_columns.h"

#include <cstddef>
#include <string>
#include <vector>

/// The numbers of `points` over their times, in whatever order these come, with the least and the largest number beside
/// it and the first and the last date below. There are two different times at least.
std::string drawLine(const std::vector<ChartPoint>& points, std::size_t width);
