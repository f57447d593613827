#include "results/line_chart.h"

#include "results/display_width.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace {

constexpr std::size_t kRows = 10;

struct Dot {
  int x;
  int y;  // downwards
};

/// Dots of braille, two beside and four below each other in a character.
class Canvas {
 public:
  explicit Canvas(std::size_t columns) : columns_(columns), cells_(columns * kRows) {}

  int right() const { return static_cast<int>(columns_ * kDotsBeside) - 1; }
  static int bottom() { return static_cast<int>(kRows * kDotsBelow) - 1; }

  void set(Dot dot) {
    constexpr std::array<std::array<unsigned char, kDotsBelow>, kDotsBeside> kBits{
        {{0x01, 0x02, 0x04, 0x40}, {0x08, 0x10, 0x20, 0x80}}};
    const auto x = static_cast<std::size_t>(dot.x);
    const auto y = static_cast<std::size_t>(dot.y);
    unsigned char& cell = cells_.at(y / kDotsBelow * columns_ + x / kDotsBeside);
    cell = static_cast<unsigned char>(cell | kBits.at(x % kDotsBeside).at(y % kDotsBelow));
  }

  /// A line, both its ends included.
  void connect(Dot from, Dot to) {
    const int steps = std::max(std::abs(to.x - from.x), std::abs(to.y - from.y));
    for (int i = 0; i <= steps; ++i) {
      const double part = steps == 0 ? 0 : static_cast<double>(i) / steps;
      set({from.x + static_cast<int>(std::lround(part * (to.x - from.x))),
           from.y + static_cast<int>(std::lround(part * (to.y - from.y)))});
    }
  }

  std::string row(std::size_t index) const {
    std::string text;
    for (std::size_t column = 0; column < columns_; ++column) {
      const unsigned char cell = cells_.at(index * columns_ + column);
      if (cell == 0) {
        text += ' ';
      } else {  // U+2800 and the dots' bits in UTF-8
        text += '\xE2';
        text += static_cast<char>(0xA0U | (cell >> 6U));
        text += static_cast<char>(0x80U | (cell & 0x3FU));
      }
    }
    return text;
  }

 private:
  static constexpr std::size_t kDotsBeside = 2;
  static constexpr std::size_t kDotsBelow = 4;

  std::size_t columns_;
  std::vector<unsigned char> cells_;
};

/// Where a value stands between two others, from 0 to 1.
double partOf(double value, double least, double most) {
  const double range = most / 2 - least / 2;  // halves, as the whole may be beyond a double
  return range > 0 ? std::clamp((value / 2 - least / 2) / range, 0.0, 1.0) : 0.5;
}

class LineChart {
 public:
  LineChart(std::vector<ChartPoint> points, std::size_t width) : points_(std::move(points)) {
    constexpr std::size_t kLeastColumns = 24;
    std::stable_sort(points_.begin(), points_.end(),
                     [](const ChartPoint& left, const ChartPoint& right) { return left.time < right.time; });
    findRange();
    label_ = std::max(displayWidth(least_->numberText), displayWidth(most_->numberText));
    columns_ = std::max(width, label_ + kAxis + kLeastColumns) - label_ - kAxis;
  }

  std::string draw() const {
    Canvas canvas(columns_);
    const Dot* before = nullptr;
    Dot dot{};
    Dot last{};
    for (const ChartPoint& point : points_) {
      if (point.number) dot = placeOf(point, canvas);
      if (point.number) canvas.connect(before == nullptr ? dot : *before, dot);
      last = dot;
      before = point.number ? &last : nullptr;
    }
    std::string text;
    for (std::size_t row = 0; row < kRows; ++row) text += drawRow(row, canvas.row(row));
    return text + drawAxis();
  }

 private:
  static constexpr std::size_t kAxis = 2;

  void findRange() {
    for (const ChartPoint& point : points_) {
      if (!point.number) continue;
      if (least_ == nullptr || *point.number < *least_->number) least_ = &point;
      if (most_ == nullptr || *point.number > *most_->number) most_ = &point;
    }
    if (least_ == nullptr) least_ = most_ = &points_.front();
  }

  Dot placeOf(const ChartPoint& point, const Canvas& canvas) const {
    const auto time = [](const ChartPoint& one) { return static_cast<double>(one.time); };
    const double x = partOf(time(point), time(points_.front()), time(points_.back()));
    const double y = partOf(*point.number, *least_->number, *most_->number);
    return {static_cast<int>(std::lround(x * canvas.right())),
            static_cast<int>(std::lround((1 - y) * Canvas::bottom()))};
  }

  /// The number beside a row; "" beside most of them.
  const std::string& labelOf(std::size_t row) const {
    static const std::string kNone;
    if (least_->number == most_->number) return row == kRows / 2 ? most_->numberText : kNone;
    return row == 0 ? most_->numberText : row + 1 == kRows ? least_->numberText : kNone;
  }

  std::string drawRow(std::size_t row, const std::string& dots) const {
    const std::string& label = labelOf(row);
    std::string line = padText(label, label_, Alignment::Right) + (label.empty() ? " \u2502" : " \u2524") + dots;
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
  }

  std::string drawAxis() const {
    constexpr std::size_t kDay = 10;  // columns of a date without its time
    std::string line(label_ + 1, ' ');
    line += "\u2514";
    for (std::size_t i = 0; i < columns_; ++i) line += "\u2500";
    std::string first = points_.front().label;
    std::string last = points_.back().label;
    if (first.size() + last.size() >= columns_) {
      first.resize(std::min(first.size(), kDay));
      last.resize(std::min(last.size(), kDay));
    }
    return line + "\n" + std::string(label_ + kAxis, ' ') + first +
           padText(last, columns_ - first.size(), Alignment::Right) + "\n";
  }

  std::vector<ChartPoint> points_;
  const ChartPoint* least_ = nullptr;
  const ChartPoint* most_ = nullptr;
  std::size_t label_ = 0;    // the width of the numbers beside it
  std::size_t columns_ = 0;  // of the canvas
};

}  // namespace

std::string drawLine(const std::vector<ChartPoint>& points, std::size_t width) {
  return LineChart(points, width).draw();
}
