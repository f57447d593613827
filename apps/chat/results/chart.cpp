#include "results/chart.h"

#include "results/bar_chart.h"
#include "results/chart_columns.h"
#include "results/line_chart.h"
#include "results/table.h"

Chart drawChart(const Result& result, const ResultLayout& layout) {
  constexpr std::size_t kUsualWidth = 80;
  const std::size_t shown = countShown(result, layout);
  if (shown == 0) return {false, "There are no rows to draw a chart of."};
  const auto data = readChartData(result, shown);
  if (!data) return {false, "A chart needs a column of numbers and one of labels or dates beside it."};
  const std::size_t width = layout.width == 0 ? kUsualWidth : layout.width;
  const std::string drawing = data->isOverTime ? drawLine(data->points, width) : drawBars(data->points, width);
  return {true, data->heading + "\n" + drawing + describeRest(result, shown)};
}
