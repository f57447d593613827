#include "terminal/history_walk.h"

#include <gtest/gtest.h>

namespace {

class Walk : public testing::Test {
 protected:
  static std::string shown(const std::string* text) { return text == nullptr ? "(nothing)" : *text; }
  std::string goBack(const std::string& typed = "") { return shown(walk_.goBack(typed)); }
  std::string goForth() { return shown(walk_.goForth()); }

  std::vector<std::string> entries_{"oldest", "middle", "newest"};
  HistoryWalk walk_{entries_};
};

TEST_F(Walk, GoesFromTheNewestToTheOldestAndStaysThere) {
  EXPECT_EQ(goBack(), "newest");
  EXPECT_EQ(goBack(), "middle");
  EXPECT_EQ(goBack(), "oldest");
  EXPECT_EQ(goBack(), "(nothing)");
  EXPECT_EQ(goForth(), "middle");
}

TEST_F(Walk, ComesBackToWhatWasTypedAndNoFurther) {
  goBack("typed");
  goBack("newest, changed");
  EXPECT_EQ(goForth(), "newest");
  EXPECT_EQ(goForth(), "typed");
  EXPECT_EQ(goForth(), "(nothing)");
}

TEST_F(Walk, KeepsWhatIsTypedEachTimeItBegins) {
  goBack("first");
  goForth();
  goBack("second");
  EXPECT_EQ(goForth(), "second");
}

TEST_F(Walk, BeginsAtTheNewestEntryWithAnotherLine) {
  goBack("first");
  goBack();
  entries_.emplace_back("asked");
  walk_.startAnew();
  EXPECT_EQ(goForth(), "(nothing)");
  EXPECT_EQ(goBack("second"), "asked");
  EXPECT_EQ(goForth(), "second");
}

TEST_F(Walk, LeadsNowhereWithoutEntries) {
  entries_.clear();
  EXPECT_EQ(goBack("typed"), "(nothing)");
  EXPECT_EQ(goForth(), "(nothing)");
}

}  // namespace
