#include "json_internal.h"
#include "rest_text.h"

#include <cf/rest.h>

namespace {
// What is shorter is copied: libcurl sends a body of up to 64 KiB in one piece with the header, if it lies in one.
constexpr std::size_t kShortestBorrowed = std::size_t{64} << 10;

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

void CMRestPostRequest::addQueryParams(const CMRestParams& params) { append(query_, params); }

void CMRestPostRequest::addHeaderParams(const CMRestParams& params) { append(headers_, params); }

/// A body's parts: stretches of its own text, and what is borrowed.
struct CMRestPostRequest::Body {
  explicit Body(JsonText written) : text(std::move(written.text)) {
    const std::string_view whole = text;
    std::size_t place = 0;
    parts.reserve(2 * written.gaps.size() + 1);
    for (const JsonGap& gap : written.gaps) {
      parts.push_back(whole.substr(place, gap.place - place));
      parts.push_back(gap.text);
      place = gap.place;
    }
    parts.push_back(whole.substr(place));
  }

  explicit Body(std::span<const std::string_view> written) {
    std::size_t size = 0;
    for (const std::string_view part : written) size += part.size();
    if (size >= kShortestBorrowed) {
      parts.assign(written.begin(), written.end());
      return;
    }
    text.reserve(size);
    for (const std::string_view part : written) text += part;
    parts.assign(1, text);
  }

  std::string text;
  std::vector<std::string_view> parts;
};

CMRestPostRequest::CMRestPostRequest() = default;
CMRestPostRequest::~CMRestPostRequest() = default;

void CMRestPostRequest::updateJson(const ICOJsonValue* json) {
  body_ = json == nullptr ? nullptr : std::make_unique<Body>(writeJson(*json, kShortestBorrowed));
}

void CMRestPostRequest::updateJsonText(std::span<const std::string_view> parts) {
  body_ = std::make_unique<Body>(parts);
}

std::string CMRestPostRequest::getBody() const {
  std::string body;
  for (const std::string_view part : getBodyParts()) body += part;
  return body;
}

std::span<const std::string_view> CMRestPostRequest::getBodyParts() const noexcept {
  return body_ == nullptr ? std::span<const std::string_view>() : body_->parts;
}

bool CMRestPostRequest::hasBody() const noexcept { return body_ != nullptr; }

CMRestDeleteRequest::CMRestDeleteRequest() = default;
CMRestDeleteRequest::~CMRestDeleteRequest() = default;

CMRestResourceResponse::CMRestResourceResponse(std::int32_t status, std::string body, std::string head)
    : status_(status), body_(std::move(body)), head_(std::move(head)) {
  if (hasTooManyJsonValues(body_)) return;
  json_ = std::make_unique<COJson>(COJson::readReference(body_));
  if (!json_->getIsValidJson()) json_.reset();
}

CMRestResourceResponse::~CMRestResourceResponse() = default;

std::int32_t CMRestResourceResponse::getStatus() const noexcept { return status_; }

const ICOJsonValue* CMRestResourceResponse::getJson() const noexcept { return json_.get(); }

const std::string& CMRestResourceResponse::getBufferString() const noexcept { return body_; }

std::string_view CMRestResourceResponse::findHeader(std::string_view name) const noexcept {
  return findHeaderField(head_, name);
}
