#include "terminal/history.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FakeStore : public HistoryStore {
 public:
  std::vector<std::string> load() override { return kept; }
  std::string append(const std::string& entry) override {
    ++attempts;
    if (error.empty()) kept.push_back(entry);
    return error;
  }

  std::vector<std::string> kept;
  std::string error;
  int attempts = 0;
};

class Questions : public testing::Test {
 protected:
  QuestionHistory history(std::vector<std::string> secrets = {}) {
    return {store_, std::move(secrets), [this](const std::string& sentence) { complaints_.push_back(sentence); }};
  }

  FakeStore store_;
  std::vector<std::string> complaints_;
};

TEST_F(Questions, OfEarlierRunsComeFirst) {
  store_.kept = {"old"};
  QuestionHistory asked = history();
  asked.add("new");
  EXPECT_THAT(asked.entries(), ElementsAre("old", "new"));
  EXPECT_THAT(store_.kept, ElementsAre("old", "new"));
}

TEST_F(Questions, ThatBeginWithABlankAreNotKept) {
  QuestionHistory asked = history();
  asked.add(" one");
  asked.add("\ttwo");
  asked.add("");
  EXPECT_THAT(asked.entries(), IsEmpty());
  EXPECT_THAT(store_.kept, IsEmpty());
}

TEST_F(Questions, AreKeptOnceInARow) {
  QuestionHistory asked = history();
  for (const char* const text : {"a", "a", "b", "a"}) asked.add(text);
  EXPECT_THAT(asked.entries(), ElementsAre("a", "b", "a"));
}

TEST_F(Questions, ThatHoldAKeyAreNotStored) {
  QuestionHistory asked = history({"", "sk-0123456789abcdef"});
  asked.add("is sk-0123456789abcdef mine?");
  asked.add("is sk%2D0123456789abcdef mine?");
  EXPECT_THAT(store_.kept, IsEmpty());
  EXPECT_TRUE(complaints_.empty());
}

TEST_F(Questions, ThatCannotBeStoredAreToldOfOnce) {
  store_.error = "no room";
  QuestionHistory asked = history();
  asked.add("a");
  asked.add("b");
  EXPECT_THAT(complaints_, ElementsAre("What you ask is not kept for later: no room"));
  EXPECT_EQ(store_.attempts, 1);
  EXPECT_THAT(asked.entries(), ElementsAre("a", "b"));
}

TEST_F(Questions, AreKeptAsATerminalMayShowThem) {
  QuestionHistory asked = history();
  asked.add("a\x1b[2Jb");
  EXPECT_THAT(asked.entries(), ElementsAre("a\uFFFD[2Jb"));
}

TEST(Entries, OfAnyFormComeBackFromAFile) {
  const std::vector<std::string> entries{"one", "two\nlines\n\n", "back\\slash\\n", "\\", "中"};
  EXPECT_EQ(readEntries(writeEntries(entries)), entries);
}

TEST(Entries, OfAForeignFileAreMadeSafe) {
  EXPECT_THAT(readEntries("a\x1b\n\n\xff\nlast\\"), ElementsAre("a\uFFFD", "\uFFFD", "last\\"));
}

TEST(Entries, AreBoundInNumber) {
  const std::vector<std::string> kept = withEntry(std::vector<std::string>(kMostEntries, "old"), "new");
  EXPECT_EQ(kept.size(), kMostEntries);
  EXPECT_EQ(kept.back(), "new");
}

TEST(Entries, AreBoundInSize) {
  const std::string half(kMostHistoryBytes / 2, 'x');
  EXPECT_EQ(withEntry({half, "a"}, half + "y").size(), 2U);
  EXPECT_EQ(withEntry({half, "a"}, half + "y").front(), "a");
  EXPECT_TRUE(withEntry({"a"}, std::string(kMostHistoryBytes, 'x')).empty()) << "nothing of what is larger";
}

TEST(Entries, AreKeptOnceInARow) { EXPECT_THAT(withEntry({"a", "b"}, "b"), ElementsAre("a", "b")); }

}  // namespace
