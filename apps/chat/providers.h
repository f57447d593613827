// The services that --provider names.
#pragma once

#include "ollama_host.h"

#include <qai.h>

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// How a key travels.
enum class KeyPlace { None, Bearer, Query };

/// A reply that tells of a refused key: the status and, unless empty, a part of the body.
struct KeyRefusal {
  int status;
  std::string_view part;
};

struct Provider {
  const char* name;   // for --provider
  const char* title;  // for people
  QAIAssistantType type;
  std::span<const char* const> keyVariables;  // of the environment; the first that is set counts
  const char* hostNote;                       // for --help
  const char* hostVariable;                   // of the environment, read when --host names none; may be null
  /// Makes an address of what the user calls the host, blank included; null: the library's way will do. A provider
  /// that has this one is never stood in for.
  std::optional<std::string> (*readHost)(std::string_view text);
  std::span<const char* const> modelsPath;  // a cheap address that tells whether a key is good
  KeyPlace keyPlace;
  std::span<const KeyRefusal> keyRefusals;
  bool canCancel;                // a request in flight can be ended
  const char* noConnectionHint;  // a sentence for the user; may be empty
  const char* noModelsHint;      // the same
};

namespace providers {
inline constexpr std::array<KeyRefusal, 2> kBearerRefusals{{{401, ""}, {403, ""}}};

inline constexpr std::array kOpenAIKeys{"OPENAI_API_KEY"};
inline constexpr std::array kOpenAIModels{"v1", "models"};

inline constexpr std::array kDeepSeekKeys{"DEEPSEEK_API_KEY"};
inline constexpr std::array kDeepSeekModels{"models"};

inline constexpr std::array kGeminiKeys{"GEMINI_API_KEY", "GOOGLE_API_KEY"};
inline constexpr std::array kGeminiModels{"v1beta", "models"};
// 400 stands for other things, too: a country that is not served, for one.
inline constexpr std::array<KeyRefusal, 4> kGeminiRefusals{
    {{400, "API_KEY_INVALID"}, {400, "API key not valid"}, {401, ""}, {403, ""}}};

inline constexpr std::array kOllamaModels{"api", "tags"};
}  // namespace providers

inline constexpr std::array kProviders{
    Provider{
        .name = "openai",
        .title = "OpenAI",
        .type = OPENAI_v1,
        .keyVariables = providers::kOpenAIKeys,
        .hostNote = "OpenAI's public address",
        .hostVariable = nullptr,
        .readHost = nullptr,
        .modelsPath = providers::kOpenAIModels,
        .keyPlace = KeyPlace::Bearer,
        .keyRefusals = providers::kBearerRefusals,
        .canCancel = true,
        .noConnectionHint = "",
        .noModelsHint = "",
    },
    Provider{
        .name = "deepseek",
        .title = "DeepSeek",
        .type = DEEPSEEK,
        .keyVariables = providers::kDeepSeekKeys,
        .hostNote = "DeepSeek's public address",
        .hostVariable = nullptr,
        .readHost = nullptr,
        .modelsPath = providers::kDeepSeekModels,
        .keyPlace = KeyPlace::Bearer,
        .keyRefusals = providers::kBearerRefusals,
        .canCancel = true,
        .noConnectionHint = "",
        .noModelsHint = "",
    },
    Provider{
        .name = "gemini",
        .title = "Gemini",
        .type = GOOGLE,
        .keyVariables = providers::kGeminiKeys,
        .hostNote = "Google's public address",
        .hostVariable = nullptr,
        .readHost = nullptr,
        .modelsPath = providers::kGeminiModels,
        .keyPlace = KeyPlace::Query,
        .keyRefusals = providers::kGeminiRefusals,
        .canCancel = true,
        .noConnectionHint = "",
        .noModelsHint = "",
    },
    Provider{
        .name = "ollama",
        .title = "Ollama",
        .type = OLLAMA,
        .keyVariables = {},
        .hostNote = "http://localhost:11434, or the server that OLLAMA_HOST names",
        .hostVariable = "OLLAMA_HOST",
        .readHost = readOllamaHost,
        .modelsPath = providers::kOllamaModels,
        .keyPlace = KeyPlace::None,
        .keyRefusals = {},
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

/// The names of all providers, for people.
inline std::string listProviders() {
  std::string names;
  for (const Provider& provider : kProviders) names += (names.empty() ? "" : ", ") + std::string(provider.name);
  return names;
}
