/// @file
/// REST requests: what is asked for, under which settings, and what came back. The requests are run by a client that
/// the app factory makes (cf/app.h).
#pragma once

#include <cf/export.h>
#include <cf/json.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Names with their values, in order: header fields or the pairs of a query string.
using CMRestParams = std::vector<std::pair<std::string, std::string>>;

/// Settings that hold for every request of a process or a library. A plain value; a client copies it when it is made.
struct CMRestGlobalSettings {
  /// "http://[user:password@]host:port" or the like with https; empty means no proxy. The environment's proxy
  /// variables are never consulted.
  std::string proxyURL;
  /// Name look-up, TCP and TLS together; 0 or less is no limit.
  std::chrono::milliseconds connectTimeout{10'000};
  /// The whole exchange; 0 or less is no limit.
  std::chrono::milliseconds totalTimeout{600'000};
  /// An exchange is given up when it moves fewer than `lowSpeedBytes` a second for `lowSpeedTime`. A model may think
  /// for minutes before the first byte, so the default time is long. A part of a reply that is under way (the header
  /// fields; the body, but for blanks that it begins with) is waited for less: it is given up when it brings fewer than
  /// 64 bytes a second, or `lowSpeedBytes` where they are more, for a minute, or `lowSpeedTime` where it is less.
  /// 0 bytes, or no time, switches both limits off. A reply that is received as it comes may be as slow as it likes,
  /// but not silent: it is given up when no byte of it comes for `lowSpeedTime`.
  std::size_t lowSpeedBytes = 1;
  std::chrono::seconds lowSpeedTime{300};             ///< see lowSpeedBytes
  std::size_t maxReplyBytes = std::size_t{16} << 20;  ///< of a collected body after decompression
  /// A PEM file with further certificate authorities, beside the system's hashed CA folder; where the system has no
  /// such folder, the file stands in for the system's authorities. Empty means none.
  std::string caFile;
  std::string userAgent = "libqai";  ///< the header field "User-Agent"

  /// Whether all is the same.
  bool operator==(const CMRestGlobalSettings&) const = default;
};

/// Keeps the connections and TLS sessions of one assistant alive between its requests, and ends requests on demand.
class CF_TYPE ICSHTTPPoolCenter {
 public:
  virtual ~ICSHTTPPoolCenter() = default;

  /// Ends the request in flight with an error, at once. When none is in flight, the next one is ended before it is
  /// sent; so a cancel that comes between the requests of one operation is never lost. One that comes as a request
  /// completes may count for the next. May be called from any thread.
  virtual void cancel() noexcept = 0;

  /// Takes a cancel back that no request has met, such as one that came as the last request completed; the next request
  /// is sent then. Called between requests.
  virtual void dropCancel() noexcept {}

  /// The HTTP status of the last request's reply, as far as one came whole: 200 to 299 for a success; 0 when there was
  /// none, or when the centre does not know. A status tells more than an error's text: 401 of a refused key, for one.
  virtual std::int32_t obtainLastStatus() const noexcept { return 0; }
};

/// What all requests of one assistant carry. Read while requests run; changed only between them.
class CMRestSession {
 public:
  /// Sent as the header field "Authorization" of every request, as it stands ("Bearer KEY"); unset at first.
  CF_API void setAuthorizationHeaderValue(std::string value);
  /// Whether it was set.
  CF_API bool hasAuthorization() const noexcept;
  /// What was set; "" when nothing was.
  CF_API const std::string& getAuthorizationHeaderValue() const noexcept;

  /// Appends a header field of every request.
  CF_API void addHeaderParam(std::string name, std::string value);
  /// Appends several.
  CF_API void addHeaderParams(const CMRestParams& params);
  /// All that were appended.
  CF_API const CMRestParams& getHeaderParams() const noexcept;

  /// Borrowed; null (the default) makes every request open a connection of its own.
  ICSHTTPPoolCenter* httpPoolCenter = nullptr;

 private:
  std::string authorization_;
  bool hasAuthorization_ = false;
  CMRestParams headers_;
};

/// What the three kinds of request have in common.
class CF_TYPE CMRestRequest {
 public:
  CF_API CMRestRequest();
  CF_API virtual ~CMRestRequest();
  CMRestRequest(const CMRestRequest&) = delete;
  CMRestRequest& operator=(const CMRestRequest&) = delete;

  /// The complete address: scheme (http or https), host, path; without user or password, query or fragment. The host is
  /// ASCII: a name with other letters is given in its xn-- form.
  CF_API void setURL(std::string url);
  /// What was set.
  CF_API const std::string& getURL() const noexcept;
  /// The pairs of the query string.
  CF_API const CMRestParams& getQueryParams() const noexcept;
  /// The header fields of this request.
  CF_API const CMRestParams& getHeaderParams() const noexcept;

  /// Marks who made the request, for hosts that watch their traffic; nothing here reads it.
  std::int64_t requestTag = 0;

 protected:
  std::string url_;       ///< the address
  CMRestParams query_;    ///< pairs of the query string
  CMRestParams headers_;  ///< header fields
};

/// A GET request.
class CF_TYPE CMRestGetRequest : public CMRestRequest {
 public:
  CF_API CMRestGetRequest();
  CF_API ~CMRestGetRequest() override;
  /// Appends pairs to the query string; they are percent-encoded when sent, so that a value may hold any byte. A
  /// control character in a name is refused.
  CF_API void addQueryParams(const CMRestParams& params);
  /// Appends header fields of this one request.
  CF_API virtual void addHeaderParams(const CMRestParams& params);
};

/// A POST request, with a JSON body or none.
class CF_TYPE CMRestPostRequest : public CMRestRequest {
 public:
  CF_API CMRestPostRequest();
  CF_API ~CMRestPostRequest() override;
  /// As with CMRestGetRequest.
  CF_API void addQueryParams(const CMRestParams& params);
  /// As with CMRestGetRequest. A request with a body accepts JSON, unless "Accept" is among them.
  CF_API virtual void addHeaderParams(const CMRestParams& params);
  /// Takes `json` as it is now as the body, serialised here and once; null leaves the request without a body. What
  /// setJsonReference put into it may be borrowed until the request goes.
  CF_API void updateJson(const ICOJsonValue* json);
  /// The same with JSON that is written already, in `parts` one behind the other. They may be borrowed until the
  /// request goes.
  CF_API void updateJsonText(std::span<const std::string_view> parts);
  /// The body's text; meaningful when hasBody().
  CF_API std::string getBody() const;
  /// The same without a copy, as parts in their order, valid until the next body; none without a body.
  CF_API std::span<const std::string_view> getBodyParts() const noexcept;
  /// Whether there is a body.
  CF_API bool hasBody() const noexcept;

 private:
  struct Body;
  std::unique_ptr<Body> body_;  // null: none
};

/// A DELETE request.
class CF_TYPE CMRestDeleteRequest : public CMRestRequest {
 public:
  CF_API CMRestDeleteRequest();
  CF_API ~CMRestDeleteRequest() override;
};

/// What a server answered.
class CF_TYPE CMRestResourceResponse {
 public:
  /// `status` is the HTTP status; `body` the decoded body, which is parsed here; `head` the lines of the header fields
  /// as they arrived.
  CF_API CMRestResourceResponse(std::int32_t status, std::string body, std::string head = {});
  CF_API virtual ~CMRestResourceResponse();
  CMRestResourceResponse(const CMRestResourceResponse&) = delete;
  CMRestResourceResponse& operator=(const CMRestResourceResponse&) = delete;

  /// The HTTP status.
  CF_API std::int32_t getStatus() const noexcept;
  /// The body as JSON, owned by the response; null when the body is no JSON, or one of more than half a million values.
  CF_API const ICOJsonValue* getJson() const noexcept;
  /// The body as it arrived (after decompression); any bytes.
  CF_API const std::string& getBufferString() const noexcept;
  /// The value of the header field `name`, in any case of ASCII letters, without the blanks around it; the first where
  /// there are several, "" where there is none. Any bytes. Lives as long as the response.
  CF_API std::string_view findHeader(std::string_view name) const noexcept;

 private:
  std::int32_t status_;
  std::string body_;
  std::string head_;
  std::unique_ptr<COJson> json_;  // refers to the body
};

/// Takes the body of a reply while it comes, in the thread that runs the request. What its operations throw ends the
/// request and leaves the client's operation. Within them nothing of the client, its session or its pool centre may be
/// called but the pool centre's cancel().
class CF_TYPE ICSRestReceiver {
 public:
  virtual ~ICSRestReceiver() = default;
  /// Asked once, as soon as a byte of the body has come that is no blank: `beginning` is what has come from there on.
  /// `contentType` is the header field "Content-Type".
  /// @return whether the body goes to receive(); if not, the response collects it.
  virtual bool begin(std::int32_t status, std::string_view contentType, std::string_view beginning) = 0;
  /// Gets the next bytes of the body, cut wherever the network cut them.
  /// @return false to end the request: CFRestError::Stopped.
  virtual bool receive(std::string_view part) = 0;
  /// Asked before the request is sent and about twice a second until it ends.
  /// @return true to end it: CFRestError::Stopped.
  virtual bool isStopped() noexcept = 0;
};
