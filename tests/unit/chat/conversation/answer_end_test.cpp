#include "conversation/answer_end.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::EndsWith;
using testing::StartsWith;

struct EndCase {
  const char* name;
  Answer answer;
  const char* told;
};

class EndOfAnAnswer : public testing::TestWithParam<EndCase> {};

TEST_P(EndOfAnAnswer, IsToldWhereItIsNotTheUsualOne) { EXPECT_EQ(explainEnd(GetParam().answer), GetParam().told); }

INSTANTIATE_TEST_SUITE_P(
    Ends, EndOfAnAnswer,
    testing::Values(EndCase{"nothing_told", {.text = "a"}, ""},
                    EndCase{"stop", {.text = "a", .finishReason = "stop"}, ""},
                    EndCase{"geminis_stop", {.text = "a", .finishReason = "STOP"}, ""},
                    EndCase{"too_long",
                            {.text = "a", .finishReason = "length"},
                            "The answer was cut: it had reached the most tokens (length)."},
                    EndCase{"unknown_reason",
                            {.text = "a", .finishReason = "moonshine"},
                            "The answer was cut: the service's reason is moonshine."},
                    EndCase{"no_text", {.finishReason = "stop"}, "The service sent no text."},
                    EndCase{"blanks_alone", {.text = " \n"}, "The service sent no text."},
                    EndCase{"no_text_for_a_reason",
                            {.finishReason = "SAFETY"},
                            "The service sent no text: a filter of the service took offence (SAFETY)."},
                    EndCase{"refusal",
                            {.finishReason = "stop", .refusal = "I can't."},
                            "The service sent no text. The model refused: I can't."},
                    EndCase{
                        "refusal_beside_a_text", {.text = "a", .refusal = "No more."}, "The model refused: No more."}),
    [](const auto& row) { return std::string(row.param.name); });

class EarlyEnd : public testing::TestWithParam<const char*> {};

TEST_P(EarlyEnd, HasAMeaningBesideTheServicesWord) {
  const std::string word = GetParam();
  const std::string told = explainEnd({.text = "a", .finishReason = word});
  EXPECT_THAT(told, StartsWith("The answer was cut: "));
  EXPECT_THAT(told, EndsWith(" (" + word + ")."));
}

INSTANTIATE_TEST_SUITE_P(Words, EarlyEnd,
                         testing::Values("length", "MAX_TOKENS", "max_completion_tokens", "max_prompt_tokens",
                                         "content_filter", "SAFETY", "PROHIBITED_CONTENT", "BLOCKLIST", "SPII",
                                         "RECITATION", "LANGUAGE", "insufficient_system_resource", "tool_calls",
                                         "function_call", "MALFORMED_FUNCTION_CALL", "UNEXPECTED_TOOL_CALL"));

}  // namespace
