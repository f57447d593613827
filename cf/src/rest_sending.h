// That a request goes out once.
#pragma once

#include <curl/curl.h>

/// Watches one transfer. libcurl sends a request again, on another connection, when a kept one ends without a byte of
/// the reply; by then a service may have acted on the first. It is asked before each step of sending, and says no once
/// a byte of the request has gone out.
class RestSending {
 public:
  /// A transfer on `easy` begins.
  void begin(CURL* easy) noexcept { *this = RestSending(easy); }

  /// Before a name is looked up for a connection, and before the connection is made.
  bool mayConnect() noexcept;
  /// Before the request is sent.
  bool maySend() noexcept;
  /// Whether one of them said no: the connection was lost before a reply.
  bool isStopped() const noexcept { return isStopped_; }

  RestSending() = default;

 private:
  explicit RestSending(CURL* easy) noexcept : easy_(easy) {}
  bool hasGoneOut() noexcept;

  CURL* easy_ = nullptr;
  bool isAsked_ = false;  // the request may have gone out on the connection that there is
  long before_ = 0;       // bytes of the transfer that were no part of it: the way through a proxy
  bool isStopped_ = false;
};
