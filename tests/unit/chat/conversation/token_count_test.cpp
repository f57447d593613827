#include "conversation/token_count.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

struct CountCase {
  const char* name;
  std::vector<Tokens> answers;
  const char* told;
};

class CountOfTokens : public testing::TestWithParam<CountCase> {};

TEST_P(CountOfTokens, IsToldAsFarAsItIsKnown) {
  TokenCount count;
  for (const Tokens& tokens : GetParam().answers) count.add(tokens);
  EXPECT_EQ(count.describe(), GetParam().told);
}

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

INSTANTIATE_TEST_SUITE_P(
    Conversations, CountOfTokens,
    testing::Values(
        CountCase{"no_answer", {}, "There is no answer yet."},
        CountCase{"one_answer", {{.in = 7, .out = 3}}, "1 answer. Tokens: 7 in, 3 out."},
        CountCase{"several",
                  {{.in = 7, .out = 3}, {.in = 20, .out = 0, .cached = 5}},
                  "2 answers. Tokens: 27 in, 3 out, 5 of those in from the service's cache."},
        CountCase{"one_kind_alone", {{.out = 3}}, "1 answer. Tokens: 3 out."},
        CountCase{
            "some_untold", {{.in = 7, .out = 3}, {}}, "2 answers. Tokens: 7 in, 3 out. Of 1 answer nothing was told."},
        CountCase{"most_untold",
                  {{}, {.in = 7, .out = 3}, {}},
                  "3 answers. Tokens: 7 in, 3 out. Of 2 answers nothing was told."},
        CountCase{"all_untold", {{}, {}}, "2 answers. The service told nothing of tokens."},
        CountCase{"more_than_there_can_be", {{.in = kMost}, {.in = 1}}, "2 answers. Tokens: 9223372036854775807 in."}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
