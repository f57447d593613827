// One request, one result: the way of every call to a service.
#pragma once

#include <cf/app.h>
#include <cf/rest.h>

#include <chrono>
#include <span>
#include <string>
#include <utility>

/// The response, owned by the caller in success and in failure and null when none came, and an error text, empty on
/// success.
using HTTPResult = std::pair<CMRestResourceResponse*, std::string>;

/// JSON for a body: a tree, which may be null for none; or a text in parts. Borrowed until the request has ended.
struct HTTPBody {
  HTTPBody(const ICOJsonValue* tree) : json(tree) {}  // NOLINT(google-explicit-constructor): a tree is a body
  explicit HTTPBody(std::span<const std::string_view> written) : parts(written) {}

  const ICOJsonValue* json = nullptr;
  std::span<const std::string_view> parts = {};
};

/// Each runs one request on `session` under the library's HTTP settings as they are now, and blocks until it ends.
/// `url` is complete; parameters are sent in their order. Throws nothing but std::bad_alloc. `app` is where the REST
/// client comes from.
namespace HTTP {

HTTPResult Get(CMRestSession* session, std::string url, const CMRestParams& queryParams,
               const CMRestParams& headerParams, ICSAppFactory* app = CF::obtainAppFactory());

HTTPResult Post(CMRestSession* session, std::string url, HTTPBody body, const CMRestParams& queryParams,
                const CMRestParams& headerParams, ICSAppFactory* app = CF::obtainAppFactory());

/// As Post without a body, given up after `most` where the settings do not give up before.
HTTPResult PostBriefly(CMRestSession* session, std::string url, std::chrono::milliseconds most,
                       ICSAppFactory* app = CF::obtainAppFactory());

/// As Post, under `settings` and with a receiver for the reply; throws what that throws, too.
HTTPResult PostStreaming(CMRestSession* session, std::string url, HTTPBody body, const CMRestParams& queryParams,
                         const CMRestParams& headerParams, const CMRestGlobalSettings& settings,
                         ICSRestReceiver& receiver, ICSAppFactory* app = CF::obtainAppFactory());

HTTPResult Delete(CMRestSession* session, std::string url, ICSAppFactory* app = CF::obtainAppFactory());

}  // namespace HTTP

/// The string "message" of the object "error" in `json`, which may be null; null when there is none.
const ICOJsonValue* findErrorMessage(const ICOJsonValue* json);

/// The "message" of the "error" object in the response's JSON, else the raw body, which may be empty.
std::string obtainResponseErrorText(const CMRestResourceResponse* response);

/// What the user is told about a failed request: the service's own text, or `httpError` when it sent none (or no
/// response at all: null).
std::string obtainFailureText(const CMRestResourceResponse* response, std::string httpError);
