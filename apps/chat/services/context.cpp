#include "services/context.h"

#include "services/ledger.h"

#include <qai/saved_host.hpp>

namespace {

/// SQL in Latin letters takes 3 to 4 bytes a token.
std::size_t estimateTokens(std::size_t bytes) {
  constexpr std::size_t kBytesOfTwo = 7;
  constexpr std::size_t kExact = 100;  // below that, rounding would say nothing
  std::size_t tokens = 2 * bytes / kBytesOfTwo;
  std::size_t unit = 1;
  while (tokens / unit >= kExact) unit *= 10;
  return (tokens + unit / 2) / unit * unit;
}

std::string describeAmount(std::size_t bytes) {
  const std::size_t tokens = estimateTokens(bytes);
  return describeSize(bytes) + ", about " + std::to_string(tokens) + " tokens; up to " + std::to_string(2 * tokens) +
         " where names are numbered or not in Latin letters";
}

}  // namespace

std::string nameStandIn(const Provider& provider) {
  return std::string(provider.title) + "'s stand-in inside this program";
}

std::string nameDestination(const Provider& provider, const std::string& host) {
  return std::string(provider.title) + ", " + withoutAccount(host);
}

std::string nameDestination(const Endpoint& endpoint) {
  if (isStoodIn(endpoint)) return nameStandIn(*endpoint.provider);
  // The library knows the public address, and how it spells others.
  const auto host = qai::savedHost(endpoint.provider->type, "{}", endpoint.host);
  return nameDestination(*endpoint.provider, host.value_or(endpoint.host));
}

std::string describeContext(const Context& context) {
  std::string text = "To: " + context.destination + "\nModel: ";
  text += context.model.empty() ? "chosen from the service's list; --model names one" : context.model;
  text += "\nStructure: " + context.tables;
  text += "\nWith each question: " + describeAmount(context.instructions.size());
  if (context.earlierBytes > 0) text += "\nEarlier turns: " + describeAmount(context.earlierBytes);
  if (!context.question.empty()) text += "\nQuestion: " + describeAmount(context.question.size());
  text += "\nRows: none\n\n" + context.instructions;
  if (!context.question.empty()) text += "\n\n" + context.question;
  return text;
}
