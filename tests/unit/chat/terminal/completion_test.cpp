#include "terminal/completion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const Words& words() {
  static const Words all{.commands = {"/cost", "/provider", "/provider", "/quit"},
                         .arguments = {{"/provider", {"openai", "ollama"}}},
                         .names = {"customers", "Customer_id", "order lines", "straße", "strafe", "bad\x1b[2J"}};
  return all;
}

struct WordCase {
  const char* name;
  std::string text;
  std::size_t wordSize;
  std::string replacement;
};
class CompletionOf : public testing::TestWithParam<WordCase> {};

TEST_P(CompletionOf, TheWordBeforeTheCursor) {
  const Completion completion = complete(GetParam().text, words());
  EXPECT_EQ(completion.wordSize, GetParam().wordSize);
  EXPECT_EQ(completion.replacement, GetParam().replacement);
}

INSTANTIATE_TEST_SUITE_P(Words, CompletionOf,
                         testing::Values(WordCase{"command", "/p", 2, "/provider"},
                                         WordCase{"commands_argument", "/provider op", 2, "openai"},
                                         WordCase{"no_second_argument", "/provider openai o", 1, "order lines"},
                                         WordCase{"name_in_either_case", "how many CUST", 4, "Customer"},
                                         WordCase{"name_with_a_blank", "of ord", 3, "order lines"},
                                         WordCase{"whole_characters_alone", "str", 3, "stra"},
                                         WordCase{"letters_beyond_ascii", "straß", 6, "straße"},
                                         WordCase{"behind_a_quote", "\"cust", 4, "Customer"},
                                         WordCase{"unknown_word", "xyz", 3, "xyz"}, WordCase{"no_word", "how ", 0, ""},
                                         WordCase{"nothing", "", 0, ""}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Completion, HasEachCandidateOnceAndInOrder) {
  EXPECT_THAT(complete("/", words()).candidates, ElementsAre("/cost", "/provider", "/quit"));
}

TEST(Completion, LeavesOutWhatATerminalWouldObey) { EXPECT_THAT(complete("ba", words()).candidates, IsEmpty()); }

TEST(Completion, IsListedInColumnsFromTopToBottom) {
  EXPECT_EQ(listCandidates({"a", "bb", "中", "d", "e"}, 9), "a   d\nbb  e\n中\n");
  EXPECT_EQ(listCandidates({"longer than the screen", "b"}, 10), "longer than the screen\nb\n");
}

TEST(Completion, OfVeryManyIsListedInPart) {
  EXPECT_THAT(listCandidates(std::vector<std::string>(1000, "x"), 80), HasSubstr("\nand 940 more\n"));
}

}  // namespace
