#include "results/chart_columns.h"

#include "results/iso_date.h"
#include "results/value_text.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t kLongestLabel = 24;

bool isNull(const Value& value) { return std::holds_alternative<std::monostate>(value); }

bool isNumber(const Value& value) {
  return std::holds_alternative<std::int64_t>(value) || std::holds_alternative<double>(value);
}

bool isText(const Value& value) { return std::holds_alternative<std::string>(value); }

/// Whether all values of a column, NULL left out, are so, and there is one.
template <typename Predicate>
bool isColumnOf(const Result& result, std::size_t column, std::size_t shown, Predicate holds) {
  bool any = false;
  for (std::size_t row = 0; row < shown; ++row) {
    const Value& value = result.rows[row][column];
    if (isNull(value)) continue;
    if (!holds(value)) return false;
    any = true;
  }
  return any;
}

std::optional<std::size_t> findNumbers(const Result& result, std::size_t shown) {
  for (std::size_t column = result.columns.size(); column-- > 0;) {
    if (isColumnOf(result, column, shown, isNumber)) return column;
  }
  return std::nullopt;
}

std::optional<std::size_t> findLabels(const Result& result, std::size_t shown, std::size_t numbers) {
  std::optional<std::size_t> other;
  for (std::size_t column = 0; column < result.columns.size(); ++column) {
    if (column == numbers) continue;
    if (isColumnOf(result, column, shown, isText)) return column;
    if (!other) other = column;
  }
  return other;
}

std::optional<double> finiteNumber(const Value& value) {
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return static_cast<double>(*integer);
  const auto* real = std::get_if<double>(&value);
  return real != nullptr && std::isfinite(*real) ? std::optional(*real) : std::nullopt;
}

/// Reads the labels as dates; false when one is none.
bool readTimes(const Result& result, std::size_t column, std::vector<ChartPoint>& points) {
  constexpr std::size_t kLongestDate = 40;
  for (std::size_t row = 0; row < points.size(); ++row) {
    const auto* text = std::get_if<std::string>(&result.rows[row][column]);
    const auto time = text == nullptr || text->size() > kLongestDate ? std::nullopt : readIsoDate(*text);
    if (!time) return false;
    points[row].time = *time;
  }
  return std::any_of(points.begin(), points.end(),
                     [&](const ChartPoint& point) { return point.time != points.front().time; });
}

}  // namespace

std::optional<ChartData> readChartData(const Result& result, std::size_t shown) {
  const auto numbers = findNumbers(result, shown);
  const auto labels = numbers ? findLabels(result, shown, *numbers) : std::nullopt;
  if (!labels) return std::nullopt;
  ChartData data;
  data.heading =
      headText(result.columns[*numbers], kLongestLabel) + " by " + headText(result.columns[*labels], kLongestLabel);
  for (std::size_t row = 0; row < shown; ++row) {
    const Value& number = result.rows[row][*numbers];
    data.points.push_back(
        {cellText(result.rows[row][*labels], kLongestLabel), finiteNumber(number), cellText(number, kLongestLabel)});
  }
  data.isOverTime = readTimes(result, *labels, data.points);
  return data;
}
