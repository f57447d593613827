#include "qai_message.h"

#include <memory>

QAIMessage::QAIMessage(std::uint32_t messageRole, std::string&& text) : role(messageRole), sections(1) {
  sections.front() = new QAIMessageTextSection(std::move(text));  // the destructor frees it
}

QAIMessage::~QAIMessage() {
  for (const IQAIMessageSection* section : sections) delete section;
}

void QAIMessage::addText(std::string text) {
  auto section = std::make_unique<QAIMessageTextSection>(std::move(text));
  sections.push_back(section.get());
  static_cast<void>(section.release());  // the destructor frees it
}

std::string_view QAIMessage::firstText() const {
  return sections.empty() || sections.front() == nullptr ? std::string_view() : sections.front()->obtainText();
}
