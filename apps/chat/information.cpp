// The ways to run the program in which nobody asks anything.
#include "failure.h"
#include "job.h"
#include "services/context.h"
#include "services/endpoint.h"
#include "services/session_text.h"
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

namespace {

/// What any service is told, or a failure. With the first of them nothing is sent; another may keep what it is told.
std::string combineInstructions(const Job& job) {
  ChatPartner partner({.provider = &kProviders.front(),
                       .host = "",
                       .apiKey = "",
                       .secrets = gatherSecrets(job.options.service),
                       .settings = {}});
  if (const std::string error = partner.configure(job.setup); !error.empty()) throw Failure(ExitCode::Internal, error);
  return partner.combinedInstructions();
}

}  // namespace

ExitCode showPrompt(const Job& job) {
  printText(job.streams.out, combineInstructions(job));
  return ExitCode::Fine;
}

ExitCode showContext(const Job& job) {
  const Endpoint endpoint = chooseEndpoint(job.options.service, *job.options.service.provider);
  printText(job.streams.out, describeContext({.destination = nameDestination(endpoint),
                                              .model = job.setup.model,
                                              .tables = countTables(job.background.tables),
                                              .instructions = combineInstructions(job),
                                              .question = withoutSecrets(job.question, endpoint.secrets)}));
  return ExitCode::Fine;
}
