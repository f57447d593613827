#include "key_check.h"

#include <cf/app.h>
#include <cf/url.h>

#include <chrono>
#include <memory>

bool isKeyRefused(const KeyCheck& check) {
  constexpr std::chrono::seconds kPatience{5};
  constexpr int kUnauthorized = 401;
  constexpr int kForbidden = 403;

  CMRestGlobalSettings settings = check.settings;
  settings.connectTimeout = settings.totalTimeout = kPatience;
  CMRestSession session;
  session.setAuthorizationHeaderValue("Bearer " + check.apiKey);
  ICSAppFactory* app = CF::obtainAppFactory();
  const std::unique_ptr<ICSRestClient> client(
      app->obtainRestClientFactory()->createRestClient(app, settings, &session));

  std::vector<std::string> address{check.host};
  address.insert(address.end(), check.modelsPath.begin(), check.modelsPath.end());
  CMRestGetRequest request;
  request.setURL(cfConcatURL(address));
  CMRestResourceResponse* answer = nullptr;
  client->executeGet(request, &answer);
  const std::unique_ptr<CMRestResourceResponse> response(answer);
  return response != nullptr && (response->getStatus() == kUnauthorized || response->getStatus() == kForbidden);
}
