#include "results/table.h"

#include "results/display_width.h"
#include "results/value_text.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kLongestCell = 60;
constexpr std::size_t kNarrowest = 12;  // that a column of texts is cut to: a date fits
constexpr std::string_view kGap = "  ";

bool isNumber(const Value& value) {
  return std::holds_alternative<std::int64_t>(value) || std::holds_alternative<double>(value);
}

bool isNull(const Value& value) { return std::holds_alternative<std::monostate>(value); }

std::string countRows(std::size_t count) { return std::to_string(count) + (count == 1 ? " row" : " rows"); }

std::string withoutBlanksBehind(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

/// A column of a table: its cells' texts, and what room they take.
class Column {
 public:
  Column(const Result& result, std::size_t index, std::size_t shown)
      : head_(headText(result.columns[index], kLongestCell)) {
    width_ = displayWidth(head_);
    bool hasOthers = false;
    cells_.reserve(shown);
    for (std::size_t row = 0; row < shown; ++row) {
      const Value& value = result.rows[row][index];
      cells_.push_back({cellText(value, kLongestCell), alignmentOf(value)});
      const std::size_t width = displayWidth(cells_.back().text);
      width_ = std::max(width_, width);
      if (isNumber(value)) least_ = std::max(least_, width);
      hasOthers = hasOthers || (!isNumber(value) && !isNull(value));
    }
    alignment_ = least_ > 0 && !hasOthers ? Alignment::Right : Alignment::Left;
  }

  /// The width when no text may take more than `most`.
  std::size_t widthWithin(std::size_t most) const { return std::max(std::min(width_, most), least_); }

  std::string head(std::size_t width) const { return padText(fitText(head_, width), width, alignment_); }
  std::string cell(std::size_t row, std::size_t width) const {
    const Cell& cell = cells_[row];
    return padText(fitText(cell.text, width), width, cell.alignment.value_or(alignment_));
  }

 private:
  struct Cell {
    std::string text;
    std::optional<Alignment> alignment;  // none: the column's
  };

  static std::optional<Alignment> alignmentOf(const Value& value) {
    if (isNull(value)) return std::nullopt;
    return isNumber(value) ? Alignment::Right : Alignment::Left;
  }

  std::string head_;
  std::vector<Cell> cells_;
  std::size_t width_ = 0;
  std::size_t least_ = 0;  // that numbers need
  Alignment alignment_ = Alignment::Left;
};

/// The columns' widths with which they fit `room`; nothing when none will do.
std::optional<std::vector<std::size_t>> fitColumns(const std::vector<Column>& columns, std::size_t room) {
  for (std::size_t most = kLongestCell; most >= kNarrowest; --most) {
    std::vector<std::size_t> widths;
    widths.reserve(columns.size());
    for (const Column& column : columns) widths.push_back(column.widthWithin(most));
    const std::size_t total = std::accumulate(widths.begin(), widths.end(), (columns.size() - 1) * kGap.size());
    if (room == 0 || total <= room) return widths;
  }
  return std::nullopt;
}

template <typename CellAt>
std::string formatLine(std::size_t count, CellAt cellAt) {
  std::string line;
  for (std::size_t i = 0; i < count; ++i) line.append(i == 0 ? "" : kGap).append(cellAt(i));
  return withoutBlanksBehind(std::move(line)) + "\n";
}

std::string repeat(std::string_view text, std::size_t times) {
  std::string repeated;
  for (std::size_t i = 0; i < times; ++i) repeated += text;
  return repeated;
}

std::string formatColumns(const std::vector<Column>& columns, const std::vector<std::size_t>& widths,
                          std::size_t shown) {
  const std::size_t count = columns.size();
  std::string text = formatLine(count, [&](std::size_t i) { return columns[i].head(widths[i]); });
  text += formatLine(count, [&](std::size_t i) { return repeat("\u2500", widths[i]); });
  for (std::size_t row = 0; row < shown; ++row) {
    text += formatLine(count, [&](std::size_t i) { return columns[i].cell(row, widths[i]); });
  }
  return text;
}

/// Each row as a block of lines.
std::string formatRecords(const Result& result, std::size_t shown, std::size_t room) {
  constexpr std::size_t kLeastValue = 20;
  constexpr std::string_view kColon = ": ";
  std::vector<std::string> names;
  std::size_t longest = 0;
  for (const std::string& column : result.columns) {
    names.push_back(headText(column, std::max(room / 3, kNarrowest)) + std::string(kColon));
    longest = std::max(longest, displayWidth(names.back()));
  }
  const std::size_t left = std::max(room, longest + kLeastValue) - longest;
  std::string text;
  for (std::size_t row = 0; row < shown; ++row) {
    text += "\u2500\u2500 row " + std::to_string(row + 1) + "\n";
    for (std::size_t i = 0; i < names.size(); ++i) {
      text += padText(names[i], longest, Alignment::Left) + cellText(result.rows[row][i], left) + "\n";
    }
  }
  return text;
}

}  // namespace

std::string describeSize(const Result& result) {
  return (result.isCut ? "first " : "") + countRows(result.rows.size()) + ", " + std::to_string(result.time.count()) +
         " ms";
}

std::string describeRest(const Result& result, std::size_t shown) {
  const std::size_t rest = result.rows.size() - shown;
  return rest == 0 ? "" : "\u2026 " + std::to_string(rest) + " more" + (rest == 1 ? " row\n" : " rows\n");
}

std::size_t countShown(const Result& result, const ResultLayout& layout) {
  return layout.rows == 0 ? result.rows.size() : std::min(layout.rows, result.rows.size());
}

std::string formatTable(const Result& result, const ResultLayout& layout) {
  if (result.columns.empty()) return describeSize(result) + "\n";
  const std::size_t shown = countShown(result, layout);
  std::vector<Column> columns;
  columns.reserve(result.columns.size());
  for (std::size_t i = 0; i < result.columns.size(); ++i) columns.emplace_back(result, i, shown);
  const auto widths = fitColumns(columns, layout.width);
  const std::string rows = widths ? formatColumns(columns, *widths, shown) : formatRecords(result, shown, layout.width);
  return rows + describeRest(result, shown) + describeSize(result) + "\n";
}
