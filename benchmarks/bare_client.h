// What the network rows are compared with: libcurl by hand, one easy handle for all requests, the body ready, and
// libcurl's defaults wherever the request is the same with them.
#pragma once

#include <curl/curl.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

class BareClient {
 public:
  /// Requests go to `url` with the header fields that the library sends; https trusts the authorities in
  /// `authoritiesFolder` alone, under their hashed names.
  /// Replies that come as streams go to `receive`.
  explicit BareClient(std::string url, std::string authoritiesFolder = "",
                      std::function<void(std::string_view)> receive = nullptr);
  BareClient(const BareClient&) = delete;
  BareClient& operator=(const BareClient&) = delete;

  /// Makes the next request like the first one of its handle, on the connections that there are. libcurl counts the
  /// connections that it found dead over the life of a handle, and gives up at the sixth.
  void forgetRetries();
  /// Posts `body` and reads the reply. Throws std::runtime_error when it is no success.
  void post(const std::string& body);

 private:
  struct EasyDeleter {
    void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
  };
  struct ListDeleter {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
  };
  static void require(CURLcode code);
  static std::size_t take(char* data, std::size_t one, std::size_t size, void* client);
  void setUp();

  std::unique_ptr<CURL, EasyDeleter> easy_;
  std::unique_ptr<curl_slist, ListDeleter> headers_;
  std::string url_;
  std::string authoritiesFolder_;
  std::function<void(std::string_view)> receive_;
  std::string reply_;
};
