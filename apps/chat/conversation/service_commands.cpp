#include "conversation/service_commands.h"

#include "terminal/rendering.h"

#include <algorithm>
#include <ostream>

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
