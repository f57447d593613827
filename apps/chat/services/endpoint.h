// Which server a chat partner asks, and with which key.
#pragma once

#include "services/address.h"
#include "services/providers.h"

#include <cf/rest.h>

#include <standin.h>

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

/// For requests that are made by the way, and for which nobody would wait long.
inline constexpr std::chrono::seconds kShortPatience{5};

/// Where a chat partner's requests go.
struct Endpoint {
  const Provider* provider = nullptr;
  std::string host;  // empty: the provider's own
  std::string apiKey;
  std::vector<std::string> secrets;  // what no text for the user may hold
  CMRestGlobalSettings settings;
  bool allowsHttp = false;  // a key, or a restored conversation, may go unencrypted to another machine
  bool isStandIn = false;   // the service inside the program answers
};

/// Which service the user wants, in words of the command line.
struct ServiceWish {
  const Provider* provider = &kProviders.front();
  std::string host;  // empty: the provider's own
  std::string caFile;
  std::string proxyURL;    // empty: what the environment says
  bool allowHttp = false;  // a key, or a restored conversation, may go unencrypted to another machine
};

/// What no text for the user may hold: all keys and passwords in the environment.
std::vector<std::string> gatherSecrets(const ServiceWish& wish);

/// The service of `provider` by `wish` and environment; the host of `wish` counts for its own provider only.
/// @throw HostError
Endpoint chooseEndpoint(const ServiceWish& wish, const Provider& provider);

/// Whether the stand-in answers in the place of `endpoint`: there is no key for it, and no host is named.
bool isStoodIn(const Endpoint& endpoint);

/// Whether nobody on a network hears what is sent to `address` under `settings`: it is encrypted or stays on this
/// machine.
bool staysUnheard(const std::string& address, const CMRestGlobalSettings& settings);

/// The service inside the program, for whoever has no key and names no host; else null. Told on `err`.
/// @throw std::runtime_error when it can't start
std::unique_ptr<standin::Server> startStandIn(Endpoint& endpoint, std::ostream& err);

/// Whether a reply of `status`, of which the library made `error`, tells that `provider` refuses the key.
bool tellsRefusedKey(const Provider& provider, std::int32_t status, const std::string& error);

/// Whether a reply of `status`, of which the library made `error`, tells that `provider` has no use for the model.
bool tellsUnfitModel(const Provider& provider, std::int32_t status, const std::string& error);

/// Whether `error`, a text of the library, tells that nothing listens at the address.
bool tellsNoConnection(const std::string& error);

/// The same, or that there is no such name, be it the proxy's.
bool tellsNoWay(const std::string& error);
