// How a request is set up on a libcurl handle: every rule about what is sent, where and how long.
#pragma once

#include "rest_address.h"
#include "rest_reply.h"
#include "rest_upload.h"

#include <cf/rest.h>

#include <curl/curl.h>

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
  ICSRestReceiver* receiver;  // null: the reply is collected
};

/// An order that was checked, without its body.
struct RestPlan {
  RestMethod method;
  bool hasBody;
  bool isStreaming;  // the reply goes to a receiver
  RestAddress address;
  RestProxy proxy;
  HeaderList headers;
};

/// @return "" or a sentence that says why the request can't be sent.
std::string planRequest(const RestOrder& order, RestPlan& plan);

/// Sets every option but those of applyTransfer on a new handle, which refers to the plan from then on.
CURLcode applyPlan(CURL* easy, const RestPlan& plan, const CMRestGlobalSettings& settings);

/// Sets what differs between the requests of one plan: the body, and where the reply goes. `easy` refers to both until
/// forgetTransfer. Allocates nothing.
CURLcode applyTransfer(CURL* easy, const RestPlan& plan, RestUpload* body, RestReply& reply);
CURLcode forgetTransfer(CURL* easy, const RestPlan& plan);
