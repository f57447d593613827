// What goes to a service with a question, told before it goes.
#pragma once

#include "services/endpoint.h"

#include <cstddef>
#include <string>
#include <string_view>

struct Context {
  std::string destination;
  std::string model;  // "" while it is open
  std::string tables;
  std::string instructions;      // the whole text, the structure among it
  std::size_t earlierBytes = 0;  // of the turns so far
  std::string question = {};     // "" when none is asked yet
};

/// Where `endpoint` is, for people: "OpenAI, https://api.openai.com".
std::string nameDestination(const Endpoint& endpoint);
/// The same of a service that is not stood in for, at `host`, in the library's spelling.
std::string nameDestination(const Provider& provider, const std::string& host);
/// And of the stand-in that answers in its place.
std::string nameStandIn(const Provider& provider);

/// The facts a line each, then the texts. Estimates of tokens are as good as a rule of thumb.
std::string describeContext(const Context& context);
