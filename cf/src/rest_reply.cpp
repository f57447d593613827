#include "rest_reply.h"

#include "rest_text.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace {

constexpr std::size_t kUsualHeadBytes = 1024;
constexpr std::string_view kBlanks = " \t\r\n";

// "HTTP/1.1 200 OK"; 0 where there is no number.
std::int32_t readStatus(std::string_view head) noexcept {
  head.remove_prefix(std::min(head.find(' ') + 1, head.size()));
  std::int32_t status = 0;
  std::from_chars(head.data(), head.data() + head.size(), status);
  return status;
}

}  // namespace

bool RestReply::takeHeaderLine(std::string_view line) noexcept {
  headerBytes += line.size();
  headerTooLarge = headerBytes > kMostHeaderBytes;
  if (headerTooLarge) return false;
  const bool isBlank = line == "\r\n" || line == "\n";
  isComing = !isBlank;
  if (headersEnded && line.starts_with("HTTP/")) {  // the one before was an interim reply (1xx)
    headersEnded = false;
    head.clear();
  }
  try {
    if (head.empty()) head.reserve(kUsualHeadBytes);
    if (!headersEnded) head += line;
  } catch (...) {
    thrown = std::current_exception();
    return false;
  }
  headersEnded = headersEnded || isBlank;
  return true;
}

bool RestReply::takeBody(std::string_view part) noexcept {
  try {
    const std::size_t beginning = part.find_first_not_of(kBlanks);
    isComing = isComing || beginning != std::string_view::npos;
    if (asked_ != nullptr && isComing) beginReceiving(part.substr(beginning));
    keepBody(part);
  } catch (...) {
    thrown = std::current_exception();
  }
  return !tooLarge && !isRefused && thrown == nullptr;
}

// What was kept so far are the blanks that services send while they make one wait.
void RestReply::beginReceiving(std::string_view beginning) {
  ICSRestReceiver& asked = *std::exchange(asked_, nullptr);
  if (!asked.begin(readStatus(head), findHeaderField(head, "Content-Type"), beginning)) return;
  receiver_ = &asked;
  isRefused = !body.empty() && !receiver_->receive(body);
  body.clear();
}

void RestReply::keepBody(std::string_view part) {
  if (receiver_ != nullptr) {
    isRefused = isRefused || !receiver_->receive(part);
    return;
  }
  tooLarge = part.size() > limit_ - body.size();
  if (!tooLarge) body.append(part);
}
