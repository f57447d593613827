// The questions that the stand-in names when it does not understand one.
#include "suggestions.h"

#include "rules.h"
#include "shop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using standin::answerQuestion;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr std::string_view kOpening = "Of this schema I understand, for example:\n";

/// The questions that `answer` names.
std::vector<std::string> questionsIn(const std::string& answer) {
  const std::size_t begin = answer.find(kOpening);
  std::vector<std::string> questions;
  if (begin == std::string::npos) return questions;
  std::istringstream lines(answer.substr(begin + kOpening.size()));
  for (std::string line; std::getline(lines, line);) questions.push_back(line.substr(2));
  return questions;
}

struct SchemaCase {
  const char* name;
  std::string instructions;
  bool isSaid = true;  // it has names that can be said
};
class Suggested : public testing::TestWithParam<SchemaCase> {};

TEST_P(Suggested, QuestionsAreThreeThatAreUnderstoodWhenTheyAreAsked) {
  const std::string& instructions = GetParam().instructions;
  const std::vector<std::string> questions = questionsIn(answerQuestion(instructions, {}, "Hello!"));
  EXPECT_EQ(std::set<std::string>(questions.begin(), questions.end()).size(), 3U);
  bool hasStatement = false;
  for (const std::string& question : questions) {
    const std::string answer = answerQuestion(instructions, {}, question);
    EXPECT_THAT(answer, HasSubstr("From the schema in the instructions")) << question;
    for (const char* complaint : {"None of my rules", "I can't", "No foreign keys", "no use of", "I understand"}) {
      EXPECT_THAT(answer, Not(HasSubstr(complaint))) << question;
    }
    hasStatement = hasStatement || answer.find("```sql\nSELECT ") != std::string::npos;
  }
  EXPECT_EQ(hasStatement, GetParam().isSaid);
}

std::string manyTables() {
  std::string text;
  for (int i = 0; i < 300; ++i) {
    const std::string number = std::to_string(i);
    text += "CREATE TABLE `t" + number + "` (`id` INTEGER, `x` INTEGER, `p` INTEGER, FOREIGN KEY(`p`) REFERENCES `t" +
            std::to_string(i / 2) + "`(`id`))\n";
  }
  return text;
}

INSTANTIATE_TEST_SUITE_P(
    Schemas, Suggested,
    testing::Values(
        SchemaCase{"shop", std::string(kShopInstructions)},
        SchemaCase{"one_name_in_two_schemas",
                   "CREATE TABLE `a`.`Item` (`Id` INTEGER, `Name` TEXT, PRIMARY KEY(`Id`))\n"
                   "CREATE TABLE `b`.`Item` (`Id` INTEGER, `user` TEXT, `ItemId` INTEGER, `size` REAL, "
                   "FOREIGN KEY(`ItemId`) REFERENCES `a`.`Item`(`Id`))\n"
                   "CREATE MATERIALIZED VIEW `b`.`sums` (`quantity` INTEGER)\n"},
        SchemaCase{"one_view", "CREATE VIEW `v` (`a` TEXT)\n"}, SchemaCase{"no_columns", "CREATE TABLE `t` ()\n"},
        SchemaCase{"names_that_are_words_of_the_rules",
                   "CREATE TABLE `top` (`count` INTEGER, `per` INTEGER, `first_name` TEXT, PRIMARY KEY(`count`))\n"
                   "CREATE TABLE `list` (`total` INTEGER, `by` INTEGER, `top` INTEGER, "
                   "FOREIGN KEY(`top`) REFERENCES `top`(`count`))\n"},
        SchemaCase{"names_that_are_words_about_the_conversation",
                   "CREATE TABLE `my questions` (`id` INTEGER, `asked_at` TEXT, `answer` TEXT)\n"
                   "CREATE TABLE `i` (`asked` INTEGER)\n"},
        SchemaCase{"names_that_tables_go_by", "CREATE TABLE `tables` (`views` INTEGER, `schema` TEXT)\n"},
        SchemaCase{"camel_case",
                   "CREATE TABLE `OrderLine` (`OrderLineId` INTEGER, `UnitPrice` DECIMAL(10,2), `OrderId` INTEGER, "
                   "PRIMARY KEY(`OrderLineId`), FOREIGN KEY(`OrderId`) REFERENCES `CustomerOrder`(`OrderId`))\n"
                   "CREATE TABLE `CustomerOrder` (`OrderId` INTEGER, `OrderedOn` DATE, PRIMARY KEY(`OrderId`))\n"},
        SchemaCase{"refers_to_itself",
                   "CREATE TABLE `people` (`id` INTEGER, `height` REAL, `parent` INTEGER, PRIMARY KEY(`id`), "
                   "FOREIGN KEY(`parent`) REFERENCES `people`(`id`))\n"},
        SchemaCase{"refers_to_what_is_not_there",
                   "CREATE TABLE `a` (`b` INTEGER, `c` INTEGER, FOREIGN KEY(`b`) REFERENCES `gone`(`id`))\n"},
        SchemaCase{"english_plurals",
                   "CREATE TABLE `addresses` (`id` INTEGER, `name` TEXT, PRIMARY KEY(`id`))\n"
                   "CREATE TABLE `deliveries` (`address` INTEGER, `units` INTEGER, "
                   "FOREIGN KEY(`address`) REFERENCES `addresses`(`id`))\n"},
        SchemaCase{"beyond_ascii", "CREATE TABLE `größe` (`höhe` REAL, `日付` DATE)\n"},
        SchemaCase{"catalogs", "USE CATALOG `c`\nCREATE TABLE `s`.`t` (`a` INTEGER)\n"},
        SchemaCase{"no_words", "CREATE TABLE `%%` (`` INT)\n", false}, SchemaCase{"many_tables", manyTables()}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Suggested, QuestionsAreOfDifferentKinds) {
  EXPECT_THAT(questionsIn(answerQuestion(kShopInstructions, {}, "Hello!")),
              ElementsAre("Total quantity per order?", "Latest 5 orders?", "Top 3 products by price?"));
}

TEST(Suggested, QuestionsFollowAnAnswerThatCanNotBeGiven) {
  for (const char* question : {"revenue per month", "products with open orders", "the largest order line"}) {
    EXPECT_EQ(questionsIn(answerQuestion(kShopInstructions, {}, question)).size(), 3U) << question;
  }
}

TEST(Suggested, QuestionsAreNotNamedBehindAnAnswer) {
  for (const char* question : {"Which tables are there?", "How many orders?", "how many customers from Berlin"}) {
    EXPECT_THAT(questionsIn(answerQuestion(kShopInstructions, {}, question)), ElementsAre()) << question;
  }
}

TEST(Suggested, QuestionsAreTriedInALimitedNumber) {
  const standin::Schema schema = standin::readSchema(manyTables());
  int tries = 0;
  const auto refuse = [&](const standin::Suggestion&) {
    ++tries;
    return false;
  };
  EXPECT_THAT(standin::suggestQuestions(schema, refuse), ElementsAre());
  EXPECT_LT(tries, 100);
}

}  // namespace
