// The ways to run the program in which nobody asks anything.
#include "job.h"
#include "services/endpoint.h"
#include "terminal/rendering.h"

#include <memory>
#include <utility>

ExitCode listModels(const Options& options, Streams streams) {
  Endpoint endpoint = chooseEndpoint(options.service, *options.service.provider);
  const auto standIn = startStandIn(endpoint, streams.err);
  ChatPartner partner(std::move(endpoint));
  const auto [models, error] = partner.listModels();
  if (!error.empty()) {
    complain(streams.err, error);
    return partner.failureCode();
  }
  std::string text;
  for (const std::string& model : models) text += terminalSafeLine(model) + "\n";
  if (!text.empty()) printText(streams.out, text);
  return ExitCode::Fine;
}

ExitCode showPrompt(const Job& job) {
  // All services are told the same, and with the first of them nothing is sent; another may keep what it is told.
  ChatPartner partner({.provider = &kProviders.front(),
                       .host = "",
                       .apiKey = "",
                       .secrets = gatherSecrets(job.options.service),
                       .settings = {}});
  const std::string error = partner.configure(job.setup);
  if (!error.empty()) {
    complain(job.streams.err, error);
    return ExitCode::Internal;
  }
  printText(job.streams.out, partner.combinedInstructions());
  return ExitCode::Fine;
}
