// Runs requests through the app factory's client, as the library does.
#pragma once

#include "support/platform.h"
#include "support/raw_server.h"

#include <cf/app.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

/// What a request came to.
struct RestResult {
  std::int32_t code = 0;
  std::unique_ptr<CMRestResourceResponse> response;
  std::string text;   // the client's failure text
  std::string title;  // what the description service makes of the code
  std::string message;
};

constexpr std::int32_t toCode(CFRestError error) { return static_cast<std::int32_t>(error); }

struct RestCaller {
  CMRestGlobalSettings settings;
  CMRestSession session;

  template <typename Request, typename Execute>
  RestResult run(const Request& request, Execute execute) const {
    ICSAppFactory* app = CF::obtainAppFactory();
    const std::unique_ptr<ICSRestClient> client(
        app->obtainRestClientFactory()->createRestClient(app, settings, &session));
    RestResult outcome;
    CMRestResourceResponse* response = nullptr;
    outcome.code = std::invoke(execute, *client, request, &response);
    outcome.response.reset(response);
    outcome.text = client->obtainFailureText();
    CSErrorRecord record;
    app->obtainErrorDescriptionService()->describeError(outcome.code, client.get(), record);
    outcome.title = record.title;
    outcome.message = record.message;
    return outcome;
  }

  RestResult get(const std::string& url, const CMRestParams& query = {}, const CMRestParams& headers = {}) const {
    CMRestGetRequest request;
    request.setURL(url);
    request.addQueryParams(query);
    request.addHeaderParams(headers);
    return run(request, &ICSRestClient::executeGet);
  }

  RestResult post(const std::string& url, const ICOJsonValue* json, const CMRestParams& query = {},
                  const CMRestParams& headers = {}) const {
    CMRestPostRequest request;
    request.setURL(url);
    request.addQueryParams(query);
    request.addHeaderParams(headers);
    request.updateJson(json);
    return run(request, &ICSRestClient::executePost);
  }

  RestResult remove(const std::string& url) const {
    CMRestDeleteRequest request;
    request.setURL(url);
    return run(request, &ICSRestClient::executeDelete);
  }
};

// The server as messages name it.
inline std::string nameOf(const RawServer& server) { return server.getURL().substr(server.getURL().find("://") + 3); }

// Whether a request's head has exactly this line.
inline bool holdsLine(const std::string& request, const std::string& line) {
  return request.find("\r\n" + line + "\r\n") != std::string::npos;
}

inline std::string bodyOf(const RestResult& outcome) {
  return outcome.response == nullptr ? "(no response)" : outcome.response->getBufferString();
}

// Why a certificate is not trusted, in the words of what verifies it.
inline const std::string kAuthorityUnknown =
    usesSchannel() ? "its authority is not known" : "unable to get local issuer certificate";
inline const std::string kExpired = usesSchannel() ? "it is not valid today" : "certificate has expired";
inline std::string nameDiffersFrom(const std::string& host) {
  return usesSchannel() ? "it is not for this host"
                        : "no alternative certificate subject name matches target host name '" + host + "'";
}

// A failure of the transport: no response, and just this sentence.
inline void expectFailure(const RestResult& outcome, CFRestError error, const std::string& text) {
  EXPECT_EQ(outcome.code, toCode(error)) << outcome.text;
  EXPECT_EQ(outcome.response, nullptr);
  EXPECT_EQ(outcome.text, text);
  EXPECT_EQ(outcome.message, text);
}
