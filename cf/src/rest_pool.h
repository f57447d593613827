// Where requests run: libcurl's handles, kept by a pool centre or made for one request.
#pragma once

#include <cf/rest.h>

#include <curl/curl.h>

#include <atomic>
#include <memory>
#include <optional>

struct EasyHandleDeleter {
  void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
};
struct MultiHandleDeleter {
  void operator()(CURLM* handle) const noexcept { curl_multi_cleanup(handle); }
};
struct ShareHandleDeleter {
  void operator()(CURLSH* handle) const noexcept { curl_share_cleanup(handle); }
};
using EasyHandle = std::unique_ptr<CURL, EasyHandleDeleter>;

/// What outlasts a request: connections and looked-up names in the multi handle, TLS sessions in the share handle.
/// Used by one request at a time.
class RestTransport {
 public:
  RestTransport();  // throws std::bad_alloc when libcurl can't make its handles

  /// A handle for one request. A new one each time: curl_easy_reset leaves defaults unset when memory runs out, and
  /// doesn't tell; the next reply was then written past a read buffer of no size.
  EasyHandle makeEasy() const;
  CURLM* getMulti() const noexcept { return multi_.get(); }

 private:
  std::unique_ptr<CURLSH, ShareHandleDeleter> share_;
  std::unique_ptr<CURLM, MultiHandleDeleter> multi_;
};

/// The pool centre of CF::createHTTPPoolCenter.
class RestPool final : public ICSHTTPPoolCenter {
 public:
  void cancel() noexcept override;

  /// Whether cancel() was called since this last told so.
  bool takeCancel() noexcept { return cancelled_.exchange(false); }

  /// The transport, for the caller alone until it is given back; null while another request has it.
  RestTransport* borrowTransport() noexcept { return borrowed_.exchange(true) ? nullptr : &transport_; }
  void giveTransportBack() noexcept { borrowed_ = false; }

 private:
  RestTransport transport_;
  std::atomic<bool> borrowed_{false};
  std::atomic<bool> cancelled_{false};
};

/// One request on a transport: the pool's, or one of its own when there is no pool or another thread's request has it.
class RestTransfer {
 public:
  explicit RestTransfer(RestPool* pool);
  ~RestTransfer();
  RestTransfer(const RestTransfer&) = delete;
  RestTransfer& operator=(const RestTransfer&) = delete;

  /// Where the request is set up, and what it tells afterwards.
  CURL* getEasy() const noexcept { return easy_.get(); }

  /// @return libcurl's verdict; nothing when cancel() ended the request.
  std::optional<CURLcode> run();

 private:
  struct GiveBack {
    void operator()(RestPool* pool) const noexcept { pool->giveTransportBack(); }
  };

  // Destroyed from below: the handle before its transport, which is given back last.
  RestPool* pool_;
  std::unique_ptr<RestPool, GiveBack> lender_;
  std::unique_ptr<RestTransport> own_;
  RestTransport* transport_;
  EasyHandle easy_;
};
