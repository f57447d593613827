// How a request is set up on a libcurl handle: every rule about what is sent, where and how long.
#pragma once

#include "rest_address.h"
#include "rest_upload.h"

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

/// What a client is asked to send. Borrowed.
struct RestOrder {
  RestMethod method;
  const CMRestRequest& request;
  RestUpload* body;  // null: none
  const CMRestSession& session;
  const CMRestGlobalSettings& settings;
};

/// An order that was checked, without its body.
struct RestPlan {
  RestMethod method;
  bool hasBody;
  RestAddress address;
  RestProxy proxy;
  HeaderList headers;
};

/// The header fields of a reply with those of interim replies and those behind its body. Less than where libcurl gives
/// up those before the body.
inline constexpr std::size_t kMostHeaderBytes = std::size_t{256} << 10;

/// What a transfer brings back.
struct RestReply {
  std::size_t limit = 0;
  std::string body;
  std::size_t headerBytes = 0;
  bool isComing = false;      // a part of it is under way: header fields, or a body of more than blanks
  bool stopped = false;       // the connection was lost before a reply, and the request not sent again
  bool headersEnded = false;  // the empty line after the header fields came
  bool headerTooLarge = false;
  bool tooLarge = false;
  bool tooSlow = false;
  bool outOfMemory = false;
  std::array<char, CURL_ERROR_SIZE> errorText{};  // never a verdict: libcurl may fill it in success
};

/// @return "" or a sentence that says why the request can't be sent.
std::string planRequest(const RestOrder& order, RestPlan& plan);

/// Sets every option but those of applyTransfer on a new handle, which refers to the plan from then on.
CURLcode applyPlan(CURL* easy, const RestPlan& plan, const CMRestGlobalSettings& settings);

/// Sets what differs between the requests of one plan: the body, and where the reply goes. `easy` refers to both until
/// forgetTransfer. Allocates nothing.
CURLcode applyTransfer(CURL* easy, const RestPlan& plan, RestUpload* body, RestReply& reply);
CURLcode forgetTransfer(CURL* easy, const RestPlan& plan);
