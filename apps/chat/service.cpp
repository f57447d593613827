#include "service.h"

#include "rendering.h"
#include "start.h"

#include <cf/app.h>
#include <cf/text.h>
#include <cf/url.h>

#include <algorithm>

namespace {

std::string readVariable(const char* name) { return cfTrimAsString(obtainVariable(name).value_or("")); }

std::string findKey(const Provider& provider) {
  for (const char* variable : provider.keyVariables) {
    if (std::string value = readVariable(variable); !value.empty()) return value;
  }
  return "";
}

std::string findHost(const Options& options, const Provider& provider) {
  std::string host = &provider == options.provider ? cfTrimAsString(options.host) : "";
  if (host.empty() && provider.hostVariable != nullptr) host = readVariable(provider.hostVariable);
  if (provider.readHost == nullptr) return host;
  const std::optional<std::string> address = provider.readHost(host);
  if (!address) throw HostError("'" + host + "' is no address of " + provider.title + ": http and https only");
  return *address;
}

bool isRefusal(const Provider& provider, const CMRestResourceResponse& response) {
  return std::any_of(provider.keyRefusals.begin(), provider.keyRefusals.end(), [&](const KeyRefusal& refusal) {
    return response.getStatus() == refusal.status && response.getBufferString().find(refusal.part) != std::string::npos;
  });
}

}  // namespace

Service chooseService(const Options& options, const Provider& provider) {
  Service service{.provider = &provider,
                  .host = findHost(options, provider),
                  .apiKey = findKey(provider),
                  .secrets = {},
                  .settings = {}};
  for (const Provider& any : kProviders) service.secrets.push_back(findKey(any));
  service.settings.caFile = options.caFile;
  service.settings.proxyURL = options.proxyURL;
  return service;
}

std::unique_ptr<standin::Server> startStandIn(Service& service, std::ostream& err) {
  if (!service.apiKey.empty() || !service.host.empty()) return nullptr;
  auto server = std::make_unique<standin::Server>();
  service.host = server->address();
  service.apiKey = "stand-in";
  service.settings = {};  // no proxy on the way to this machine
  complain(err, std::string("A rule-based stand-in answers, not a language model; set ") +
                    service.provider->keyVariables.front() +
                    (service.provider->needsHost ? " and name a server with --host" : "") + " to ask " +
                    service.provider->title + ".");
  return server;
}

bool isKeyRefused(const Service& service, const std::string& address) {
  CMRestGlobalSettings settings = service.settings;
  settings.connectTimeout = settings.totalTimeout = kShortPatience;
  const Provider& provider = *service.provider;
  CMRestSession session;
  CMRestGetRequest request;
  if (provider.keyPlace == KeyPlace::Bearer) session.setAuthorizationHeaderValue("Bearer " + service.apiKey);
  if (provider.keyPlace == KeyPlace::Query) request.addQueryParams({{"key", service.apiKey}});
  std::vector<std::string> parts{address};
  parts.insert(parts.end(), provider.modelsPath.begin(), provider.modelsPath.end());
  request.setURL(cfConcatURL(parts));

  ICSAppFactory* app = CF::obtainAppFactory();
  const std::unique_ptr<ICSRestClient> client(
      app->obtainRestClientFactory()->createRestClient(app, settings, &session));
  CMRestResourceResponse* answer = nullptr;
  client->executeGet(request, &answer);
  const std::unique_ptr<CMRestResourceResponse> response(answer);
  return response != nullptr && isRefusal(provider, *response);
}

bool tellsNoConnection(const std::string& error) {
  CSErrorRecord record;
  const ICSErrorDescriptionService* texts = CF::obtainAppFactory()->obtainErrorDescriptionService();
  texts->describeError(static_cast<std::int32_t>(CFRestError::CouldNotConnect), nullptr, record);
  return error.starts_with(record.title);
}
