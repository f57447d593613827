// How a request is set up on a libcurl handle: every rule about what is sent, where and how long.
#pragma once

#include "rest_address.h"

#include <cf/rest.h>

#include <curl/curl.h>

#include <array>
#include <cstddef>
#include <memory>
#include <string>

enum class RestMethod { Get, Post, Delete };

struct HeaderListDeleter {
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, HeaderListDeleter>;

/// A request that was checked and is ready to be sent.
struct RestPlan {
  RestMethod method;
  const std::string* body;  // null: none
  RestAddress address;
  RestProxy proxy;
  HeaderList headers;
};

/// What a transfer brings back.
struct RestReply {
  std::size_t limit = 0;
  std::string body;
  bool headersEnded = false;  // the empty line after the header fields came
  bool tooLarge = false;
  bool outOfMemory = false;
  std::array<char, CURL_ERROR_SIZE> errorText{};  // never a verdict: libcurl may fill it in success
};

/// Fills the plan's address, proxy and headers.
/// @return "" or a sentence that says why the request can't be sent.
std::string planRequest(const CMRestRequest& request, const CMRestSession* session,
                        const CMRestGlobalSettings& settings, RestPlan& plan);

/// Sets all options; `easy` refers to the arguments until it is reset.
CURLcode applyOptions(CURL* easy, const RestPlan& plan, const CMRestGlobalSettings& settings, RestReply& reply);
