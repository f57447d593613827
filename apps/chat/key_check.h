// Tells a refused key from other failures. The library gives texts only, so the service is asked once more.
#pragma once

#include <cf/rest.h>

#include <span>
#include <string>

struct KeyCheck {
  std::string host;  // with its scheme
  std::span<const char* const> modelsPath;
  std::string apiKey;
  CMRestGlobalSettings settings;
};

/// Whether the service answers a request for its models with 401 or 403. Waits a few seconds at most.
bool isKeyRefused(const KeyCheck& check);
