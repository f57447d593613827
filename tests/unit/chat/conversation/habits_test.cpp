#include "conversation/habits.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

struct LineCase {
  const char* name;
  const char* line;
  LineKind kind;
  const char* text = "";  // of a command; a question is the line itself
};
void PrintTo(const LineCase& row, std::ostream* out) { *out << row.name; }

class Line : public testing::TestWithParam<LineCase> {};

TEST_P(Line, IsUnderstood) {
  const LineMeaning meaning = understand(GetParam().line);
  EXPECT_EQ(meaning.kind, GetParam().kind);
  if (meaning.kind == LineKind::Command) {
    EXPECT_EQ(meaning.text, GetParam().text);
  }
  if (meaning.kind == LineKind::Question) {
    EXPECT_EQ(meaning.text, GetParam().line);
  }
}

constexpr LineKind kQuestion = LineKind::Question;
constexpr LineKind kCommand = LineKind::Command;
constexpr LineKind kForeign = LineKind::Foreign;
constexpr LineKind kKeys = LineKind::Keys;

INSTANTIATE_TEST_SUITE_P(
    Habits, Line,
    testing::Values(
        LineCase{"a_command_of_its_own", "/provider gemini", kCommand, "/provider gemini"},
        LineCase{"exit", "exit", kCommand, "/quit"}, LineCase{"quit_with_its_end", "quit;", kCommand, "/quit"},
        LineCase{"exit_in_capitals", "EXIT", kCommand, "/quit"},
        LineCase{"exit_of_python", "exit()", kCommand, "/quit"}, LineCase{"psql_quit", "\\q", kCommand, "/quit"},
        LineCase{"sqlite_quit", ".quit", kCommand, "/quit"}, LineCase{"sqlite_exit", ".exit", kCommand, "/quit"},
        LineCase{"vi_quit", ":q", kCommand, "/quit"}, LineCase{"vi_quit_at_once", ":q!", kCommand, "/quit"},
        LineCase{"sqlite_tables", ".tables", kCommand, "/tables"}, LineCase{"psql_tables", "\\dt", kCommand, "/tables"},
        LineCase{"psql_all", "\\d", kCommand, "/tables"},
        LineCase{"psql_table", "\\d order lines", kCommand, "/tables order lines"},
        LineCase{"psql_table_with_more", "\\d+ orders;", kCommand, "/tables orders"},
        LineCase{"sqlite_schema", ".schema orders", kCommand, "/tables orders"},
        LineCase{"help", "help", kCommand, "/help"}, LineCase{"question_mark", "?", kCommand, "/help"},
        LineCase{"sqlite_help", ".help", kCommand, "/help"}, LineCase{"psql_help", "\\?", kCommand, "/help"},
        LineCase{"one_that_is_not_here", "\\timing on", kForeign},
        LineCase{"a_setting_of_sqlite", ".mode box", kForeign},
        LineCase{"a_pattern_of_names", ".tables ord%", kForeign}, LineCase{"vi_write", ":w", kForeign},
        LineCase{"a_lone_backslash", "\\", kForeign}, LineCase{"up", "\x1B[A", kKeys},
        LineCase{"up_in_application_mode", "\x1BOA", kKeys}, LineCase{"home", "\x1B[1~", kKeys},
        LineCase{"ctrl_left", "\x1B[1;5D", kKeys}, LineCase{"left_within_a_question", "How man\x1B[Dy?", kKeys},
        LineCase{"half_a_key", "\x1B[", kKeys}, LineCase{"f1", "\x1BOP", kKeys},
        LineCase{"a_colour_is_no_key", "\x1B[31mError\x1B[0m: why?", kQuestion},
        LineCase{"help_within_a_question", "help me with orders", kQuestion},
        LineCase{"exit_within_a_question", "exit codes per day?", kQuestion},
        LineCase{"a_number", ".5 of all orders?", kQuestion}, LineCase{"an_ellipsis", "... and by month?", kQuestion},
        LineCase{"a_product", ".NET customers?", kQuestion}, LineCase{"a_smile", ":) thanks, and by year?", kQuestion},
        LineCase{"a_colon_before_words", ":name is what in this query?", kQuestion},
        LineCase{"one_letter", "q", kQuestion}, LineCase{"statement", "SELECT 1;", kQuestion}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
