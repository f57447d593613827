#include "json_internal.h"

#include <cf/rest.h>

namespace {
// What is shorter is copied: libcurl sends a body of up to 64 KiB in one piece with the header, if it lies in one.
constexpr std::size_t kShortestBorrowed = std::size_t{64} << 10;

// A value of two bytes ("0,") takes more than fifty when it is read, so a reply of nothing else would take hundreds of
// mebibytes. No service sends one of that many values; they take some thirty mebibytes at most.
constexpr std::size_t kMostReplyValues = std::size_t{512} << 10;

/// Looks into no reply that is too short for that many.
bool hasTooManyValues(std::string_view reply) noexcept {
  return reply.size() > kMostReplyValues && COJsonAccess::boundValues(reply) > kMostReplyValues;
}

void append(CMRestParams& list, const CMRestParams& more) { list.insert(list.end(), more.begin(), more.end()); }
}  // namespace

void CMRestSession::setAuthorizationHeaderValue(std::string value) {
  authorization_ = std::move(value);
  hasAuthorization_ = true;
}

bool CMRestSession::hasAuthorization() const noexcept { return hasAuthorization_; }

const std::string& CMRestSession::getAuthorizationHeaderValue() const noexcept { return authorization_; }

void CMRestSession::addHeaderParam(std::string name, std::string value) {
  headers_.emplace_back(std::move(name), std::move(value));
}

void CMRestSession::addHeaderParams(const CMRestParams& params) { append(headers_, params); }

const CMRestParams& CMRestSession::getHeaderParams() const noexcept { return headers_; }

CMRestRequest::CMRestRequest() = default;
CMRestRequest::~CMRestRequest() = default;

void CMRestRequest::setURL(std::string url) { url_ = std::move(url); }

const std::string& CMRestRequest::getURL() const noexcept { return url_; }

const CMRestParams& CMRestRequest::getQueryParams() const noexcept { return query_; }

const CMRestParams& CMRestRequest::getHeaderParams() const noexcept { return headers_; }

CMRestGetRequest::CMRestGetRequest() = default;
CMRestGetRequest::~CMRestGetRequest() = default;

void CMRestGetRequest::addQueryParams(const CMRestParams& params) { append(query_, params); }

void CMRestGetRequest::addHeaderParams(const CMRestParams& params) { append(headers_, params); }

CMRestPostRequest::CMRestPostRequest() = default;
CMRestPostRequest::~CMRestPostRequest() = default;

void CMRestPostRequest::addQueryParams(const CMRestParams& params) { append(query_, params); }

void CMRestPostRequest::addHeaderParams(const CMRestParams& params) { append(headers_, params); }

void CMRestPostRequest::updateJson(const ICOJsonValue* json) {
  JsonText written;
  if (json != nullptr) written = COJsonAccess::write(*json, kShortestBorrowed);
  body_ = std::move(written.text);
  borrowed_ = written.borrowed;
  borrowedPlace_ = written.place;
  hasBody_ = json != nullptr;
}

std::string CMRestPostRequest::getBody() const {
  const auto [begin, middle, end] = getBodyParts();
  std::string body;
  body.reserve(begin.size() + middle.size() + end.size());
  return body.append(begin).append(middle).append(end);
}

std::array<std::string_view, 3> CMRestPostRequest::getBodyParts() const noexcept {
  const std::string_view text = body_;
  return {text.substr(0, borrowedPlace_), borrowed_, text.substr(borrowedPlace_)};
}

bool CMRestPostRequest::hasBody() const noexcept { return hasBody_; }

CMRestDeleteRequest::CMRestDeleteRequest() = default;
CMRestDeleteRequest::~CMRestDeleteRequest() = default;

CMRestResourceResponse::CMRestResourceResponse(std::int32_t status, std::string body)
    : status_(status), body_(std::move(body)) {
  if (hasTooManyValues(body_)) return;
  json_ = std::make_unique<COJson>(std::string_view(body_));
  if (!json_->getIsValidJson()) json_.reset();
}

CMRestResourceResponse::~CMRestResourceResponse() = default;

std::int32_t CMRestResourceResponse::getStatus() const noexcept { return status_; }

const ICOJsonValue* CMRestResourceResponse::getJson() const noexcept { return json_.get(); }

const std::string& CMRestResourceResponse::getBufferString() const noexcept { return body_; }
