// Text helpers that do not depend on the locale.
#include "text_internal.h"

#include <cf/text.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <system_error>

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

/// The number of leading bytes known to be ASCII: all of them but at most the last seven.
std::size_t asciiRun(std::string_view text) noexcept {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::size_t size = 0;
  for (std::uint64_t word = 0; text.size() - size >= sizeof word; size += sizeof word) {
    std::memcpy(&word, text.data() + size, sizeof word);
    if ((word & kHighBits) != 0) break;
  }
  return size;
}

/// The number of leading bytes that are well-formed.
std::size_t wellFormedRun(std::string_view text) noexcept {
  std::size_t size = 0;
  while (size < text.size()) {
    size += asciiRun(text.substr(size));
    // A word with a byte beyond ASCII is likely to hold more of them.
    for (const std::size_t end = std::min(size + sizeof(std::uint64_t), text.size()); size < end;) {
      const UTF8Sequence next = firstUTF8Sequence(text.substr(size));
      if (!next.wellFormed) return size;
      size += next.size;
    }
  }
  return size;
}

bool isDigit(char character) noexcept { return character >= '0' && character <= '9'; }

/// Whether a number that no double can hold is too large, as opposed to too small. `text` has the form
/// digits[.digits][(e|E)[sign]digits] with at least one digit that is not 0.
bool isTooLarge(std::string_view text) noexcept {
  const std::size_t mantissaEnd = std::min(text.find_first_of("eE"), text.size());
  const std::string_view mantissa = text.substr(0, mantissaEnd);
  const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
  const auto firstDigit = static_cast<std::int64_t>(mantissa.find_first_of("123456789"));
  const std::int64_t magnitude = firstDigit < point ? point - firstDigit : point - firstDigit + 1;

  // Beyond any text's length the exponent alone decides.
  constexpr std::int64_t kEnough = std::numeric_limits<std::int64_t>::max() / 100;
  std::string_view digits = text.substr(std::min(mantissaEnd + 1, text.size()));
  const bool negative = digits.starts_with('-');
  std::int64_t exponent = 0;
  for (const char character : digits) {
    if (isDigit(character) && exponent < kEnough) exponent = exponent * 10 + (character - '0');
  }
  return magnitude + (negative ? -exponent : exponent) > 0;
}

}  // namespace

std::string_view trimmedView(std::string_view text) noexcept {
  const std::size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

std::string_view formatNumber(double value, NumberBuffer& buffer) noexcept {
  if (std::isnan(value)) return "nan";  // the sign of a NaN says nothing
  const double magnitude = std::fabs(value);
  const bool plain = value == 0.0 || (magnitude >= 1e-6 && magnitude < 1e21);
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                    plain ? std::chars_format::fixed : std::chars_format::scientific);
  return {buffer.data(), static_cast<std::size_t>(result.ptr - buffer.data())};
}

std::string cfTrimAsString(std::string_view text) { return std::string(trimmedView(text)); }

bool cfIsUTF8(std::string_view text) noexcept { return wellFormedRun(text) == text.size(); }

std::string cfToUTF8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (;;) {
    const std::size_t size = wellFormedRun(text);
    result.append(text.substr(0, size));
    text.remove_prefix(size);
    if (text.empty()) return result;
    result.append(kReplacementCharacter);
    text.remove_prefix(firstUTF8Sequence(text).size);
  }
}

std::string cfNumberToText(double value) {
  NumberBuffer buffer;
  return std::string(formatNumber(value, buffer));
}

std::optional<double> cfTextToNumber(std::string_view text) noexcept {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || (!isDigit(text.front()) && text.front() != '.')) return std::nullopt;

  double number = 0.0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ptr != text.data() + text.size()) return std::nullopt;  // what is no number is not taken at all
  if (result.ec == std::errc::result_out_of_range) {
    number = isTooLarge(text) ? std::numeric_limits<double>::max() : 0.0;
  }
  return negative ? -number : number;
}
