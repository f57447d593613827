#include "results/bar_chart.h"

#include "results/display_width.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace {

constexpr std::string_view kGap = "  ";
constexpr std::string_view kFull = "\u2588";

std::string repeat(std::string_view text, std::size_t times) {
  std::string repeated;
  for (std::size_t i = 0; i < times; ++i) repeated += text;
  return repeated;
}

/// `length` in columns as so many parts of one, no more than `room` has; at least one for what is not 0.
std::size_t countParts(double length, std::size_t parts, std::size_t room) {
  if (length <= 0) return 0;
  const double exact = std::round(length * static_cast<double>(parts));
  return static_cast<std::size_t>(std::clamp(exact, 1.0, static_cast<double>(parts * room)));
}

/// The room of the bars on both sides of 0, and their scale.
class BarScale {
 public:
  BarScale(const std::vector<ChartPoint>& points, std::size_t width) {
    double most = 0;
    double least = 0;
    for (const ChartPoint& point : points) {
      most = std::max(most, point.number.value_or(0));
      least = std::min(least, point.number.value_or(0));
    }
    biggest_ = std::max(most, -least);
    if (biggest_ == 0) return;
    share(most / biggest_, -least / biggest_, width);
  }

  std::string draw(double number) const {
    if (biggest_ == 0) return "";
    const double length = number / biggest_ * unit_;
    const std::string axis = left_ == 0 ? "" : "\u2502";
    if (length < 0) return drawLeft(-length) + axis;
    return std::string(left_, ' ') + axis + drawRight(length);
  }

 private:
  /// `above` and `below` 0 there are the shares of what is drawn; the larger one is 1.
  void share(double above, double below, std::size_t width) {
    right_ = width;
    if (below > 0) {
      const auto room = static_cast<double>(width - 1);  // less the axis
      const double all = above + below;
      left_ =
          above > 0 ? static_cast<std::size_t>(std::clamp(std::round(room * below / all), 1.0, room - 1)) : width - 1;
      right_ = width - 1 - left_;
    }
    const double perAbove = above > 0 ? static_cast<double>(right_) / above : HUGE_VAL;
    const double perBelow = below > 0 ? static_cast<double>(left_) / below : HUGE_VAL;
    unit_ = std::min(perAbove, perBelow);
  }

  std::string drawRight(double length) const {
    constexpr std::array<std::string_view, 8> kEighths{"",       "\u258F", "\u258E", "\u258D",
                                                       "\u258C", "\u258B", "\u258A", "\u2589"};
    const std::size_t parts = countParts(length, kEighths.size(), right_);
    return repeat(kFull, parts / kEighths.size()) + std::string(kEighths.at(parts % kEighths.size()));
  }

  std::string drawLeft(double length) const {
    constexpr std::string_view kRightHalf = "\u2590";
    const std::size_t parts = countParts(length, 2, left_);
    const std::string blanks(left_ - (parts + 1) / 2, ' ');
    return blanks + std::string(parts % 2 == 0 ? "" : kRightHalf) + repeat(kFull, parts / 2);
  }

  double biggest_ = 0;
  double unit_ = 0;  // columns for the biggest
  std::size_t left_ = 0;
  std::size_t right_ = 0;
};

}  // namespace

std::string drawBars(const std::vector<ChartPoint>& points, std::size_t width) {
  constexpr std::size_t kLeastBar = 10;
  std::size_t label = 0;
  std::size_t number = 0;
  for (const ChartPoint& point : points) {
    label = std::max(label, displayWidth(point.label));
    number = std::max(number, displayWidth(point.numberText));
  }
  const std::size_t used = label + number + 2 * kGap.size();
  const BarScale scale(points, std::max(width, used + kLeastBar) - used);
  std::string text;
  for (const ChartPoint& point : points) {
    std::string line = padText(point.label, label, Alignment::Left);
    line.append(kGap).append(padText(point.numberText, number, Alignment::Right)).append(kGap);
    if (point.number) line += scale.draw(*point.number);
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
  }
  return text;
}
