#include "conversation/service_commands.h"

#include "terminal/rendering.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace {

constexpr std::size_t kNameWidth = 19;  // of a column with the services' names

std::string listNames(std::span<const ProviderProfile> providers) {
  std::string names;
  for (const ProviderProfile& provider : providers) names.append(names.empty() ? "" : ", ").append(provider.name);
  return names;
}

std::string padded(std::string_view name) {
  std::string text(name);
  text.resize(std::max(text.size(), kNameWidth), ' ');
  return text;
}

void tellFailure(const std::string& error, bool calledOff, std::ostream& err) {
  if (calledOff) {
    err << "\nCancelled.\n";
  } else {
    complain(err, error);
  }
}

struct ModelList {
  std::vector<std::string> models;
  std::string error;
};

ModelList askForModels(MovableAnswerer& answerer) {
  auto [models, error] = answerer.listModels();
  return {.models = std::move(models), .error = std::move(error)};
}

/// Whether `listed`, of a service's list, is what the user calls `name`: Ollama lists what has no tag under "latest".
bool isSameModel(const std::string& listed, const std::string& name) {
  return listed == name || listed == name + ":latest";
}

bool lists(const ModelList& list, const std::string& name) {
  return std::any_of(list.models.begin(), list.models.end(),
                     [&name](const std::string& listed) { return isSameModel(listed, name); });
}

}  // namespace

bool listProviders(Talk& talk, const CommandCall& /*call*/) {
  const MovableAnswerer& answerer = talk.answerer;
  for (const ProviderProfile& provider : answerer.providers()) {
    const bool current = provider.name == answerer.provider().name;
    talk.streams.err << (current ? "* " : "  ") << padded(provider.name) << provider.title
                     << (current ? ", model " + terminalSafeLine(answerer.model()) : "") << '\n';
  }
  return true;
}

bool moveToProvider(Talk& talk, const CommandCall& call) {
  const std::vector<std::string>& words = call.words;
  std::ostream& err = talk.streams.err;
  const std::span<const ProviderProfile> providers = talk.answerer.providers();
  const auto provider = std::find_if(providers.begin(), providers.end(),
                                     [&words](const ProviderProfile& any) { return any.name == words[0]; });
  if (provider == providers.end()) {
    complain(err, "'" + words[0] + "' is not one of: " + listNames(providers));
    return true;
  }
  const ProviderProfile earlier = talk.answerer.provider();
  std::string error;
  const bool calledOff =
      talk.runTurn([&] { error = talk.answerer.moveTo(*provider, words.size() > 1 ? words[1] : ""); });
  if (!error.empty()) {
    tellFailure(error, calledOff, err);
    err << "The conversation stays with " << earlier.title << ".\n";
    return true;
  }
  err << provider->title << " answers from here on. Model: " << terminalSafeLine(talk.answerer.model()) << ".\n";
  if (carriesTurns(earlier, *provider)) return true;
  talk.tokens = {};
  const ProviderProfile& keeper = earlier.keepsConversations ? earlier : *provider;
  err << keeper.title << " keeps conversations itself, so this one starts anew.\n";
  return true;
}

bool listModels(Talk& talk, const CommandCall& /*call*/) {
  std::ostream& err = talk.streams.err;
  ModelList list;
  const bool calledOff = talk.runTurn([&] { list = askForModels(talk.answerer); });
  if (!list.error.empty()) {
    tellFailure(list.error, calledOff, err);
    return true;
  }
  const std::string& current = talk.answerer.model();
  if (!lists(list, current)) err << "* " << terminalSafeLine(current) << ", which is not listed\n";
  for (const std::string& model : list.models)
    err << (isSameModel(model, current) ? "* " : "  ") << terminalSafeLine(model) << '\n';
  return true;
}

bool changeModel(Talk& talk, const CommandCall& call) {
  std::ostream& err = talk.streams.err;
  const std::string& name = call.words.front();
  ModelList list;
  std::string error;
  bool calledOff = talk.runTurn([&] { list = askForModels(talk.answerer); });
  const bool goesOn = !calledOff;
  if (goesOn) calledOff = talk.runTurn([&] { error = talk.answerer.changeModel(name); });
  if (!goesOn || !error.empty()) {
    tellFailure(error, calledOff, err);
    err << "The model stays " << terminalSafeLine(talk.answerer.model()) << ".\n";
    return true;
  }
  err << terminalSafeLine(talk.answerer.model()) << " answers from here on.\n";
  if (list.error.empty() && !lists(list, name))
    err << talk.answerer.provider().title << " does not list it; the next question shows whether it is there.\n";
  return true;
}

bool beginAnew(Talk& talk, const CommandCall& /*call*/) {
  std::ostream& err = talk.streams.err;
  std::string error;
  const bool calledOff = talk.runTurn([&] { error = talk.answerer.startConversation(); });
  if (error.empty()) {
    talk.tokens = {};
    err << "The conversation begins anew.\n";
    return true;
  }
  tellFailure(error, calledOff, err);
  err << "The conversation goes on.\n";
  return true;
}
