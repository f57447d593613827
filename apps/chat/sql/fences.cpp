#include "sql/fences.h"

#include "ascii_case.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace {

constexpr std::size_t kMostIndentation = 3;  // more makes a line code by itself

bool isBlankByte(char c) { return c == ' ' || c == '\t' || c == '\r'; }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// A line and the column at which what is left of it begins. A tab goes to the next column that 4 divides.
struct Line {
  std::string_view text;
  std::size_t column = 0;

  /// Takes blanks up to column `limit`.
  void skipBlanks(std::size_t limit = std::string_view::npos) {
    while (!text.empty() && column < limit && isBlankByte(text.front())) {
      column += text.front() == '\t' ? 4 - column % 4 : 1;
      text.remove_prefix(1);
    }
  }

  bool isBlank() const { return std::all_of(text.begin(), text.end(), isBlankByte); }
};

/// The size of "-", "*", "+", "1." or "1)" with a blank behind it; 0 when `text` begins with none.
std::size_t sizeOfListMarker(std::string_view text) {
  constexpr std::size_t kMostDigits = 9;
  std::size_t size = 0;
  while (size < std::min(text.size(), kMostDigits) && isDigit(text[size])) ++size;
  const std::string_view ends = size == 0 ? "-*+" : ".)";
  if (size >= text.size() || ends.find(text[size]) == std::string_view::npos) return 0;
  ++size;
  return size < text.size() && isBlankByte(text[size]) ? size : 0;
}

struct Fence {
  char mark;
  std::size_t size;
  std::size_t column;
};

std::size_t sizeOfMarks(std::string_view text) {
  if (text.empty() || (text.front() != '`' && text.front() != '~')) return 0;
  return std::min(text.find_first_not_of(text.front()), text.size());
}

std::optional<Fence> readOpening(const Line& line) {
  constexpr std::size_t kLeastSize = 3;
  const std::size_t size = sizeOfMarks(line.text);
  const bool isInline = line.text.starts_with('`') && line.text.find('`', size) != std::string_view::npos;
  if (size < kLeastSize || isInline) return std::nullopt;
  return Fence{line.text.front(), size, line.column};
}

bool closes(const Fence& fence, Line line) {
  line.skipBlanks();
  const std::size_t size = sizeOfMarks(line.text);
  if (size < fence.size || line.text.front() != fence.mark || line.column > fence.column + kMostIndentation)
    return false;
  line.text.remove_prefix(size);
  return line.isBlank();
}

/// The language of "sql", "SQL title=x", "{.sql}" or "sql:file".
std::string readLanguage(std::string_view info) {
  constexpr std::string_view kAround = " \t\r{.";
  constexpr std::string_view kBehind = " \t\r{},:;";
  info.remove_prefix(std::min(info.find_first_not_of(kAround), info.size()));
  return toLowerAscii(info.substr(0, std::min(info.find_first_of(kBehind), info.size())));
}

class FenceReader {
 public:
  void add(Line line) {
    if (fence_ && closes(*fence_, line)) {
      fence_.reset();
    } else if (fence_) {
      line.skipBlanks(fence_->column);
      blocks_.back().code.append(line.text).append("\n");
    } else {
      open(line);
    }
  }

  std::vector<FencedCode> finish() { return std::move(blocks_); }

 private:
  void open(Line line) {
    if (line.isBlank()) return;
    line.skipBlanks();
    while (!items_.empty() && line.column < items_.back()) items_.pop_back();
    enterItems(line);
    if (line.column > base() + kMostIndentation) return;
    fence_ = readOpening(line);
    if (fence_) blocks_.push_back({readLanguage(line.text.substr(fence_->size)), ""});
  }

  /// Takes the markers of the list items that begin on the line.
  void enterItems(Line& line) {
    while (line.column <= base() + kMostIndentation) {
      const std::size_t size = sizeOfListMarker(line.text);
      if (size == 0) return;
      line.text.remove_prefix(size);
      line.column += size;
      const std::size_t least = line.column + 1;  // with the blank behind the marker
      line.skipBlanks();
      items_.push_back(line.column > least + kMostIndentation || line.text.empty() ? least : line.column);
    }
  }

  std::size_t base() const { return items_.empty() ? 0 : items_.back(); }

  std::vector<std::size_t> items_;  // the columns at which the open list items' texts begin
  std::optional<Fence> fence_;
  std::vector<FencedCode> blocks_;
};

}  // namespace

std::vector<FencedCode> findFencedCode(std::string_view markdown) {
  FenceReader reader;
  while (!markdown.empty()) {
    const std::size_t size = std::min(markdown.find('\n'), markdown.size());
    reader.add({markdown.substr(0, size)});
    markdown.remove_prefix(std::min(size + 1, markdown.size()));
  }
  return reader.finish();
}
