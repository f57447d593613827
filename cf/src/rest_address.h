// Addresses of servers and proxies, taken apart by libcurl and checked before anything is sent.
#pragma once

#include <cf/rest.h>

#include <curl/curl.h>

#include <memory>
#include <string>

struct URLHandleDeleter {
  void operator()(CURLU* handle) const noexcept { curl_url_cleanup(handle); }
};
using URLHandle = std::unique_ptr<CURLU, URLHandleDeleter>;

/// A server as messages name it.
struct RestPeer {
  std::string host;  // "api.example.com", "[::1]"
  std::string name;  // the host with its port: "api.example.com:443"
};

/// Where a request goes.
struct RestAddress {
  URLHandle handle;    // the complete address, query included
  std::string scheme;  // "http" or "https"
  std::string target;  // path and query, as the request's first line has them; empty without a query
  RestPeer peer;
};

/// The proxy of the settings; `url` is empty when there is none.
struct RestProxy {
  std::string url;  // scheme, host and port
  std::string user;
  std::string password;
  RestPeer peer;
};

/// Fills `address` from a request's address and query.
/// @return "" or a sentence that says why the request can't be sent.
std::string readRestAddress(const CMRestRequest& request, RestAddress& address);

/// Fills `proxy` from the settings' address.
/// @return "" or a sentence that says why the proxy can't be used.
std::string readRestProxy(const std::string& url, RestProxy& proxy);
