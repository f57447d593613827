// The services that --provider names.
#pragma once

#include <qai.h>

#include <array>
#include <span>
#include <string_view>

struct Provider {
  const char* name;   // for --provider
  const char* title;  // for people
  QAIAssistantType type;
  std::span<const char* const> keyVariables;  // of the environment; the first that is set counts
  const char* hostNote;                       // for --help
  std::span<const char* const> modelsPath;    // a cheap address that tells whether a key is good
};

namespace providers {
inline constexpr std::array kOpenAIKeys{"OPENAI_API_KEY"};
inline constexpr std::array kOpenAIModels{"v1", "models"};
}  // namespace providers

inline constexpr std::array kProviders{
    Provider{
        .name = "openai",
        .title = "OpenAI",
        .type = OPENAI_v1,
        .keyVariables = providers::kOpenAIKeys,
        .hostNote = "OpenAI's public address, or with --host any that speaks the same",
        .modelsPath = providers::kOpenAIModels,
    },
};

/// The provider called `name`; null when there is none.
constexpr const Provider* findProvider(std::string_view name) {
  for (const Provider& provider : kProviders) {
    if (provider.name == name) return &provider;
  }
  return nullptr;
}
