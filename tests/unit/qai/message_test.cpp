#include "qai_message.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

class CountedSection final : public IQAIMessageSection {
 public:
  explicit CountedSection(int& destroyed) : destroyed_(destroyed) {}
  ~CountedSection() override { ++destroyed_; }
  std::uint32_t obtainType() const override { return 0; }
  std::string_view obtainText() const override { return "counted"; }

 private:
  int& destroyed_;
};

TEST(Message, StartsAsAnAssistantsWithoutTimeOrSections) {
  const QAIMessage message;
  EXPECT_EQ(message.obtainRole(), 1U);
  EXPECT_EQ(message.obtainCreatedTime(), 0);
  EXPECT_TRUE(message.obtainSections().empty());
  EXPECT_TRUE(message.unused.empty());
  EXPECT_EQ(message.firstText(), "");
}

TEST(Message, WhoseFirstSectionIsMissingHasNoText) {
  QAIMessage message;
  message.sections.push_back(nullptr);
  message.addText("second");
  EXPECT_EQ(message.firstText(), "");
}

TEST(Message, DestroysEachSectionOnceAndSkipsNull) {
  int destroyed = 0;
  {
    std::unique_ptr<IQAIObject> message;
    auto own = std::make_unique<QAIMessage>();
    for (int i = 0; i < 3; ++i) own->sections.push_back(new CountedSection(destroyed));
    own->sections.push_back(nullptr);
    message = std::move(own);
  }
  EXPECT_EQ(destroyed, 3);
}

TEST(Message, WithTextHasOneTextSection) {
  const QAIMessage message(0, "question");
  ASSERT_EQ(message.obtainSections().size(), 1U);
  EXPECT_EQ(message.obtainSections()[0]->obtainType(), 0U);
  EXPECT_EQ(message.obtainSections()[0]->obtainText(), "question");
  EXPECT_EQ(message.obtainRole(), 0U);
  EXPECT_EQ(message.obtainCreatedTime(), 0);
}

TEST(MessageTextSection, EmptyTextIsAViewOfLengthZero) {
  const QAIMessageTextSection section("");
  EXPECT_EQ(section.obtainText().size(), 0U);
}

TEST(MessageTextSection, TextMayHoldNul) {
  const QAIMessageTextSection section(std::string("with \0 inside", 13));
  EXPECT_EQ(section.obtainText(), std::string_view("with \0 inside", 13));
}

}  // namespace
