// SQL as words.
#include "databases/sql_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SqlText, IdentifiersAreFoundOutsideOfTextsAndComments) {
  EXPECT_THAT(listIdentifiers("SELECT a1, 'b', \"c \"\"d\", [e f], `g` -- h\n FROM/* i */t WHERE x$1 = 1e5 AND ü"),
              ElementsAre("select", "a1", "c \"d", "e f", "g", "from", "t", "where", "x$1", "and", "ü"));
}

TEST(SqlText, WhatIsNotClosedGoesToTheEnd) {
  EXPECT_THAT(listIdentifiers("'a"), IsEmpty());
  EXPECT_THAT(listIdentifiers("/* a"), IsEmpty());
  EXPECT_THAT(listIdentifiers("-- a"), IsEmpty());
  EXPECT_THAT(listIdentifiers("\"a"), ElementsAre("a"));
  EXPECT_THAT(listIdentifiers("["), ElementsAre(""));
  EXPECT_THAT(listIdentifiers("\"\"\""), ElementsAre("\""));
}

TEST(SqlText, WordsTellWhereTheyStand) {
  const std::vector<SqlWord> words = splitSql(" a ='b'");
  ASSERT_EQ(words.size(), 3U);
  EXPECT_EQ(words[2].kind, SqlWord::Kind::Text);
  EXPECT_EQ(words[2].begin, 4U);
  EXPECT_EQ(words[2].end, 7U);
}

TEST(SqlText, QuotedIdentifiersCanBeReadBack) {
  const std::string quoted = quoteIdentifier("a\"b c");
  EXPECT_EQ(quoted, "\"a\"\"b c\"");
  EXPECT_EQ(readIdentifier(quoted, splitSql(quoted).front()), "a\"b c");
}

}  // namespace
