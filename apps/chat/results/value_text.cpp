#include "results/value_text.h"

#include "results/display_width.h"
#include "sql/marking.h"

#include <cf/text.h>

#include <algorithm>

namespace {

constexpr std::string_view kEllipsis = "\u2026";

/// The beginning of `text` that is looked at to fill `columns`. Few texts have more bytes a column.
std::string_view beginning(std::string_view text, std::size_t columns) {
  constexpr std::size_t kBytesForAColumn = 16;
  std::size_t size = kBytesForAColumn * (columns + 1);
  if (text.size() <= size) return text;
  constexpr std::size_t kMostFollowing = 3;  // bytes of a character behind its first
  const auto follows = [&](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U; };
  for (std::size_t i = 0; i < kMostFollowing && follows(size); ++i) --size;
  return text.substr(0, size);
}

std::string onOneLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (const char c : text) {
    if (c == '\n') {
      line += "\u21B5";
    } else if (c == '\t') {
      line += "\u21E5";
    } else {
      line += c;
    }
  }
  return line;
}

bool needsQuotes(std::string_view text) {
  if (text.empty() || text == "NULL" || text.starts_with(' ') || text.ends_with(' ')) return true;
  return (text.starts_with('\'') && text.ends_with('\'')) || text.starts_with("x'");
}

/// `text`, which is `isWhole` or only the beginning of one.
std::string fit(std::string_view text, bool isWhole, std::size_t longest) {
  std::string marked = onOneLine(markHidden(text).text);
  if (!isWhole) marked += kEllipsis;
  return fitText(marked, longest);
}

std::string quoteText(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "''" : std::string(1, c);
  return quoted + '\'';
}

struct CellWriter {
  std::size_t longest;

  std::string operator()(std::monostate) const { return "NULL"; }
  std::string operator()(std::int64_t value) const { return std::to_string(value); }
  std::string operator()(double value) const { return realText(value); }
  std::string operator()(const std::string& text) const {
    const std::string_view begin = beginning(text, longest);
    const bool isWhole = begin.size() == text.size();
    return needsQuotes(text) ? fit(quoteText(begin), isWhole, longest) : fit(begin, isWhole, longest);
  }
  std::string operator()(const Blob& blob) const {
    constexpr std::size_t kMostBytes = 8;
    const bool isWhole = blob.bytes.size() <= kMostBytes;
    const std::string digits = hexText(std::string_view(blob.bytes).substr(0, kMostBytes));
    const std::string size = std::to_string(blob.bytes.size()) + (blob.bytes.size() == 1 ? " byte" : " bytes");
    return fitText("x'" + digits + std::string(isWhole ? "" : kEllipsis) + "' (" + size + ")", longest);
  }
};

}  // namespace

std::string realText(double value) {
  std::string text = cfNumberToText(value);
  if (text.find_first_not_of("-0123456789") == std::string::npos) text += ".0";
  return text;
}

std::string hexText(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0x0FU];
  }
  return text;
}

std::string cellText(const Value& value, std::size_t longest) { return std::visit(CellWriter{longest}, value); }

std::string headText(std::string_view name, std::size_t longest) {
  const std::string_view begin = beginning(name, longest);
  return fit(begin, begin.size() == name.size(), longest);
}
