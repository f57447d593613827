// The statements that the rules propose, run by SQLite.
#include "rules.h"
#include "shop.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>

namespace {

class Database {
 public:
  Database() {
    sqlite3* opened = nullptr;
    EXPECT_EQ(sqlite3_open(":memory:", &opened), SQLITE_OK);
    database_.reset(opened);
    run(kShopDatabase);
  }

  /// The rows, their values joined by ',' and each ended by ';'. What fails is told instead.
  std::string run(const std::string& sql) {
    std::string rows;
    const auto append = [](void* text, int count, char** values, char**) {
      auto& out = *static_cast<std::string*>(text);
      for (int i = 0; i < count; ++i) out += std::string(i == 0 ? "" : ",") + (values[i] == nullptr ? "" : values[i]);
      out += ";";
      return 0;
    };
    if (sqlite3_exec(database_.get(), sql.c_str(), append, &rows, nullptr) == SQLITE_OK) return rows;
    return std::string(sqlite3_errmsg(database_.get())) + " in " + sql;
  }

 private:
  std::unique_ptr<sqlite3, int (*)(sqlite3*)> database_{nullptr, sqlite3_close};
};

std::string statementIn(const std::string& answer) {
  const std::string opening = "```sql\n";
  const std::size_t begin = answer.find(opening);
  if (begin == std::string::npos) return "no statement: " + answer;
  return answer.substr(begin + opening.size(), answer.find("```", begin + opening.size()) - begin - opening.size());
}

struct SqlCase {
  const char* name;
  std::string question;
  std::string rows;
};
class ProposedSql : public testing::TestWithParam<SqlCase> {};

TEST_P(ProposedSql, GivesTheRowsAskedFor) {
  const std::string answer = standin::answerQuestion(kShopInstructions, {}, GetParam().question);
  EXPECT_EQ(Database().run(statementIn(answer)), GetParam().rows) << answer;
}

INSTANTIATE_TEST_SUITE_P(
    Questions, ProposedSql,
    testing::Values(
        SqlCase{"count", "How many customers are there?", "3;"},
        SqlCase{"count_of_a_view", "number of open orders", "2;"},
        SqlCase{"count_per_table", "How many orders per customer?", "1,Ada,2;2,Blaise,1;"},
        SqlCase{"count_per_column", "number of customers in each country", "UK,2;FR,1;"},
        SqlCase{"latest", "the latest 2 orders", "11,1,2024-03-01,done;12,2,2024-02-01,open;"},
        SqlCase{"oldest_one", "Show me the oldest order", "10,1,2024-01-05,open;"},
        SqlCase{"top_by_own_column", "top two products by price", "102,Lamp,light,40;101,Ink,paper,5;"},
        SqlCase{"top_by_column_elsewhere", "top 2 products by quantity", "100,Pen,14;101,Ink,3;"},
        SqlCase{"top_by_revenue", "top 1 customers by revenue", "1,Ada,75;"},
        SqlCase{"most", "Which customer has the most orders?", "1,Ada,2;"},
        SqlCase{"fewest", "Which customer has the fewest orders?", "2,Blaise,1;"},
        SqlCase{"cheapest", "the cheapest product", "100,Pen,paper,2;"},
        SqlCase{"largest_by_the_only_number", "the largest shipment", "10,102,3.0;"},
        SqlCase{"total_per_table", "What is the total quantity per product?", "100,Pen,14;101,Ink,3;102,Lamp,1;"},
        SqlCase{"total", "total quantity", "18;"},
        SqlCase{"average_by_column", "average price by category", "light,40.0;paper,3.5;"},
        SqlCase{"average_by_column_elsewhere", "total quantity by category", "paper,17;light,1;"},
        SqlCase{"average_of_two_words", "average unit price", "12.25;"}, SqlCase{"maximum", "maximum price", "40;"},
        SqlCase{"revenue_two_steps_away", "revenue per customer", "1,Ada,75;2,Blaise,8;"},
        SqlCase{"quoted_column", "total weight kg per order", "10,3.5;12,0.25;"},
        SqlCase{"two_column_key", "shipments with their order lines", "10,100,0.5,10;10,102,3.0,10;12,100,0.25,12;"},
        SqlCase{"join", "orders with their customers",
                "10,1,2024-01-05,open,Ada;11,1,2024-03-01,done,Ada;12,2,2024-02-01,open,Blaise;"},
        SqlCase{"join_keeps_all_rows", "customers and their orders",
                "1,Ada,UK,10;1,Ada,UK,11;2,Blaise,FR,12;3,Carl,UK,;"},
        SqlCase{"all_rows", "list all open orders", "10,2024-01-05;12,2024-02-01;"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
