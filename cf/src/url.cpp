// Putting addresses together (RFC 3986).
#include <cf/url.h>

namespace {

constexpr std::string_view kUnreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
constexpr std::string_view kSegmentExtras = "!$&'()*+,;=:@";  // what a path segment may hold besides

void appendEncoded(std::string& result, std::string_view text, std::string_view extras) {
  constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  for (const char character : text) {
    if (kUnreserved.find(character) != std::string_view::npos || extras.find(character) != std::string_view::npos) {
      result += character;
      continue;
    }
    const auto byte = static_cast<unsigned char>(character);
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
    appendEncoded(result, segment, kSegmentExtras);
  }
}

}  // namespace

std::string cfConcatURL(const std::vector<std::string>& parts) {
  if (parts.empty()) return {};
  std::string result = parts.front();
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
  appendEncoded(result, text, {});
  return result;
}
