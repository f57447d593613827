// What is said of each status and of each failure of the transport.
#include <cf/app.h>

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

CSErrorRecord describe(std::int32_t code) {
  CSErrorRecord record{"before", "before"};
  CF::obtainAppFactory()->obtainErrorDescriptionService()->describeError(code, nullptr, record);
  return record;
}

// The HTTP Status Code Registry of IANA, whatever the library's own table says.
const std::map<std::int32_t, std::string>& registeredPhrases() {
  static const std::map<std::int32_t, std::string> kPhrases{
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
  };
  return kPhrases;
}

TEST(Status, IsDescribedByItsRegisteredPhraseOrByItsNumberAlone) {
  for (std::int32_t status = 100; status <= 999; ++status) {
    const auto phrase = registeredPhrases().find(status);
    const std::string number = "HTTP " + std::to_string(status);
    const std::string expected = phrase == registeredPhrases().end() ? number : number + " " + phrase->second;
    EXPECT_EQ(describe(status).title, expected);
    EXPECT_EQ(describe(status).message, expected);
  }
}

TEST(TransportFailure, IsDescribedByItsTitle) {
  const std::map<CFRestError, std::string> titles{
      {CFRestError::None, ""},
      {CFRestError::BadRequest, "The request can't be sent"},
      {CFRestError::HostNotFound, "Host not found"},
      {CFRestError::CouldNotConnect, "Could not connect"},
      {CFRestError::TLSFailed, "No secure connection"},
      {CFRestError::TimedOut, "Timed out"},
      {CFRestError::ConnectionLost, "Connection lost"},
      {CFRestError::NotHTTP, "Not an HTTP reply"},
      {CFRestError::ReplyTooLarge, "Reply too large"},
      {CFRestError::ProxyRefused, "Proxy refused the connection"},
      {CFRestError::Cancelled, "Cancelled"},
      {CFRestError::Failed, "Request failed"},
      {CFRestError::Stopped, "Stopped"},
  };
  for (const auto& [error, title] : titles) {
    EXPECT_EQ(describe(static_cast<std::int32_t>(error)).title, title);
    EXPECT_EQ(describe(static_cast<std::int32_t>(error)).message, title);
  }
  // The numbers behind one another are all of them.
  const auto first = static_cast<std::int32_t>(CFRestError::BadRequest);
  const auto last = static_cast<std::int32_t>(CFRestError::Stopped);
  EXPECT_EQ(titles.size(), static_cast<std::size_t>(last - first + 1) + 1) << "and None";
  EXPECT_EQ(describe(last + 1).title, "Error " + std::to_string(last + 1));
  EXPECT_EQ(describe(first - 1).title, "Error " + std::to_string(first - 1));
}

}  // namespace
