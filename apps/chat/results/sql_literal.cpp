#include "results/sql_literal.h"

#include "results/value_text.h"
#include "sql/lexer.h"

#include <cf/text.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

std::string bytesLiteral(std::string_view bytes) { return "x'" + hexText(bytes) + "'"; }

/// The number as an integer and the powers of two that it is multiplied with or divided by, each of which is exact.
std::string powersOfTwo(double value) {
  constexpr int kMostBits = 62;  // of a power that is an integer
  constexpr int kDigits = std::numeric_limits<double>::digits;
  int exponent = 0;
  const double fraction = std::frexp(value, &exponent);
  std::string text = std::to_string(static_cast<std::int64_t>(std::ldexp(fraction, kDigits))) + ".0";
  exponent -= kDigits;
  const std::string_view step = exponent > 0 ? "*" : "/";
  for (int left = std::abs(exponent); left > 0; left -= kMostBits) {
    text.append(step).append(std::to_string(std::int64_t{1} << std::min(left, kMostBits)));
  }
  return text;
}

/// With 17 digits: SQLite reads a number of 16 at times as its neighbour.
std::string longDecimal(double value) {
  constexpr int kDigitsBehindPoint = 16;
  std::array<char, 32> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::scientific,
                                 kDigitsBehindPoint);
  return {buffer.data(), end.ptr};
}

std::string realLiteral(double value) {
  constexpr double kSmallest = 1e-20;  // SQLite reads decimals exactly from here …
  constexpr double kLargest = 1e20;    // … to here
  constexpr auto kSafeDigits = 15;
  if (std::isnan(value)) return "NULL";
  if (std::isinf(value)) return value < 0 ? "-9e999" : "9e999";
  const double magnitude = std::fabs(value);
  if (magnitude != 0 && (magnitude < kSmallest || magnitude >= kLargest)) return powersOfTwo(value);
  std::string shortest = realText(value);
  const auto digits = std::count_if(shortest.begin(), shortest.end(), [](char c) { return c >= '0' && c <= '9'; });
  return digits <= kSafeDigits ? shortest : longDecimal(value);
}

struct LiteralWriter {
  std::string operator()(std::monostate) const { return "NULL"; }
  std::string operator()(std::int64_t value) const { return std::to_string(value); }
  std::string operator()(double value) const { return realLiteral(value); }
  std::string operator()(const std::string& text) const {
    const bool isPlain = cfIsUTF8(text) && text.find('\0') == std::string::npos;
    return isPlain ? quoteSql(text, '\'') : "CAST(" + bytesLiteral(text) + " AS TEXT)";
  }
  std::string operator()(const Blob& blob) const { return bytesLiteral(blob.bytes); }
};

}  // namespace

std::string sqlLiteral(const Value& value) { return std::visit(LiteralWriter{}, value); }
