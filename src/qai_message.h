// Messages: what addMessage hands to the host, and how sessions keep past turns.
#pragma once

#include <qai.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

enum class QAIMessageRole : std::uint32_t { User = 0, Assistant = 1 };
enum class QAIMessageSectionType : std::uint32_t { Text = 0 };

class QAIMessageTextSection final : public IQAIMessageSection {
 public:
  explicit QAIMessageTextSection(std::string&& text) noexcept : text_(std::move(text)) {}
  std::uint32_t obtainType() const override { return static_cast<std::uint32_t>(QAIMessageSectionType::Text); }
  std::string_view obtainText() const override { return text_; }

 private:
  std::string text_;
};

class QAIMessage : public IQAIMessage {
 public:
  QAIMessage() = default;
  /// A message with one text section; `role` is taken as it is, known or not.
  QAIMessage(std::uint32_t role, std::string&& text);
  ~QAIMessage() override;
  QAIMessage(const QAIMessage&) = delete;
  QAIMessage& operator=(const QAIMessage&) = delete;

  std::int64_t obtainCreatedTime() const override { return createdTime; }
  std::uint32_t obtainRole() const override { return role; }
  const std::vector<IQAIMessageSection*>& obtainSections() const override { return sections; }

  bool isByAssistant() const { return role == static_cast<std::uint32_t>(QAIMessageRole::Assistant); }

  void addText(std::string text);

  /// The text of the first section; "" when there is none.
  std::string_view firstText() const;

  std::string unused;  // part of the record, never filled
  std::int64_t createdTime = 0;
  std::uint32_t role = static_cast<std::uint32_t>(QAIMessageRole::Assistant);
  std::vector<IQAIMessageSection*> sections;  // owned, freed by the destructor; raw because the interface shows them so
};
