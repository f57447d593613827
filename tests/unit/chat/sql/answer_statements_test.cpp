#include "sql/answer_statements.h"

#include <gtest/gtest.h>

namespace {

struct AnswerCase {
  const char* name;
  std::string answer;
  std::vector<std::string> statements;
};
class AnswerText : public testing::TestWithParam<AnswerCase> {};

TEST_P(AnswerText, ShowsItsStatements) { EXPECT_EQ(findStatements(GetParam().answer), GetParam().statements); }

const std::vector<std::string> kOne{"SELECT 1;"};
const std::vector<std::string> kNone;

INSTANTIATE_TEST_SUITE_P(
    Fences, AnswerText,
    testing::Values(
        AnswerCase{"no_fence", "SELECT 1;", kNone}, AnswerCase{"plain", "So:\n```sql\nSELECT 1;\n```\nThere.", kOne},
        AnswerCase{"capitals", "```SQL\nSELECT 1;\n```", kOne},
        AnswerCase{"dialect", "``` sqlite3\nSELECT 1;\n```", kOne},
        AnswerCase{"attributes", "```sql title=\"a.sql\"\nSELECT 1;\n```", kOne},
        AnswerCase{"braces", "```{.sql .numbered}\nSELECT 1;\n```", kOne},
        AnswerCase{"colon", "```sql:a.sql\nSELECT 1;\n```", kOne}, AnswerCase{"tildes", "~~~sql\nSELECT 1;\n~~~", kOne},
        AnswerCase{"longer_fence", "`````sql\nSELECT '\n```\n';\n`````", {"SELECT '\n```\n';"}},
        AnswerCase{"longer_end", "```sql\nSELECT 1;\n`````\nx", kOne},
        AnswerCase{"other_mark_does_not_close", "```sql\nSELECT '\n~~~\n';\n```", {"SELECT '\n~~~\n';"}},
        AnswerCase{"text_behind_the_mark_does_not_close", "```sql\nSELECT '\n``` x\n';\n```", {"SELECT '\n``` x\n';"}},
        AnswerCase{"unclosed", "```sql\nSELECT 1;\n", kOne},
        AnswerCase{"unclosed_without_newline", "```sql\nSELECT 1;", kOne}, AnswerCase{"opening_alone", "```sql", kNone},
        AnswerCase{"empty", "```sql\n```", kNone},
        AnswerCase{"line_ends_of_windows", "```sql\r\nSELECT 1;\r\n```\r\nx", kOne},
        AnswerCase{"indented_by_three", "   ```sql\n   SELECT 1\n     + 2;\n   ```", {"SELECT 1\n  + 2;"}},
        AnswerCase{"indented_by_four_is_no_fence", "    ```sql\n    SELECT 1;\n    ```", kNone},
        AnswerCase{"tab_is_no_fence", "\t```sql\nSELECT 1;", kNone},
        AnswerCase{"in_a_list_item", "- So:\n\n  ```sql\n  SELECT 1;\n  ```\n", kOne},
        AnswerCase{"in_a_numbered_item", "10. So:\n    ```sql\n    SELECT 1;\n    ```\n", kOne},
        AnswerCase{"on_the_item's_line",
                   "1. ```sql\n   SELECT 1;\n   ```\n2. ```sql\n   SELECT 2;\n   ```",
                   {"SELECT 1;", "SELECT 2;"}},
        AnswerCase{"in_an_item_of_an_item", "* a\n  * b\n\n      ```sql\n      SELECT 1;\n      ```", kOne},
        AnswerCase{"behind_a_list", "- a\n\nb\n\n    ```sql\n    SELECT 1;\n    ```", kNone},
        AnswerCase{"less_indented_inside_an_item", "- a\n\n  ```sql\nSELECT 1;\n```\nb", kOne},
        AnswerCase{"inline_code", "```sql SELECT 1;```\nx", kNone},
        AnswerCase{"other_languages", "```python\nSELECT 1;\n```\n```text\nSELECT 2;\n```", kNone},
        AnswerCase{"opening_inside_another", "```text\n```sql\nSELECT 1;\n```", kNone},
        AnswerCase{"several",
                   "```sql\nSELECT 1; SELECT 2;\n```\nor\n```sh\nls\n```\n```sql\nSELECT 3\n```",
                   {"SELECT 1;", "SELECT 2;", "SELECT 3"}},
        AnswerCase{"shell_commands", "```sql\n.mode box\nSELECT 1;\n```", kOne}),
    [](auto row) {
      std::string name = row.param.name;
      name.erase(std::remove(name.begin(), name.end(), '\''), name.end());
      return name;
    });

class NamelessFence : public testing::TestWithParam<AnswerCase> {};

TEST_P(NamelessFence, CountsWhereItBeginsAsSqlDoes) {
  EXPECT_EQ(findStatements("```\n" + GetParam().answer + "\n```"), GetParam().statements);
}

INSTANTIATE_TEST_SUITE_P(Texts, NamelessFence,
                         testing::Values(AnswerCase{"select", "select 1;", {"select 1;"}},
                                         AnswerCase{"with",
                                                    "WITH a AS (SELECT 1) SELECT * FROM a",
                                                    {"WITH a AS (SELECT 1) SELECT * FROM a"}},
                                         AnswerCase{"comment_first", "-- one\nSELECT 1;", {"-- one\nSELECT 1;"}},
                                         AnswerCase{"parenthesis_first", "(SELECT 1)", {"(SELECT 1)"}},
                                         AnswerCase{"update", "UPDATE a SET b = 1", {"UPDATE a SET b = 1"}},
                                         AnswerCase{"prose", "With great care, the table is read.", kNone},
                                         AnswerCase{"update_of_something_else", "update the page", kNone},
                                         AnswerCase{"rows", "id | name\n1 | Ada", kNone},
                                         AnswerCase{"shell", "$ sqlite3 shop.db", kNone},
                                         AnswerCase{"nothing", "", kNone}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(AnswerText, IsReadOnceHoweverLongItIs) {
  constexpr std::size_t kTimes = 100000;
  for (const std::string piece : {"```\n", "- ", "- a\n", "  - a\n ", "~~~sql\n'\n", "`", "> ", "\t", "1. ```sql\n"}) {
    std::string text;
    for (std::size_t i = 0; i < kTimes; ++i) text += piece;
    EXPECT_LE(findStatements(text).size(), text.size()) << piece;
  }
}

}  // namespace
