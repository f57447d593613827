// Text that arrives in parts, cut anywhere, as lines.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Takes time in proportion to the bytes, however they are cut, and copies only of lines that do not lie whole within a
/// part. A byte order mark at the very start is skipped.
class QAILines {
 public:
  enum class Ends {
    LF,
    Any  // CR, LF or CRLF
  };

  explicit QAILines(Ends ends) : ends_(ends) {}

  /// The next bytes, after next() gave nothing and keepRest() kept what was left. They stay the caller's.
  void add(std::string_view part);

  /// The next line, without its end. Lives as long as the part and until keepRest(). Nothing when none is left that is
  /// whole, or the next one is longer than `most` (whole or not yet): nothing more comes then.
  std::optional<std::string_view> next(std::size_t most);

  /// Keeps the beginning of a line that the part ends with, behind which the next part follows.
  void keepRest();

  /// What is kept, as a line that the end of the stream ends. Lives until the lines do.
  std::optional<std::string_view> finish();

  bool isTooLong() const { return isTooLong_; }

 private:
  std::size_t find(char end, std::size_t& known) const;
  std::size_t findEnd();
  void skipSecondEnd();
  std::string_view withoutMark(std::string_view line);

  Ends ends_;
  std::string_view part_;
  std::size_t position_ = 0;  // of the first byte that is in no line yet
  // Where the next of each is, at or behind the position; looked for once, since there may be none for very long.
  std::size_t lineFeed_ = std::string_view::npos;
  std::size_t carriageReturn_ = std::string_view::npos;
  std::string kept_;  // the beginning of the line, from earlier parts
  bool isContinued_ = false;
  bool isFirst_ = true;
  bool isBehindCR_ = false;
  bool isTooLong_ = false;
};
