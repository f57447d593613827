#include "request_reader.h"

#include "request.h"

#include <cf/text.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <utility>
#include <vector>

namespace standin {
namespace {

constexpr std::size_t kLongestHead = 65536;
constexpr std::size_t kLargestBody = std::size_t{1} << 30;

constexpr int kBadRequest = 400;
constexpr int kTooLarge = 413;
constexpr int kUnmetExpectation = 417;
constexpr int kHeadTooLarge = 431;
constexpr int kUnknownCoding = 501;
constexpr int kUnknownVersion = 505;

/// What methods and headers' names are made of.
bool isToken(std::string_view text) {
  constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::all_of(text.begin(), text.end(), [=](unsigned char c) {
    return (c < 0x80 && std::isalnum(c) != 0) || kMarks.find(static_cast<char>(c)) != std::string_view::npos;
  });
}

bool hasControls(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](unsigned char c) { return (c < ' ' && c != '\t') || c == 0x7F; });
}

/// All of `text` as digits of a number.
std::optional<std::size_t> readSize(std::string_view text, int base) {
  std::size_t size = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), size, base);
  if (text.empty() || end != text.data() + text.size()) return std::nullopt;
  return error == std::errc() ? size : kLargestBody + 1;  // more than a number can hold
}

bool namesOption(const std::vector<std::string_view>& lists, std::string_view option) {
  for (std::string_view list : lists) {
    while (!list.empty()) {
      if (sameText(cfTrimAsString(takeUntil(list, ",")), option)) return true;
    }
  }
  return false;
}

}  // namespace

std::optional<Arrival> RequestReader::read() {
  arrival_ = {};
  if (!readHead() || !readBody()) return std::nullopt;
  return std::move(arrival_);
}

bool RequestReader::refuse(int status) noexcept {
  refusal_ = status;
  return false;
}

bool RequestReader::readLine(std::string& line) {
  std::string& unread = connection_.unread();
  std::size_t end = unread.find('\n');
  while (end == std::string::npos) {
    const std::size_t searched = unread.size();
    if (searched > room_) return refuse(kHeadTooLarge);
    if (!connection_.receiveMore()) return false;
    end = unread.find('\n', searched);
  }
  if (end >= room_) return refuse(kHeadTooLarge);
  room_ -= end + 1;
  line.assign(unread, 0, end);
  unread.erase(0, end + 1);
  if (!line.ends_with('\r')) return refuse(kBadRequest);
  line.pop_back();
  return !hasControls(line) || refuse(kBadRequest);
}

bool RequestReader::readHead() {
  room_ = kLongestHead;
  std::string line;
  do {  // some clients end a body with a line more than they announce
    if (!readLine(line)) return false;
  } while (line.empty());
  if (!readRequestLine(line)) return false;
  while (readLine(line)) {
    if (line.empty()) return checkHead();
    if (!readHeader(line)) return false;
  }
  return false;
}

bool RequestReader::readRequestLine(std::string_view line) {
  Request& request = arrival_.request;
  request.method = takeUntil(line, " ");
  std::string_view target = takeUntil(line, " ");
  if (!isToken(request.method) || target.empty() || !line.starts_with("HTTP/")) return refuse(kBadRequest);
  if (line != "HTTP/1.1" && line != "HTTP/1.0") return refuse(kUnknownVersion);
  arrival_.takesChunks = line == "HTTP/1.1";
  request.path = takeUntil(target, "?");
  request.query = readQuery(target);
  return true;
}

bool RequestReader::readHeader(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos || !isToken(line.substr(0, colon))) return refuse(kBadRequest);
  arrival_.request.headers.emplace_back(line.substr(0, colon), cfTrimAsString(line.substr(colon + 1)));
  return true;
}

bool RequestReader::checkHead() {
  const std::vector<std::string_view> options = headerValues(arrival_.request, "Connection");
  arrival_.isLast = namesOption(options, "close") || (!arrival_.takesChunks && !namesOption(options, "keep-alive"));
  const std::size_t hosts = headerValues(arrival_.request, "Host").size();
  return hosts == 1 || (hosts == 0 && !arrival_.takesChunks) || refuse(kBadRequest);
}

bool RequestReader::readBody() {
  const std::vector<std::string_view> codings = headerValues(arrival_.request, "Transfer-Encoding");
  const std::vector<std::string_view> sizes = headerValues(arrival_.request, "Content-Length");
  if (!codings.empty()) {
    if (!sizes.empty() || !arrival_.takesChunks) return refuse(kBadRequest);
    if (codings.size() != 1 || !sameText(codings.front(), "chunked")) return refuse(kUnknownCoding);
    return agreeToBody() && readChunks();
  }
  if (sizes.empty()) return true;
  const std::optional<std::size_t> size = readSize(sizes.front(), 10);
  if (sizes.size() != 1 || !size) return refuse(kBadRequest);
  if (*size > kLargestBody) return refuse(kTooLarge);
  return agreeToBody() && take(*size, arrival_.request.body);
}

bool RequestReader::agreeToBody() {
  const std::vector<std::string_view> expectations = headerValues(arrival_.request, "Expect");
  if (expectations.empty() || !arrival_.takesChunks) return true;
  if (expectations.size() != 1 || !sameText(expectations.front(), "100-continue")) return refuse(kUnmetExpectation);
  return connection_.send("HTTP/1.1 100 Continue\r\n\r\n");
}

bool RequestReader::readChunks() {
  std::string& body = arrival_.request.body;
  std::string line;
  for (;;) {
    room_ = kLongestHead;
    if (!readLine(line)) return false;
    const std::optional<std::size_t> size = readSize(cfTrimAsString(line.substr(0, line.find(';'))), 16);
    if (!size) return refuse(kBadRequest);
    if (*size == 0) return skipTrailers();
    if (*size > kLargestBody - body.size()) return refuse(kTooLarge);
    std::string end;
    if (!take(*size, body) || !take(2, end)) return false;
    if (end != "\r\n") return refuse(kBadRequest);
  }
}

bool RequestReader::skipTrailers() {
  std::string line;
  do {
    if (!readLine(line)) return false;
  } while (!line.empty());
  return true;
}

bool RequestReader::take(std::size_t size, std::string& target) {
  std::string& unread = connection_.unread();
  while (size > 0) {
    if (unread.empty() && !connection_.receiveMore()) return false;
    const std::size_t taken = std::min(size, unread.size());
    target.append(unread, 0, taken);
    unread.erase(0, taken);
    size -= taken;
  }
  return true;
}

}  // namespace standin
