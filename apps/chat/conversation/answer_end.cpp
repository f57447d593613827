#include "conversation/answer_end.h"

#include <cf/text.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace {

constexpr const char* kTooLong = "it had reached the most tokens";
constexpr const char* kTooMuchAsked = "the question and what goes with it had reached the most tokens";
constexpr const char* kFiltered = "a filter of the service took offence";
constexpr const char* kNoTools = "the model called for a tool, and there is none";

struct EndReason {
  std::string_view word;  // the service's
  const char* meaning;    // nullptr: answers end so
};

// OpenAI's, DeepSeek's and Ollama's are in small letters, Gemini's in capitals.
constexpr std::array kReasons{
    EndReason{"", nullptr},
    EndReason{"stop", nullptr},
    EndReason{"STOP", nullptr},
    EndReason{"length", kTooLong},
    EndReason{"MAX_TOKENS", kTooLong},
    EndReason{"max_completion_tokens", kTooLong},
    EndReason{"max_prompt_tokens", kTooMuchAsked},
    EndReason{"content_filter", kFiltered},
    EndReason{"SAFETY", kFiltered},
    EndReason{"PROHIBITED_CONTENT", kFiltered},
    EndReason{"BLOCKLIST", kFiltered},
    EndReason{"SPII", "a filter of the service took it for personal data"},
    EndReason{"RECITATION", "it came too close to a text of someone's"},
    EndReason{"LANGUAGE", "the service does not know the language"},
    EndReason{"insufficient_system_resource", "the service had too much to do"},
    EndReason{"tool_calls", kNoTools},
    EndReason{"function_call", kNoTools},
    EndReason{"MALFORMED_FUNCTION_CALL", kNoTools},
    EndReason{"UNEXPECTED_TOOL_CALL", kNoTools},
};

/// "" for the usual end.
std::string explainReason(const std::string& word) {
  const auto* const reason = std::find_if(kReasons.begin(), kReasons.end(),
                                          [&word](const EndReason& candidate) { return candidate.word == word; });
  if (reason == kReasons.end()) return "the service's reason is " + word;
  return reason->meaning == nullptr ? "" : std::string(reason->meaning) + " (" + word + ")";
}

}  // namespace

std::string explainEnd(const Answer& answer) {
  const bool hasText = !cfTrimAsString(answer.text).empty();
  const std::string reason = explainReason(answer.finishReason);
  std::string sentence;
  if (!hasText) sentence = "The service sent no text";
  if (hasText && !reason.empty()) sentence = "The answer was cut";
  if (!reason.empty()) sentence += ": " + reason;
  if (!sentence.empty()) sentence += ".";
  if (!answer.refusal.empty()) sentence += (sentence.empty() ? "" : " ") + ("The model refused: " + answer.refusal);
  return sentence;
}
