#include "rest_sending.h"

namespace {

long countSent(CURL* easy) noexcept {
  long bytes = 0;
  curl_easy_getinfo(easy, CURLINFO_REQUEST_SIZE, &bytes);
  return bytes;
}

}  // namespace

bool RestSending::hasGoneOut() noexcept {
  if (isAsked_ && countSent(easy_) > before_) isStopped_ = true;
  return isStopped_;
}

bool RestSending::mayConnect() noexcept {
  if (hasGoneOut()) return false;
  isAsked_ = false;
  return true;
}

bool RestSending::maySend() noexcept {
  if (hasGoneOut()) return false;
  isAsked_ = true;
  before_ = countSent(easy_);
  return true;
}
