// What the network rows are compared with: libcurl by hand, one easy handle for all requests, the body ready.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <string>

class BareClient {
 public:
  /// Requests go to `url` with the header fields that the library sends; https trusts the authorities in
  /// `authoritiesFolder` alone, under their hashed names.
  explicit BareClient(const std::string& url, const std::string& authoritiesFolder = "");

  /// Posts `body` and reads the reply. Throws std::runtime_error when it is no success.
  void post(const std::string& body);

 private:
  struct EasyDeleter {
    void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
  };
  struct ListDeleter {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
  };
  void set(CURLcode code) const;

  std::unique_ptr<CURL, EasyDeleter> easy_;
  std::unique_ptr<curl_slist, ListDeleter> headers_;
  std::string reply_;
};
