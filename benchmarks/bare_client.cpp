#include "bare_client.h"

#include <stdexcept>
#include <utility>

std::size_t BareClient::take(char* data, std::size_t /*one*/, std::size_t size, void* client) {
  auto& self = *static_cast<BareClient*>(client);
  if (self.receive_) {
    self.receive_({data, size});
  } else {
    self.reply_.append(data, size);
  }
  return size;
}

BareClient::BareClient(std::string url, std::string authoritiesFolder, std::function<void(std::string_view)> receive)
    : easy_(curl_easy_init()),
      url_(std::move(url)),
      authoritiesFolder_(std::move(authoritiesFolder)),
      receive_(std::move(receive)) {
  const char* accept = receive_ ? "Accept: text/event-stream" : "Accept: application/json";
  for (const char* field : {"Authorization: Bearer key", "Content-Type: application/json", accept, "Expect:"}) {
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
  if (!receive_) require(curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, ""));
  require(curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1)));
  require(curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &BareClient::take));
  require(curl_easy_setopt(easy, CURLOPT_WRITEDATA, this));
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
  if (status != 200 || (reply_.empty() && !receive_)) throw std::runtime_error("bench_server did not reply");
}
