// What of a result can be drawn.
#pragma once

#include "databases/result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// What is drawn of a row.
struct ChartPoint {
  std::string label;
  std::optional<double> number;  // none for NULL and what is not finite
  std::string numberText;
  std::int64_t time = 0;  // where the labels are dates
};

struct ChartData {
  std::string heading;
  std::vector<ChartPoint> points;
  bool isOverTime = false;  // the labels are dates, at least two different ones
};

/// The first `shown` rows of `result` as points; nothing when there is no column of numbers, or none beside it.
std::optional<ChartData> readChartData(const Result& result, std::size_t shown);
