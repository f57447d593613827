#include "qai_lines.h"

#include <algorithm>

namespace {

constexpr std::size_t kNone = std::string_view::npos;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

void QAILines::add(std::string_view part) {
  part_ = isTooLong_ ? std::string_view() : part;
  position_ = 0;
  lineFeed_ = part_.find('\n');
  carriageReturn_ = ends_ == Ends::Any ? part_.find('\r') : kNone;
}

std::optional<std::string_view> QAILines::next(std::size_t most) {
  skipSecondEnd();
  const std::size_t end = findEnd();
  const std::string_view piece = part_.substr(position_, end == kNone ? kNone : end - position_);
  if ((isContinued_ ? kept_.size() : 0) + piece.size() > most) {
    isTooLong_ = true;
    isContinued_ = false;
    add({});
  }
  if (isTooLong_ || end == kNone) return std::nullopt;
  if (isContinued_) kept_.append(piece);
  const std::string_view line = isContinued_ ? std::string_view(kept_) : piece;
  isContinued_ = false;
  isBehindCR_ = end == carriageReturn_;
  position_ = end + 1;
  return withoutMark(line);
}

void QAILines::keepRest() {
  const std::string_view rest = part_.substr(position_);
  add({});
  if (isContinued_) {
    kept_.append(rest);
  } else if (!rest.empty()) {
    kept_.assign(rest);
    isContinued_ = true;
  }
}

std::optional<std::string_view> QAILines::finish() {
  if (!isContinued_) return std::nullopt;
  isContinued_ = false;
  return withoutMark(kept_);
}

std::size_t QAILines::find(char end, std::size_t& known) const {
  if (known < position_) known = part_.find(end, position_);
  return known;
}

std::size_t QAILines::findEnd() {
  const std::size_t lineFeed = find('\n', lineFeed_);
  return std::min(lineFeed, find('\r', carriageReturn_));  // where CR ends no line, none is known
}

/// The LF of a CRLF, which may come in another part than the CR.
void QAILines::skipSecondEnd() {
  if (!isBehindCR_ || position_ == part_.size()) return;
  if (part_[position_] == '\n') ++position_;
  isBehindCR_ = false;
}

std::string_view QAILines::withoutMark(std::string_view line) {
  if (isFirst_ && line.starts_with(kByteOrderMark)) line.remove_prefix(kByteOrderMark.size());
  isFirst_ = false;
  return line;
}
