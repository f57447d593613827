// What a transfer brings back, as libcurl hands it over.
#pragma once

#include <cf/rest.h>

#include <curl/curl.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

/// The header fields of a reply with those of interim replies and those behind its body. Less than where libcurl gives
/// up those before the body.
inline constexpr std::size_t kMostHeaderBytes = std::size_t{256} << 10;

struct RestReply {
  /// `mostBytes` of a body that is collected; `to` gets the body as it comes, if it wants that, and may be null.
  RestReply(std::size_t mostBytes, ICSRestReceiver* to) noexcept : limit_(mostBytes), asked_(to) {
    errorText.front() = '\0';
  }

  /// Called for each line, those after a chunked body included. False ends the transfer, as below; why, the reply
  /// tells.
  bool takeHeaderLine(std::string_view line) noexcept;
  /// The next bytes of the decoded body.
  bool takeBody(std::string_view part) noexcept;

  std::string head;  // the lines of the header fields
  std::string body;
  std::size_t headerBytes = 0;
  bool isComing = false;      // a part of it is under way: header fields, or a body of more than blanks
  bool stopped = false;       // the connection was lost before a reply, and the request not sent again
  bool headersEnded = false;  // the empty line after the header fields came
  bool headerTooLarge = false;
  bool tooLarge = false;
  bool tooSlow = false;
  bool isRefused = false;                       // the receiver ended the transfer
  std::exception_ptr thrown;                    // on the way here: it must not pass through libcurl
  std::array<char, CURL_ERROR_SIZE> errorText;  // never a verdict: libcurl may fill it in success

 private:
  void beginReceiving(std::string_view beginning);
  void keepBody(std::string_view part);

  const std::size_t limit_;
  ICSRestReceiver* asked_;               // whether it wants the body; null when it was, or there is none
  ICSRestReceiver* receiver_ = nullptr;  // which does
};
