// Putting addresses together (RFC 3986).
#include "percent.h"

#include <cf/url.h>

#include <array>
#include <cstddef>

namespace {

/// Which bytes stand for themselves, by their values.
using ByteSet = std::array<bool, 256>;

/// `set` and `characters` besides.
constexpr ByteSet withBytes(ByteSet set, std::string_view characters) {
  for (const char character : characters) set[static_cast<unsigned char>(character)] = true;
  return set;
}

constexpr ByteSet kUnreserved = withBytes({}, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~");
constexpr ByteSet kInSegments = withBytes(kUnreserved, "!$&'()*+,;=:@");

void appendEncoded(std::string& result, std::string_view text, const ByteSet& plain) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (plain[byte]) {
      result += character;
      continue;
    }
    result += '%';
    result += kHexDigits[byte >> 4U];
    result += kHexDigits[byte & 0x0FU];
  }
}

void appendSegment(std::string& result, std::string_view segment) {
  if (segment == ".") {
    result += "%2E";
  } else if (segment == "..") {
    result += "%2E%2E";
  } else {
    appendEncoded(result, segment, kInSegments);
  }
}

}  // namespace

std::string cfConcatURL(const std::vector<std::string>& parts) {
  if (parts.empty()) return {};
  std::size_t size = parts.size();
  for (const std::string& part : parts) size += part.size();
  std::string result;
  result.reserve(size);
  result = parts.front();
  while (result.ends_with('/')) result.pop_back();
  for (std::size_t index = 1; index < parts.size(); ++index) {
    result += '/';
    appendSegment(result, parts[index]);
  }
  return result;
}

std::string cfEncodeQueryText(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  appendEncoded(result, text, kUnreserved);
  return result;
}

std::string cfDecodePercent(std::string_view text) {
  std::string result;
  readPercentEncoded(text, [&](char byte, std::size_t /*begin*/, std::size_t /*end*/) { result += byte; });
  return result;
}
