#include "rules.h"

#include "query.h"
#include "shop.h"
#include "words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using standin::answerQuestion;
using standin::Turn;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr std::string_view kTwoSchemas =
    "CREATE TABLE `a`.`Item` (`Id` INTEGER, `Name` TEXT, PRIMARY KEY(`Id`))\n"
    "CREATE TABLE `b`.`Item` (`Id` INTEGER, `user` TEXT, `ItemId` INTEGER, "
    "FOREIGN KEY(`ItemId`) REFERENCES `a`.`Item`(`Id`))\n"
    "CREATE MATERIALIZED VIEW `b`.`sums` (`quantity` INTEGER)\n";

struct AnswerCase {
  const char* name;
  std::string_view instructions;
  std::string question;
  std::vector<std::string> fragments;
};
class Answer : public testing::TestWithParam<AnswerCase> {};

TEST_P(Answer, HoldsWhatIsExpected) {
  const std::string answer = answerQuestion(GetParam().instructions, {}, GetParam().question);
  for (const std::string& fragment : GetParam().fragments) EXPECT_THAT(answer, HasSubstr(fragment));
}

INSTANTIATE_TEST_SUITE_P(
    Questions, Answer,
    testing::Values(
        AnswerCase{"says_what_it_rests_on",
                   kShopInstructions,
                   "how many orders",
                   {"From the schema in the instructions (5 tables, 1 view):"}},
        AnswerCase{"lists_tables",
                   kShopInstructions,
                   "Which tables are there?",
                   {"Tables: main.customers, main.orders, main.products, main.order_lines", "Views: main.open_orders"}},
        AnswerCase{"lists_materialized_views",
                   kTwoSchemas,
                   "list the views",
                   {"(2 tables, 1 materialized view)", "Tables: a.\"Item\", b.\"Item\"", "Materialized views: b.sums"}},
        AnswerCase{"describes_a_table",
                   kShopInstructions,
                   "Describe the order lines, please",
                   {"The table main.order_lines has 4 columns:",
                    "- order_id INTEGER, part of the primary key, refers to orders(id)\n", "- quantity INTEGER\n",
                    "- unit_price DECIMAL(10,2)\n", "referred to by main.shipments(order_id, product_id)"}},
        AnswerCase{
            "describes_a_view", kShopInstructions, "tell me about OpenOrders", {"The view main.open_orders has 2"}},
        AnswerCase{"tells_columns",
                   kShopInstructions,
                   "which columns does a customer have?",
                   {"- id INTEGER, primary key\n- name TEXT\n"}},
        AnswerCase{
            "writes_schema_and_quotes",
            kTwoSchemas,
            "b.item with their a.item",
            {"SELECT b.\"Item\".\"Id\", b.\"Item\".\"user\", b.\"Item\".\"ItemId\", a.\"Item\".\"Name\" AS "
             "\"Item_Name\"\nFROM b.\"Item\"\nLEFT JOIN a.\"Item\" ON b.\"Item\".\"ItemId\" = a.\"Item\".\"Id\";"}},
        AnswerCase{"tells_the_schema_by_its_name", kTwoSchemas, "how many items in b.item", {"FROM a.\"Item\""}},
        AnswerCase{"picks_the_named_schema", kTwoSchemas, "how many b.items", {"FROM b.\"Item\";"}},
        AnswerCase{"names_what_it_left_out",
                   kShopInstructions,
                   "how many customers from Berlin in 2024",
                   {"COUNT(*)", "I made no use of \"berlin\", \"2024\""}},
        AnswerCase{"tells_what_it_cannot_group",
                   kShopInstructions,
                   "revenue per month",
                   {"can't group the rows of main.order_lines by \"month\""}},
        AnswerCase{"counts_no_row_twice", kShopInstructions, "average price per order", {"can't group"}},
        AnswerCase{"tells_what_it_cannot_join",
                   kShopInstructions,
                   "products with open orders",
                   {"No foreign keys join main.products and main.open_orders"}},
        AnswerCase{"asks_by_what_to_rank",
                   kShopInstructions,
                   "the largest order line",
                   {"can't tell by what", "quantity, unit_price"}},
        AnswerCase{"a_column_is_no_rank_word",
                   "CREATE TABLE `people` (`first_name` TEXT)\n",
                   "number of people per first name",
                   {"SELECT first_name, COUNT(*) AS people_count"}},
        AnswerCase{"tells_its_limits",
                   kShopInstructions,
                   "Hello!",
                   {"None of my rules fits", "without a language model", "joined along their keys",
                    "Of this schema I understand"}},
        AnswerCase{"says_that_no_schema_came", "Be brief.", "how many customers?", {"No schema came with the"}},
        AnswerCase{"stands_an_empty_question", kShopInstructions, "", {"None of my rules fits"}},
        AnswerCase{"stands_odd_names", "CREATE TABLE `%%` (`` INT)\n", "describe %% 5", {"None of my rules fits"}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Answers, AreTheSameEachTime) {
  const std::string question = "total quantity per product";
  EXPECT_EQ(answerQuestion(kShopInstructions, {}, question), answerQuestion(kShopInstructions, {}, question));
}

TEST(Answers, ListNoWordOfAQuestionThatWasUsedWhole) {
  EXPECT_THAT(answerQuestion(kShopInstructions, {}, "What is the total quantity per product?"),
              Not(HasSubstr("no use")));
}

const std::vector<Turn> kHistory{
    {true, "Which tables?"}, {false, "Five."}, {true, "And the \"views\"?"}, {false, "One."}};

struct HistoryCase {
  const char* name;
  std::vector<Turn> history;
  std::string question;
  std::string fragment;
};
class HistoryAnswer : public testing::TestWithParam<HistoryCase> {};

TEST_P(HistoryAnswer, ShowsThatTheHistoryArrived) {
  EXPECT_THAT(answerQuestion(kShopInstructions, GetParam().history, GetParam().question),
              HasSubstr(GetParam().fragment));
}

INSTANTIATE_TEST_SUITE_P(
    Questions, HistoryAnswer,
    testing::Values(HistoryCase{"quotes_the_last_question", kHistory, "What did I ask before?",
                                "you asked before: \"And the \"views\"?\""},
                    HistoryCase{"previous_question", kHistory, "repeat the previous question", "And the \"views\"?"},
                    HistoryCase{"counts_questions", kHistory, "How many questions did I ask?", "2 questions before"},
                    HistoryCase{"counts_one", {{true, "x"}}, "how many questions have I asked", "1 question before"},
                    HistoryCase{"quotes_the_last_answer", kHistory, "What did you answer?", "\"One.\""},
                    HistoryCase{"no_question_yet", {}, "what did I ask", "No earlier question came"},
                    HistoryCase{"no_answer_yet", {}, "what did you say", "No earlier answer came"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Words, AreSplitAlikeInNamesAndTexts) {
  EXPECT_THAT(standin::splitWords("OrderDate order_date  \"Straße\"-2x"),
              ElementsAre("order", "date", "order", "date", "straße", "2x"));
}

TEST(Words, AreTheSameInThePlural) {
  EXPECT_TRUE(standin::sameWord("categories", "category"));
  EXPECT_TRUE(standin::sameWord("box", "boxes"));
  EXPECT_TRUE(standin::sameWord("orders", "order"));
  EXPECT_FALSE(standin::sameWord("order", "ordered"));
  EXPECT_FALSE(standin::sameWord("", "y"));
}

struct NameCase {
  const char* name;
  std::string given;
  std::string written;
};
class SqlName : public testing::TestWithParam<NameCase> {};

TEST_P(SqlName, IsQuotedWhereNeeded) { EXPECT_EQ(standin::quoteName(GetParam().given), GetParam().written); }

INSTANTIATE_TEST_SUITE_P(Names, SqlName,
                         testing::Values(NameCase{"plain", "order_2", "order_2"},
                                         NameCase{"keyword", "order", "\"order\""}, NameCase{"capital", "Id", "\"Id\""},
                                         NameCase{"digit_first", "2x", "\"2x\""}, NameCase{"space", "a b", "\"a b\""},
                                         NameCase{"quote", "a\"b", "\"a\"\"b\""},
                                         NameCase{"beyond_ascii", "größe", "\"größe\""}, NameCase{"empty", "", "\"\""}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
