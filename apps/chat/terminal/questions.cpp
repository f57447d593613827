#include "terminal/questions.h"

#include <cf/text.h>

#include <string_view>

std::optional<std::string> Questions::read() {
  constexpr std::string_view kMark = kBlockMark;
  for (;;) {
    const TypedLine line = editor_.readLine(kPrompt);
    if (line.kind == TypedLine::Kind::End) return std::nullopt;
    const std::string text = cfTrimAsString(line.text);
    if (text.empty()) continue;  // a dropped one, too
    if (!text.starts_with(kMark)) {
      history_.add(line.text);
      return text;
    }
    const std::optional<std::string> block = readBlock(text.substr(kMark.size()));
    if (!block) continue;
    const std::string question = cfTrimAsString(*block);
    if (question.empty()) continue;
    history_.add(question);
    return question;
  }
}

std::optional<std::string> Questions::readBlock(std::string text) {
  constexpr std::string_view kMark = kBlockMark;
  for (;;) {
    const std::string trimmed = cfTrimAsString(text);
    if (trimmed.ends_with(kMark)) return trimmed.substr(0, trimmed.size() - kMark.size());
    const TypedLine line = editor_.readLine(kBlockPrompt);
    if (line.kind != TypedLine::Kind::Text) return std::nullopt;
    text += '\n' + line.text;
  }
}
