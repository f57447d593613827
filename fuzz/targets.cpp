#include "targets.h"

#include "target.h"

namespace {

Target turnTarget(const char* name, BodyForm form) {
  return {name, [form](std::string_view input) { fuzzTurn(form, input); }};
}

Target replyTarget(const char* name, BodyForm form) {
  return {name, [form](std::string_view input) { fuzzReplyStream(form, input); }};
}

Target sessionTarget(const char* name, bool isKept) {
  return {name, [isKept](std::string_view input) { fuzzSession(isKept, input); }};
}

}  // namespace

const std::vector<Target>& allTargets() {
  static const std::vector<Target> kTargets{turnTarget("turn_completions", BodyForm::Completions),
                                            turnTarget("turn_ollama", BodyForm::Ollama),
                                            turnTarget("turn_gemini", BodyForm::Gemini),
                                            turnTarget("turn_assistants", BodyForm::Assistants),
                                            {"failure", fuzzFailure},
                                            sessionTarget("session_chat", false),
                                            sessionTarget("session_assistants", true),
                                            {"structure", fuzzStructure},
                                            {"address", fuzzAddress},
                                            {"json", fuzzJson},
                                            {"variant", fuzzVariant},
                                            {"event_stream", fuzzEventStream},
                                            {"line_stream", fuzzLineStream},
                                            replyTarget("reply_completions", BodyForm::Completions),
                                            replyTarget("reply_ollama", BodyForm::Ollama),
                                            replyTarget("reply_gemini", BodyForm::Gemini),
                                            replyTarget("reply_assistants", BodyForm::Assistants)};
  return kTargets;
}
