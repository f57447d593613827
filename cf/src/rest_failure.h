// What is said about a request that failed in the transport.
#pragma once

#include "rest_options.h"

#include <cf/app.h>

#include <curl/curl.h>

#include <string>

/// A failure of the transport; `error` is None when there is none.
struct RestFailure {
  CFRestError error = CFRestError::None;
  std::string text;
};

/// Judges a finished transfer: what libcurl says of it and what it passes over in silence. Throws what was thrown while
/// the reply was taken.
RestFailure judgeTransfer(CURLcode code, CURL* easy, const RestPlan& plan, const CMRestGlobalSettings& settings,
                          const RestReply& reply);

/// Whether the status (RFC 9110, 15.3) says that what was asked was done.
inline bool isSuccess(long status) { return status >= 200 && status <= 299; }
