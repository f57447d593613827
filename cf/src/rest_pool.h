// Where requests run: libcurl's handles, kept by a pool centre or made for one request.
#pragma once

#include "rest_pace.h"
#include "rest_sending.h"
#include "rest_setup.h"

#include <cf/rest.h>

#include <curl/curl.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

struct MultiHandleDeleter {
  void operator()(CURLM* handle) const noexcept { curl_multi_cleanup(handle); }
};
struct ShareHandleDeleter {
  void operator()(CURLSH* handle) const noexcept { curl_share_cleanup(handle); }
};

/// What outlasts a request: connections and looked-up names in the multi handle, TLS sessions in the share handle, and
/// the handle of the last request, for one of the same kind. Used by one request at a time.
class RestTransport {
 public:
  RestTransport();  // throws std::bad_alloc when libcurl can't make its handles

  RestTransport(const RestTransport&) = delete;
  RestTransport& operator=(const RestTransport&) = delete;
  ~RestTransport() = default;

  EasyHandle makeEasy();
  CURLM* getMulti() const noexcept { return multi_.get(); }
  RestSending& getSending() noexcept { return sending_; }

  /// Gives up the connections on which something came since the last request, and keeps `easy`, which is to make the
  /// next one, from those that have ended.
  void avoidEnded(CURL* easy) noexcept;

  /// The kept set-up when it fits; else null.
  std::unique_ptr<RestSetup> takeKept(const RestOrder& order);
  void keep(std::unique_ptr<RestSetup> setup) noexcept { kept_ = std::move(setup); }

 private:
  static int beginLookUp(void* state, void* reserved, void* transport) noexcept;
  static int openSocket(void* transport, curl_socket_t socket, curlsocktype purpose) noexcept;
  static int closeSocket(void* transport, curl_socket_t socket) noexcept;
  static int beginSending(void* transport, char* remote, char* local, int remotePort, int localPort) noexcept;

  RestSending sending_;
  std::vector<curl_socket_t> sockets_;  // of the open connections; first: closing the others takes sockets out
  std::unique_ptr<CURLSH, ShareHandleDeleter> share_;
  std::unique_ptr<CURLM, MultiHandleDeleter> multi_;
  std::unique_ptr<RestSetup> kept_;  // last: its handle is freed before what it shares
};

/// The pool centre of CF::createHTTPPoolCenter.
class RestPool final : public ICSHTTPPoolCenter {
 public:
  void cancel() noexcept override;
  void dropCancel() noexcept override { cancelled_ = false; }
  std::int32_t obtainLastStatus() const noexcept override { return lastStatus_; }

  /// Whether cancel() was called since this last told so.
  bool takeCancel() noexcept { return cancelled_.exchange(false); }

  void setLastStatus(std::int32_t status) noexcept { lastStatus_ = status; }

  /// The transport, for the caller alone until it is given back; null while another request has it.
  RestTransport* borrowTransport() noexcept { return borrowed_.exchange(true) ? nullptr : &transport_; }
  void giveTransportBack() noexcept { borrowed_ = false; }

 private:
  RestTransport transport_;
  std::atomic<bool> borrowed_{false};
  std::atomic<bool> cancelled_{false};
  std::atomic<std::int32_t> lastStatus_{0};
};

/// One request on a transport: the pool's, or one of its own when there is no pool or another thread's request has it.
class RestTransfer {
 public:
  explicit RestTransfer(RestPool* pool);
  ~RestTransfer();
  RestTransfer(const RestTransfer&) = delete;
  RestTransfer& operator=(const RestTransfer&) = delete;

  /// Takes what an earlier request of the pool left for one that differs in the body alone.
  /// @return false when there is nothing of the kind: then use() comes next.
  bool takeKept(const RestOrder& order);
  /// Takes what is planned, and gives it a handle.
  void use(std::unique_ptr<RestSetup> setup);

  /// Sets the handle up. `reply` and the order's body outlive the transfer.
  CURLcode apply(const RestOrder& order, RestReply& reply);
  /// @return libcurl's verdict; nothing when cancel() ended the request. What else ended it, `reply` tells.
  std::optional<CURLcode> run(RestPace pace, RestReply& reply, ICSRestReceiver* receiver);
  /// What the request was, and what it tells afterwards.
  const RestPlan& getPlan() const noexcept { return setup_->plan; }
  CURL* getEasy() const noexcept { return setup_->easy.get(); }

  /// Leaves the set-up to the pool's next request. Only after a success.
  void keep() noexcept;

 private:
  struct GiveBack {
    void operator()(RestPool* pool) const noexcept { pool->giveTransportBack(); }
  };

  // Destroyed from below: the handle before its transport, which is given back last.
  RestPool* pool_;
  std::unique_ptr<RestPool, GiveBack> lender_;
  std::unique_ptr<RestTransport> own_;
  RestTransport* transport_;
  std::unique_ptr<RestSetup> setup_;
  bool isKept_ = false;
};
