// A small HTTP client for the tests of the stand-in: libcurl, one handle, so that its connection is kept.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

class Client {
 public:
  struct Answer {
    CURLcode result = CURLE_OK;
    long status = 0;
    std::string contentType;
    std::string body;
    std::string head;
  };

  explicit Client(std::string address) : address_(std::move(address)) {}

  void trust(const std::string& authorityFile) { authorityFile_ = authorityFile; }
  void setTimeLimit(long milliseconds) { timeLimit_ = milliseconds; }

  Answer get(const std::string& path, const std::vector<std::string>& headers = {"Authorization: Bearer k"}) {
    return send("GET", path, headers, nullptr);
  }

  Answer post(const std::string& path, const std::string& body,
              const std::vector<std::string>& headers = {"Authorization: Bearer k"}) {
    return send("POST", path, headers, &body);
  }

  Answer send(const std::string& method, const std::string& path, const std::vector<std::string>& headers,
              const std::string* body) {
    Answer answer;
    CURL* curl = curl_.get();
    curl_easy_reset(curl);  // keeps the connection
    std::unique_ptr<curl_slist, void (*)(curl_slist*)> list(nullptr, curl_slist_free_all);
    for (const std::string& header : headers) list.reset(curl_slist_append(list.release(), header.c_str()));
    curl_easy_setopt(curl, CURLOPT_URL, (address_ + path).c_str());
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, timeLimit_);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list.get());
    if (body != nullptr) {
      curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(body->size()));
      curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body->data());
    }
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method.c_str());
    if (!authorityFile_.empty()) curl_easy_setopt(curl, CURLOPT_CAINFO, authorityFile_.c_str());
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, append);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answer.body);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, append);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &answer.head);
    answer.result = curl_easy_perform(curl);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &answer.status);
    const char* type = nullptr;
    curl_easy_getinfo(curl, CURLINFO_CONTENT_TYPE, &type);
    if (type != nullptr) answer.contentType = type;
    return answer;
  }

 private:
  static size_t append(char* data, size_t size, size_t count, void* text) {
    static_cast<std::string*>(text)->append(data, size * count);
    return size * count;
  }

  std::string address_;
  std::string authorityFile_;
  long timeLimit_ = 10000;
  std::unique_ptr<CURL, void (*)(CURL*)> curl_{curl_easy_init(), curl_easy_cleanup};
};
