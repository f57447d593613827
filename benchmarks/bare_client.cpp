#include "bare_client.h"

#include <stdexcept>
#include <utility>

namespace {

std::size_t take(char* data, std::size_t /*one*/, std::size_t size, void* context) {
  static_cast<std::string*>(context)->append(data, size);
  return size;
}

}  // namespace

BareClient::BareClient(std::string url, std::string authoritiesFolder)
    : easy_(curl_easy_init()), url_(std::move(url)), authoritiesFolder_(std::move(authoritiesFolder)) {
  for (const char* field :
       {"Authorization: Bearer key", "Content-Type: application/json", "Accept: application/json", "Expect:"}) {
    curl_slist* longer = curl_slist_append(headers_.get(), field);
    static_cast<void>(headers_.release());
    headers_.reset(longer);
  }
  setUp();
}

void BareClient::setUp() {
  CURL* easy = easy_.get();
  require(curl_easy_setopt(easy, CURLOPT_URL, url_.c_str()));
  require(curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.get()));
  require(curl_easy_setopt(easy, CURLOPT_USERAGENT, "libqai"));
  require(curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, ""));
  require(curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1)));
  require(curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &take));
  require(curl_easy_setopt(easy, CURLOPT_WRITEDATA, &reply_));
  require(curl_easy_setopt(easy, CURLOPT_POST, 1L));
  require(curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L));
  if (authoritiesFolder_.empty()) return;
  require(curl_easy_setopt(easy, CURLOPT_CAPATH, authoritiesFolder_.c_str()));
  require(curl_easy_setopt(easy, CURLOPT_CAINFO, nullptr));
}

void BareClient::require(CURLcode code) {
  if (code != CURLE_OK) throw std::runtime_error(curl_easy_strerror(code));
}

void BareClient::forgetRetries() {
  curl_easy_reset(easy_.get());
  setUp();
}

void BareClient::post(const std::string& body) {
  reply_.clear();
  require(curl_easy_setopt(easy_.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size())));
  require(curl_easy_setopt(easy_.get(), CURLOPT_POSTFIELDS, body.c_str()));
  require(curl_easy_perform(easy_.get()));
  long status = 0;
  require(curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status));
  if (status != 200 || reply_.empty()) throw std::runtime_error("bench_server did not reply");
}
