#include "services/endpoint.h"

#include "start.h"
#include "terminal/rendering.h"

#include <cf/app.h>
#include <cf/text.h>
#include <cf/url.h>
#include <qai/saved_host.hpp>

#include <algorithm>

namespace {

constexpr const char* kProxyVariable = "QAI_PROXY";

std::string readVariable(const char* name) { return cfTrimAsString(obtainVariable(name).value_or("")); }

std::string findKey(const Provider& provider) {
  for (const char* variable : provider.keyVariables) {
    if (std::string value = readVariable(variable); !value.empty()) return value;
  }
  return "";
}

std::string findHost(const ServiceWish& wish, const Provider& provider) {
  const bool isMeant = &provider == wish.provider && !cfTrimAsString(wish.host).empty();
  if (isMeant || provider.hostVariable == nullptr) return readAddress(provider, isMeant ? wish.host : "");
  return readAddress(provider, readVariable(provider.hostVariable), provider.hostVariable);
}

/// The proxy as the user names it.
std::string findProxy(const ServiceWish& wish) {
  return wish.proxyURL.empty() ? readVariable(kProxyVariable) : wish.proxyURL;
}

bool isOnThisMachine(const std::string& address) {
  const std::optional<qai::Origin> origin = qai::parseOrigin(address);
  return origin && qai::isLoopback(*origin);
}

struct Address {
  std::string account;  // user name and password, percent-encoded
  std::string rest;     // the address without it
};

Address splitAddress(const std::string& url) {
  const std::size_t mark = url.find("://");
  const std::size_t begin = mark == std::string::npos ? 0 : mark + 3;
  const std::size_t end = std::min(url.find_first_of("/?#", begin), url.size());
  const std::size_t at = url.substr(0, end).rfind('@');
  if (at == std::string::npos || at < begin) return {.account = "", .rest = url};
  return {.account = url.substr(begin, at - begin), .rest = url.substr(0, begin) + url.substr(at + 1)};
}

/// The password in an address: alone, and as it is sent.
void addAccountSecrets(const std::string& url, std::vector<std::string>& secrets) {
  const std::string account = splitAddress(url).account;
  const std::size_t colon = std::min(account.find(':'), account.size());
  const std::string password = account.substr(std::min(colon + 1, account.size()));
  secrets.insert(secrets.end(), {account, cfDecodePercent(account), password, cfDecodePercent(password)});
}

}  // namespace

std::vector<std::string> gatherSecrets(const ServiceWish& wish) {
  std::vector<std::string> secrets;
  for (const Provider& any : kProviders) {
    for (const char* variable : any.keyVariables) secrets.push_back(readVariable(variable));
    if (any.hostVariable != nullptr) addAccountSecrets(readVariable(any.hostVariable), secrets);
  }
  addAccountSecrets(findProxy(wish), secrets);
  return secrets;
}

Endpoint chooseEndpoint(const ServiceWish& wish, const Provider& provider) {
  Endpoint endpoint{.provider = &provider,
                    .host = findHost(wish, provider),
                    .apiKey = findKey(provider),
                    .secrets = gatherSecrets(wish),
                    .settings = {},
                    .allowsHttp = wish.allowHttp};
  endpoint.settings.caFile = wish.caFile;
  endpoint.settings.proxyURL = readProxy(findProxy(wish));
  const bool sendsKey = provider.usesKey() && !endpoint.apiKey.empty();
  if (sendsKey && !endpoint.allowsHttp && !staysUnheard(endpoint.host, endpoint.settings)) {
    throw HostError(
        "The key would go unencrypted to another machine; name an https address, or permit it with --allow-http");
  }
  return endpoint;
}

bool isStoodIn(const Endpoint& endpoint) { return endpoint.apiKey.empty() && endpoint.host.empty(); }

bool staysUnheard(const std::string& address, const CMRestGlobalSettings& settings) {
  // The library takes https for what has no scheme in lower case.
  if (!address.starts_with("http://")) return true;
  return isOnThisMachine(address) &&
         (settings.proxyURL.empty() || isOnThisMachine(splitAddress(settings.proxyURL).rest));
}

std::unique_ptr<standin::Server> startStandIn(Endpoint& endpoint, std::ostream& err) {
  if (!isStoodIn(endpoint)) return nullptr;
  auto server = std::make_unique<standin::Server>();
  endpoint.host = server->address();
  endpoint.apiKey = "stand-in";
  endpoint.isStandIn = true;
  endpoint.settings = {};  // no proxy on the way to this machine
  complain(err, std::string("A rule-based stand-in answers, not a language model; set ") +
                    endpoint.provider->keyVariables.front() +
                    (endpoint.provider->needsHost ? " and name a server with --host" : "") + " to ask " +
                    endpoint.provider->title + ".");
  return server;
}

bool tellsRefusedKey(const Provider& provider, std::int32_t status, const std::string& error) {
  if (status != 400) return status == 401 || status == 403;
  return std::any_of(provider.keyErrors.begin(), provider.keyErrors.end(),
                     [&error](const char* part) { return error.find(part) != std::string::npos; });
}

bool tellsUnfitModel(const Provider& provider, std::int32_t status, const std::string& error) {
  const bool isUnknown = status == 0 && !provider.canCancel;  // outside of the pool centre nobody notes it
  if (!isUnknown && status != 400 && status != 404) return false;
  return error.find("model") != std::string::npos || error.find("Model") != std::string::npos ||
         error.find("does not support chat") != std::string::npos;
}

bool tellsNoConnection(const std::string& error) {
  CSErrorRecord record;
  const ICSErrorDescriptionService* texts = CF::obtainAppFactory()->obtainErrorDescriptionService();
  texts->describeError(static_cast<std::int32_t>(CFRestError::CouldNotConnect), nullptr, record);
  return error.starts_with(record.title);
}

bool tellsNoWay(const std::string& error) {
  return tellsNoConnection(error) || error.starts_with("Could not find the ");
}
