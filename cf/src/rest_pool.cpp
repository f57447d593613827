#include "rest_pool.h"

#include <cf/app.h>

#include <new>

namespace {

// cancel() wakes the wait up; this is for the request that runs beside the pool's own, which no wake-up reaches.
constexpr int kLongestWaitMilliseconds = 500;

// Never undone: other parts of the process may be using libcurl.
void initialiseLibrary() {
  static const bool initialised = [] {
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) throw std::bad_alloc();
    return true;
  }();
  static_cast<void>(initialised);
}

CURLcode obtainVerdict(CURLM* multi) {
  int remaining = 0;
  const CURLMsg* message = curl_multi_info_read(multi, &remaining);
  return message != nullptr && message->msg == CURLMSG_DONE ? message->data.result : CURLE_FAILED_INIT;
}

CURLcode toCode(CURLMcode code) { return code == CURLM_OUT_OF_MEMORY ? CURLE_OUT_OF_MEMORY : CURLE_FAILED_INIT; }

}  // namespace

RestTransport::RestTransport() {
  initialiseLibrary();
  share_.reset(curl_share_init());
  multi_.reset(curl_multi_init());
  if (share_ == nullptr || multi_ == nullptr ||
      curl_share_setopt(share_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION) != CURLSHE_OK) {
    throw std::bad_alloc();
  }
}

EasyHandle RestTransport::makeEasy() const {
  EasyHandle easy(curl_easy_init());
  if (easy == nullptr || curl_easy_setopt(easy.get(), CURLOPT_SHARE, share_.get()) != CURLE_OK) throw std::bad_alloc();
  return easy;
}

void RestPool::cancel() noexcept {
  cancelled_ = true;
  curl_multi_wakeup(transport_.getMulti());
}

RestTransfer::RestTransfer(RestPool* pool) : pool_(pool) {
  transport_ = pool == nullptr ? nullptr : pool->borrowTransport();
  if (transport_ != nullptr) {
    lender_.reset(pool);
  } else {
    own_ = std::make_unique<RestTransport>();
    transport_ = own_.get();
  }
  easy_ = transport_->makeEasy();
}

RestTransfer::~RestTransfer() { curl_multi_remove_handle(transport_->getMulti(), easy_.get()); }

std::optional<CURLcode> RestTransfer::run() {
  CURLM* multi = transport_->getMulti();
  CURLMcode code = curl_multi_add_handle(multi, easy_.get());
  for (int running = 1; code == CURLM_OK;) {
    if (pool_ != nullptr && pool_->takeCancel()) return std::nullopt;
    code = curl_multi_perform(multi, &running);
    if (code == CURLM_OK && running == 0) return obtainVerdict(multi);
    if (code == CURLM_OK) code = curl_multi_poll(multi, nullptr, 0, kLongestWaitMilliseconds, nullptr);
  }
  return toCode(code);
}

ICSHTTPPoolCenter* CF::createHTTPPoolCenter() { return new RestPool(); }
