#include "services/context.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

Endpoint at(const char* provider, const std::string& host, const std::string& key = "key") {
  return {.provider = findProvider(provider), .host = host, .apiKey = key, .secrets = {}, .settings = {}};
}

struct DestinationCase {
  const char* name;
  const char* provider;
  const char* host;
  const char* text;
};

class Destination : public testing::TestWithParam<DestinationCase> {};

TEST_P(Destination, IsNamedByServiceAndAddress) {
  EXPECT_EQ(nameDestination(at(GetParam().provider, GetParam().host)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Places, Destination,
    testing::Values(DestinationCase{"public_address", "openai", "", "OpenAI, https://api.openai.com"},
                    DestinationCase{"without_a_scheme", "deepseek", "gate.example", "DeepSeek, https://gate.example"},
                    DestinationCase{"another", "ollama", "http://127.0.0.1:1", "Ollama, http://127.0.0.1:1"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(DestinationInside, IsTheStandIn) {
  EXPECT_EQ(nameDestination(at("openai", "", "")), "OpenAI's stand-in inside this program");
}

TEST(ContextText, TellsFactsThenTheText) {
  const std::string text = describeContext({.destination = "OpenAI, https://h",
                                            .model = "m",
                                            .tables = "2 tables",
                                            .instructions = std::string(41'000, 'x'),
                                            .earlierBytes = 70,
                                            .question = "Why?"});
  EXPECT_THAT(text, StartsWith("To: OpenAI, https://h\nModel: m\nStructure: 2 tables\n"
                               "With each question: 41 kB, about 12000 tokens; up to 24000 where names are numbered or "
                               "not in Latin letters\nEarlier turns: 70 bytes, about 20 tokens; up to 40 "));
  EXPECT_THAT(text, HasSubstr("\nRows: none\n\nxxx"));
  EXPECT_THAT(text, testing::EndsWith("xxx\n\nWhy?"));
}

TEST(ContextText, SaysThatTheModelIsOpenAndLeavesOutWhatThereIsNot) {
  const std::string text = describeContext({.destination = "d", .model = "", .tables = "t", .instructions = "i"});
  EXPECT_THAT(text, HasSubstr("\nModel: chosen from the service's list; --model names one\n"));
  EXPECT_THAT(text, Not(HasSubstr("Earlier")));
  EXPECT_THAT(text, Not(HasSubstr("Question")));
}

}  // namespace
