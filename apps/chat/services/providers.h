// The services that --provider names.
#pragma once

#include "conversation/answerer.h"
#include "services/ollama_host.h"

#include <qai.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

/// A few texts within a row.
class Texts {
 public:
  constexpr Texts(std::initializer_list<const char*> texts) : count_(texts.size()) {
    std::copy(texts.begin(), texts.end(), texts_.begin());
  }
  constexpr const char* const* begin() const { return texts_.data(); }
  constexpr const char* const* end() const { return texts_.data() + count_; }
  constexpr bool empty() const { return count_ == 0; }
  constexpr const char* front() const { return texts_.front(); }

 private:
  std::array<const char*, 10> texts_{};
  std::size_t count_;
};

/// What is not named in the table is the usual.
struct Provider {
  const char* name;   // for --provider
  const char* title;  // for people
  QAIAssistantType type;
  const char* hostNote;                // for --help
  bool needsHost = false;              // nobody is at the usual address any more
  Texts keyVariables = {};             // of the environment; the first that is set counts; none: there is no key
  const char* hostVariable = nullptr;  // of the environment, read when --host names none; may be null
  /// Makes an address of what the user calls the host, blank included; null: the library's way will do. A provider
  /// that has this one is never stood in for.
  std::optional<std::string> (*readHost)(std::string_view text) = nullptr;
  const char* version = "";     // how the paths of the library's requests begin
  const char* modelsPath = "";  // what follows that for the list of models
  /// Parts of the error texts that tell of a refused key at status 400. That stands for other things, too: a country
  /// that is not served, for one.
  Texts keyErrors = {};
  /// Which of the listed models is asked when the user names none: the first pattern that fits one decides. '*' stands
  /// for any characters, '#' for a digit. What comes first is good, cheap, and answers at once.
  Texts modelPatterns = {};
  Texts specialModels = {};  // words, so written, of models that fit a pattern and can't be chatted with
  bool canCancel = true;     // a request in flight can be ended
  /// Assistant and conversations live at the service, until they are destroyed; no other service can take the turns.
  bool keepsConversations = false;
  const char* noConnectionHint = "";  // a sentence for the user; may be empty
  const char* noModelsHint = "";      // the same

  constexpr bool usesKey() const { return !keyVariables.empty(); }
};

// What takes any temperature, and streams without the account being verified, comes first.
inline constexpr Texts kOpenAIModels{"gpt-4.1-mini*", "gpt-#*-mini*", "gpt-4.1*", "gpt-4o*",
                                     "gpt-#*",        "o#*-mini*",    "o#*"};
// Most of them are for other requests than chat's.
inline constexpr Texts kOpenAISpecials{"instruct", "codex", "pro", "search", "research", "computer", "vision"};

inline constexpr std::array kProviders{
    Provider{
        .name = "openai",
        .title = "OpenAI",
        .type = OPENAI_v1,
        .hostNote = "OpenAI's public address, or the one in OPENAI_BASE_URL",
        .keyVariables = {"OPENAI_API_KEY"},
        .hostVariable = "OPENAI_BASE_URL",
        .version = "/v1",
        .modelsPath = "/models",
        .modelPatterns = kOpenAIModels,
        .specialModels = kOpenAISpecials,
    },
    Provider{
        .name = "openai-assistants",
        .title = "OpenAI Assistants",
        .type = OPENAI,
        .hostNote = "OpenAI's ended on 2026-08-26; --host names another",
        .needsHost = true,
        .keyVariables = {"OPENAI_API_KEY"},
        .hostVariable = "OPENAI_BASE_URL",
        .version = "/v1",
        .modelsPath = "/models",
        .modelPatterns = kOpenAIModels,
        .specialModels = kOpenAISpecials,
        .keepsConversations = true,
    },
    Provider{
        .name = "deepseek",
        .title = "DeepSeek",
        .type = DEEPSEEK,
        .hostNote = "DeepSeek's public address",
        .keyVariables = {"DEEPSEEK_API_KEY"},
        .modelsPath = "/models",
        .modelPatterns = {"deepseek-chat*", "deepseek-*flash*", "deepseek-v#*", "deepseek-reasoner*"},
    },
    Provider{
        .name = "gemini",
        .title = "Gemini",
        .type = GOOGLE,
        .hostNote = "Google's public address",
        .keyVariables = {"GEMINI_API_KEY", "GOOGLE_API_KEY"},
        .version = "/v1beta",
        .modelsPath = "/models",
        .keyErrors = {"API key not valid", "API key expired", "API Key not found", "API_KEY_INVALID"},
        .modelPatterns = {"gemini-#*-flash", "gemini-flash-latest", "gemini-#*-flash-lite", "gemini-#*-flash*",
                          "gemini-#*-pro", "gemini-#*"},
        .specialModels = {"computer"},
    },
    Provider{
        .name = "ollama",
        .title = "Ollama",
        .type = OLLAMA,
        .hostNote = "http://localhost:11434, or the server that OLLAMA_HOST names",
        .hostVariable = "OLLAMA_HOST",
        .readHost = readOllamaHost,
        .version = "/api",
        .modelsPath = "/tags",
        .canCancel = false,  // the library keeps its requests out of the pool centre
        .noConnectionHint = "Start Ollama with 'ollama serve', or name its server with --host or OLLAMA_HOST.",
        .noModelsHint = "'ollama pull NAME' fetches one.",
    },
};

/// The provider called `name`; null when there is none.
constexpr const Provider* findProvider(std::string_view name) {
  for (const Provider& provider : kProviders) {
    if (provider.name == name) return &provider;
  }
  return nullptr;
}

/// kProviders as conversations know them, in the same order.
inline constexpr auto kProviderProfiles = [] {
  std::array<ProviderProfile, kProviders.size()> profiles{};
  std::transform(kProviders.begin(), kProviders.end(), profiles.begin(), [](const Provider& provider) {
    return ProviderProfile{
        .name = provider.name, .title = provider.title, .keepsConversations = provider.keepsConversations};
  });
  return profiles;
}();

/// The profile of `provider`, a row of kProviders.
constexpr const ProviderProfile& obtainProfile(const Provider& provider) {
  return kProviderProfiles.at(static_cast<std::size_t>(&provider - kProviders.data()));
}

/// The names of all providers, for people.
inline std::string listProviders() {
  std::string names;
  for (const Provider& provider : kProviders) names += (names.empty() ? "" : ", ") + std::string(provider.name);
  return names;
}
