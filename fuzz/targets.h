// What is fuzzed, by name. A target takes any bytes, and ends the process when a rule does not hold.
#pragma once

#include <array>
#include <string_view>

struct Target {
  std::string_view name;  // of its folders under seeds and crashes
  void (*run)(std::string_view input);
};

// A turn with each service, against the replies in the input.
void fuzzOpenAITurn(std::string_view input);
void fuzzAssistantsTurn(std::string_view input);
void fuzzGeminiTurn(std::string_view input);
void fuzzDeepSeekTurn(std::string_view input);
void fuzzOllamaTurn(std::string_view input);
/// The same reply under the status of a failure, by all services.
void fuzzFailure(std::string_view input);
// A saved session's text, for each service.
void fuzzOpenAISession(std::string_view input);
void fuzzAssistantsSession(std::string_view input);
void fuzzGeminiSession(std::string_view input);
void fuzzDeepSeekSession(std::string_view input);
void fuzzOllamaSession(std::string_view input);
/// A database's description.
void fuzzStructure(std::string_view input);
/// API host, model and key, with all services.
void fuzzAddress(std::string_view input);
/// JSON text, read and written.
void fuzzJson(std::string_view input);
/// A variant, written and read.
void fuzzVariant(std::string_view input);

inline constexpr auto kTargets = std::to_array<Target>({
    {"turn_openai", fuzzOpenAITurn},
    {"turn_assistants", fuzzAssistantsTurn},
    {"turn_gemini", fuzzGeminiTurn},
    {"turn_deepseek", fuzzDeepSeekTurn},
    {"turn_ollama", fuzzOllamaTurn},
    {"failure", fuzzFailure},
    {"session_openai", fuzzOpenAISession},
    {"session_assistants", fuzzAssistantsSession},
    {"session_gemini", fuzzGeminiSession},
    {"session_deepseek", fuzzDeepSeekSession},
    {"session_ollama", fuzzOllamaSession},
    {"structure", fuzzStructure},
    {"address", fuzzAddress},
    {"json", fuzzJson},
    {"variant", fuzzVariant},
});

/// The target of this name; null when there is none.
constexpr const Target* findTarget(std::string_view name) {
  for (const Target& target : kTargets) {
    if (target.name == name) return &target;
  }
  return nullptr;
}
