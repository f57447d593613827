#include "qai_http.h"

#include "qai_exports.h"

#include <cf/json_shortcuts.h>

#include <memory>

namespace {

/// Marks the library's requests for hosts that watch their traffic.
constexpr std::int64_t kRequestTag = 2062955722;

template <class Request>
void addParams(Request& request, const CMRestParams& query, const CMRestParams& headers) {
  if (!query.empty()) request.addQueryParams(query);
  if (!headers.empty()) request.addHeaderParams(headers);
}

/// `execute` runs the request on a client and sets the response.
template <class Execute>
HTTPResult run(ICSAppFactory* app, const CMRestGlobalSettings& settings, const CMRestSession* session,
               const Execute& execute) {
  const std::unique_ptr<ICSRestClient> client(app->obtainRestClientFactory()->createRestClient(app, settings, session));

  CMRestResourceResponse* response = nullptr;
  const std::int32_t error = execute(*client, &response);
  if (error == 0) return {response, ""};

  std::unique_ptr<CMRestResourceResponse> kept(response);
  CSErrorRecord record;
  app->obtainErrorDescriptionService()->describeError(error, client.get(), record);
  return {kept.release(), std::move(record.message)};
}

template <class Request>
void prepare(Request& request, std::string&& url) {
  request.requestTag = kRequestTag;
  request.setURL(std::move(url));
}

void prepare(CMRestPostRequest& request, std::string&& url, const HTTPBody& body, const CMRestParams& queryParams,
             const CMRestParams& headerParams) {
  prepare(request, std::move(url));
  if (body.json != nullptr) request.updateJson(body.json);
  if (!body.parts.empty()) request.updateJsonText(body.parts);
  addParams(request, queryParams, headerParams);
}

}  // namespace

HTTPResult HTTP::Get(CMRestSession* session, std::string url, const CMRestParams& queryParams,
                     const CMRestParams& headerParams, ICSAppFactory* app) {
  CMRestGetRequest request;
  prepare(request, std::move(url));
  addParams(request, queryParams, headerParams);
  return run(app, httpSettings, session, [&](ICSRestClient& client, CMRestResourceResponse** response) {
    return client.executeGet(request, response);
  });
}

HTTPResult HTTP::Post(CMRestSession* session, std::string url, HTTPBody body, const CMRestParams& queryParams,
                      const CMRestParams& headerParams, ICSAppFactory* app) {
  CMRestPostRequest request;
  prepare(request, std::move(url), body, queryParams, headerParams);
  return run(app, httpSettings, session, [&](ICSRestClient& client, CMRestResourceResponse** response) {
    return client.executePost(request, response);
  });
}

HTTPResult HTTP::PostBriefly(CMRestSession* session, std::string url, std::chrono::milliseconds most,
                             ICSAppFactory* app) {
  CMRestGlobalSettings settings = httpSettings;
  const bool isUnlimited = settings.totalTimeout.count() <= 0;
  if (isUnlimited || settings.totalTimeout > most) settings.totalTimeout = most;
  CMRestPostRequest request;
  prepare(request, std::move(url));
  return run(app, settings, session, [&](ICSRestClient& client, CMRestResourceResponse** response) {
    return client.executePost(request, response);
  });
}

HTTPResult HTTP::PostStreaming(CMRestSession* session, std::string url, HTTPBody body, const CMRestParams& queryParams,
                               const CMRestParams& headerParams, const CMRestGlobalSettings& settings,
                               ICSRestReceiver& receiver, ICSAppFactory* app) {
  CMRestPostRequest request;
  prepare(request, std::move(url), body, queryParams, headerParams);
  return run(app, settings, session, [&](ICSRestClient& client, CMRestResourceResponse** response) {
    return client.executePostStreaming(request, receiver, response);
  });
}

HTTPResult HTTP::Delete(CMRestSession* session, std::string url, ICSAppFactory* app) {
  CMRestDeleteRequest request;
  prepare(request, std::move(url));
  return run(app, httpSettings, session, [&](ICSRestClient& client, CMRestResourceResponse** response) {
    return client.executeDelete(request, response);
  });
}

const ICOJsonValue* findErrorMessage(const ICOJsonValue* json) {
  return cfFindJsonMember(cfFindJsonMember(json, "error", JsonType::Object), "message", JsonType::String);
}

std::string obtainResponseErrorText(const CMRestResourceResponse* response) {
  const ICOJsonValue* message = findErrorMessage(response->getJson());
  if (message == nullptr) return response->getBufferString();
  return std::string(message->obtainString());
}

std::string obtainFailureText(const CMRestResourceResponse* response, std::string httpError) {
  std::string text = response == nullptr ? std::string() : obtainResponseErrorText(response);
  return text.empty() ? std::move(httpError) : text;
}
