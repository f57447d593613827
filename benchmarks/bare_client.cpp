#include "bare_client.h"

#include <stdexcept>

namespace {

std::size_t take(char* data, std::size_t /*one*/, std::size_t size, void* context) {
  static_cast<std::string*>(context)->append(data, size);
  return size;
}

}  // namespace

BareClient::BareClient(const std::string& url, const std::string& authoritiesFolder) : easy_(curl_easy_init()) {
  for (const char* field :
       {"Authorization: Bearer key", "Content-Type: application/json", "Accept: application/json", "Expect:"}) {
    curl_slist* longer = curl_slist_append(headers_.get(), field);
    static_cast<void>(headers_.release());
    headers_.reset(longer);
  }
  CURL* easy = easy_.get();
  set(curl_easy_setopt(easy, CURLOPT_URL, url.c_str()));
  set(curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_.get()));
  set(curl_easy_setopt(easy, CURLOPT_USERAGENT, "libqai"));
  set(curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, ""));
  set(curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1)));
  set(curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &take));
  set(curl_easy_setopt(easy, CURLOPT_WRITEDATA, &reply_));
  set(curl_easy_setopt(easy, CURLOPT_POST, 1L));
  set(curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L));
  if (authoritiesFolder.empty()) return;
  set(curl_easy_setopt(easy, CURLOPT_CAPATH, authoritiesFolder.c_str()));
  set(curl_easy_setopt(easy, CURLOPT_CAINFO, nullptr));
}

void BareClient::set(CURLcode code) const {
  if (code != CURLE_OK) throw std::runtime_error(curl_easy_strerror(code));
}

void BareClient::post(const std::string& body) {
  reply_.clear();
  set(curl_easy_setopt(easy_.get(), CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size())));
  set(curl_easy_setopt(easy_.get(), CURLOPT_POSTFIELDS, body.c_str()));
  set(curl_easy_perform(easy_.get()));
  long status = 0;
  set(curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status));
  if (status != 200 || reply_.empty()) throw std::runtime_error("bench_server did not reply");
}
