#include "results/iso_date.h"

#include <chrono>
#include <string>

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Takes a text apart from left to right. What it can't take it leaves, and says so.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool isAtEnd() const { return rest_.empty(); }

  bool take(char expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  /// A number of just so many digits, from `least` to `most`.
  bool takeNumber(std::size_t digits, int least, int most, int& number) {
    if (rest_.size() < digits) return false;
    number = 0;
    for (const char c : rest_.substr(0, digits)) {
      if (!isDigit(c)) return false;
      number = number * 10 + (c - '0');
    }
    rest_.remove_prefix(digits);
    return number >= least && number <= most;
  }

  /// The first three digits of a fraction, which may have more.
  bool takeMilliseconds(int& milliseconds) {
    if (rest_.empty() || !isDigit(rest_.front())) return false;
    milliseconds = 0;
    for (int unit = 100; !rest_.empty() && isDigit(rest_.front()); unit /= 10) {
      milliseconds += unit * (rest_.front() - '0');
      rest_.remove_prefix(1);
    }
    return true;
  }

 private:
  std::string_view rest_;
};

bool takeTime(Reader& reader, std::chrono::milliseconds& time) {
  int hour = 0;
  int minute = 0;
  int second = 0;
  int milliseconds = 0;
  if (!reader.takeNumber(2, 0, 24, hour) || !reader.take(':') || !reader.takeNumber(2, 0, 59, minute)) return false;
  if (reader.take(':') && !reader.takeNumber(2, 0, 60, second)) return false;
  if (reader.take('.') && !reader.takeMilliseconds(milliseconds)) return false;
  time = std::chrono::hours(hour) + std::chrono::minutes(minute) + std::chrono::seconds(second) +
         std::chrono::milliseconds(milliseconds);
  return true;
}

bool takeZone(Reader& reader, std::chrono::minutes& offset) {
  if (reader.isAtEnd() || reader.take('Z')) return true;
  const bool isBehind = reader.take('-');
  int hours = 0;
  int minutes = 0;
  if (!isBehind && !reader.take('+')) return false;
  if (!reader.takeNumber(2, 0, 23, hours)) return false;
  reader.take(':');
  if (!reader.isAtEnd() && !reader.takeNumber(2, 0, 59, minutes)) return false;
  offset = (isBehind ? -1 : 1) * (std::chrono::hours(hours) + std::chrono::minutes(minutes));
  return true;
}

}  // namespace

std::optional<std::int64_t> readIsoDate(std::string_view text) {
  Reader reader(text);
  int year = 0;
  int month = 0;
  int day = 1;
  if (!reader.takeNumber(4, 0, 9999, year) || !reader.take('-') || !reader.takeNumber(2, 1, 12, month)) {
    return std::nullopt;
  }
  const bool hasDay = reader.take('-');
  if (hasDay && !reader.takeNumber(2, 1, 31, day)) return std::nullopt;
  const std::chrono::year_month_day date(std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day)));
  if (!date.ok()) return std::nullopt;
  std::chrono::milliseconds time{0};
  std::chrono::minutes offset{0};
  if (hasDay && (reader.take('T') || reader.take(' ')) && (!takeTime(reader, time) || !takeZone(reader, offset))) {
    return std::nullopt;
  }
  if (!reader.isAtEnd()) return std::nullopt;
  const std::chrono::milliseconds sinceEpoch = std::chrono::sys_days(date).time_since_epoch() + time - offset;
  return sinceEpoch.count();
}
