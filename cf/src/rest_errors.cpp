#include "rest_services.h"

#include <cf/app.h>
#include <cf/immortal.h>

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace {

struct CodeText {
  std::int32_t code;
  std::string_view text;
};

// The registered reason phrases (IANA, HTTP Status Code Registry). A server's own phrase may hold anything.
constexpr auto kReasons = std::to_array<CodeText>({
    {100, "Continue"},
    {101, "Switching Protocols"},
    {102, "Processing"},
    {103, "Early Hints"},
    {104, "Upload Resumption Supported"},
    {200, "OK"},
    {201, "Created"},
    {202, "Accepted"},
    {203, "Non-Authoritative Information"},
    {204, "No Content"},
    {205, "Reset Content"},
    {206, "Partial Content"},
    {207, "Multi-Status"},
    {208, "Already Reported"},
    {226, "IM Used"},
    {300, "Multiple Choices"},
    {301, "Moved Permanently"},
    {302, "Found"},
    {303, "See Other"},
    {304, "Not Modified"},
    {305, "Use Proxy"},
    {307, "Temporary Redirect"},
    {308, "Permanent Redirect"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {402, "Payment Required"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {407, "Proxy Authentication Required"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {410, "Gone"},
    {411, "Length Required"},
    {412, "Precondition Failed"},
    {413, "Content Too Large"},
    {414, "URI Too Long"},
    {415, "Unsupported Media Type"},
    {416, "Range Not Satisfiable"},
    {417, "Expectation Failed"},
    {421, "Misdirected Request"},
    {422, "Unprocessable Content"},
    {423, "Locked"},
    {424, "Failed Dependency"},
    {425, "Too Early"},
    {426, "Upgrade Required"},
    {428, "Precondition Required"},
    {429, "Too Many Requests"},
    {431, "Request Header Fields Too Large"},
    {451, "Unavailable For Legal Reasons"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {504, "Gateway Timeout"},
    {505, "HTTP Version Not Supported"},
    {506, "Variant Also Negotiates"},
    {507, "Insufficient Storage"},
    {508, "Loop Detected"},
    {510, "Not Extended"},
    {511, "Network Authentication Required"},
});

constexpr CodeText toRow(CFRestError error, std::string_view text) { return {static_cast<std::int32_t>(error), text}; }

constexpr auto kTitles = std::to_array<CodeText>({
    toRow(CFRestError::None, ""),
    toRow(CFRestError::BadRequest, "The request can't be sent"),
    toRow(CFRestError::HostNotFound, "Host not found"),
    toRow(CFRestError::CouldNotConnect, "Could not connect"),
    toRow(CFRestError::TLSFailed, "No secure connection"),
    toRow(CFRestError::TimedOut, "Timed out"),
    toRow(CFRestError::ConnectionLost, "Connection lost"),
    toRow(CFRestError::NotHTTP, "Not an HTTP reply"),
    toRow(CFRestError::ReplyTooLarge, "Reply too large"),
    toRow(CFRestError::ProxyRefused, "Proxy refused the connection"),
    toRow(CFRestError::Cancelled, "Cancelled"),
    toRow(CFRestError::Failed, "Request failed"),
    toRow(CFRestError::Stopped, "Stopped"),
});

const CodeText* findRow(std::span<const CodeText> rows, std::int32_t code) {
  const auto found = std::find_if(rows.begin(), rows.end(), [&](const CodeText& row) { return row.code == code; });
  return found == rows.end() ? nullptr : &*found;
}

std::string describeStatus(std::int32_t status) {
  const CodeText* reason = findRow(kReasons, status);
  std::string text = "HTTP " + std::to_string(status);
  if (reason != nullptr) text.append(" ").append(reason->text);
  return text;
}

class ErrorDescriptions final : public ICSErrorDescriptionService {
 public:
  void describeError(std::int32_t errorCode, const ICSRestClient* client, CSErrorRecord& record) const override {
    if (errorCode >= 100 && errorCode <= 999) {
      record.title = record.message = describeStatus(errorCode);
      return;
    }
    const CodeText* title = findRow(kTitles, errorCode);
    if (title == nullptr) {
      record.title = "Error " + std::to_string(errorCode);
    } else {
      record.title = title->text;
    }
    const bool told = errorCode != 0 && client != nullptr && !client->obtainFailureText().empty();
    record.message = told ? client->obtainFailureText() : record.title;
  }
};

}  // namespace

ICSErrorDescriptionService& obtainErrorDescriptions() {
  static CFImmortal<ErrorDescriptions> descriptions;
  return descriptions.get();
}
