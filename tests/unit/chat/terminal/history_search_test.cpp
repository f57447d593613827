#include "terminal/history_search.h"

#include <gtest/gtest.h>

namespace {

class Search : public testing::Test {
 protected:
  std::string found() const { return search_.found() == nullptr ? "" : *search_.found(); }
  void type(std::string_view letters) {
    for (const char letter : letters) search_.lengthen({&letter, 1});
  }

  std::vector<std::string> entries_{"older total", "total", "中文 count", "other"};
  HistorySearch search_{entries_};
};

TEST_F(Search, FindsNothingBeforeItHasAText) {
  EXPECT_EQ(search_.found(), nullptr);
  EXPECT_EQ(search_.describe(), "(search) '': ");
}

TEST_F(Search, FindsTheNewestAndThenOlderOnes) {
  type("tot");
  EXPECT_EQ(found(), "total");
  search_.goOn();
  EXPECT_EQ(found(), "older total");
  EXPECT_EQ(search_.at(), 6U);
  search_.goOn();
  EXPECT_EQ(found(), "older total");
  EXPECT_EQ(search_.describe(), "(no more) 'tot': ");
}

TEST_F(Search, StaysAtAnEntryThatFitsALongerText) {
  type("ot");
  EXPECT_EQ(found(), "other");
  type("a");
  EXPECT_EQ(found(), "total");
}

TEST_F(Search, TakesWholeCharacters) {
  search_.lengthen("中");
  search_.lengthen("x");
  EXPECT_EQ(search_.describe(), "(no more) '中x': ");
  search_.shorten();
  EXPECT_EQ(found(), "中文 count");
  EXPECT_EQ(search_.describe(), "(search) '中': ");
  search_.shorten();
  search_.shorten();
  EXPECT_EQ(search_.describe(), "(search) '': ");
}

}  // namespace
