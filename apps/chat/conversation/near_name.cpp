#include "conversation/near_name.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace {

constexpr std::size_t kMostLetters = 64;  // more are no name, and would take long

/// The fewest letters to put in, take out, change, or exchange with their neighbour, to make the one of the other.
std::size_t countMistakes(std::string_view one, std::string_view other) {
  const std::size_t width = other.size() + 1;
  std::vector<std::size_t> table((one.size() + 1) * width);
  const auto cell = [&](std::size_t row, std::size_t column) -> std::size_t& { return table[row * width + column]; };
  for (std::size_t row = 0; row <= one.size(); ++row) {
    for (std::size_t column = 0; column < width; ++column) {
      std::size_t& fewest = cell(row, column) = std::max(row, column);  // where one of them is empty
      if (row == 0 || column == 0) continue;
      const std::size_t change = one[row - 1] == other[column - 1] ? 0 : 1;
      fewest = std::min({cell(row - 1, column) + 1, cell(row, column - 1) + 1, cell(row - 1, column - 1) + change});
      const bool exchanged =
          row > 1 && column > 1 && one[row - 1] == other[column - 2] && one[row - 2] == other[column - 1];
      if (exchanged) fewest = std::min(fewest, cell(row - 2, column - 2) + 1);
    }
  }
  return table.back();
}

}  // namespace

std::string_view findNear(std::string_view typed, std::span<const std::string_view> names) {
  constexpr std::size_t kShortest = 2;
  constexpr std::size_t kMostMistakes = 2;
  if (typed.size() < kShortest || typed.size() > kMostLetters) return {};
  std::string_view nearest;
  std::size_t fewest = kMostMistakes + 1;
  for (const std::string_view name : names) {
    if (name.size() > kMostLetters) continue;
    const std::size_t mistakes = name.starts_with(typed) ? 1 : countMistakes(typed, name);
    // Of a short name two others would leave nothing.
    if (mistakes >= fewest || 2 * mistakes >= name.size()) continue;
    fewest = mistakes;
    nearest = name;
  }
  return nearest;
}

std::string askWhichIsMeant(std::string_view typed, std::span<const std::string_view> names) {
  const std::string_view near = findNear(typed, names);
  return near.empty() ? "; " : "; did you mean " + std::string(near) + "? ";
}
