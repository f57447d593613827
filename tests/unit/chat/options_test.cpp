#include "options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::Not;

TEST(CommandLine, ReadsEveryOption) {
  const CommandLine line = readCommandLine(
      {"--provider",    "gemini", "--model",   "m",      "--host",  "h",          "--instructions", "be brief",
       "--temperature", "0.5",    "--ca-file", "ca.pem", "--proxy", "http://p:1", "--allow-http",   "--other-database",
       "--save",        "s.json", "--restore", "r.json", "shop.db", "How many?"});
  ASSERT_FALSE(line.end) << line.text;
  EXPECT_EQ(line.options.service.provider, findProvider("gemini"));
  EXPECT_EQ(line.options.model, "m");
  EXPECT_EQ(line.options.service.host, "h");
  EXPECT_EQ(line.options.instructions, "be brief");
  EXPECT_EQ(line.options.temperature, "0.5");
  EXPECT_EQ(line.options.service.caFile, "ca.pem");
  EXPECT_EQ(line.options.service.proxyURL, "http://p:1");
  EXPECT_TRUE(line.options.service.allowHttp);
  EXPECT_TRUE(line.options.allowOtherDatabase);
  EXPECT_EQ(line.options.saveFile, "s.json");
  EXPECT_EQ(line.options.restoreFile, "r.json");
  EXPECT_EQ(line.options.database, "shop.db");
  EXPECT_EQ(line.options.question, "How many?");
  EXPECT_FALSE(line.options.isWhole);
  EXPECT_FALSE(line.options.listModels);
  EXPECT_FALSE(line.options.showPrompt);
}

TEST(CommandLine, MayHaveAnswersComeWhole) { EXPECT_TRUE(readCommandLine({"--no-stream", "shop.db"}).options.isWhole); }

TEST(CommandLine, MayAskForADryRun) { EXPECT_TRUE(readCommandLine({"--dry-run", "shop.db"}).options.isDryRun); }

TEST(CommandLine, LeavesTheRestToDefaults) {
  const CommandLine line = readCommandLine({"shop.db"});
  ASSERT_FALSE(line.end) << line.text;
  EXPECT_EQ(line.options.service.provider, &kProviders.front());
  EXPECT_EQ(line.options.model, "");
  EXPECT_EQ(line.options.temperature, "");
  EXPECT_EQ(line.options.question, std::nullopt);
}

TEST(CommandLine, ListsModelsWithoutADatabase) {
  const CommandLine line = readCommandLine({"--list-models"});
  ASSERT_FALSE(line.end) << line.text;
  EXPECT_TRUE(line.options.listModels);
}

TEST(CommandLine, TakesAQuestionThatStartsWithADash) {
  const CommandLine line = readCommandLine({"shop.db", "--", "-1 or 1?"});
  ASSERT_FALSE(line.end) << line.text;
  EXPECT_EQ(line.options.question, "-1 or 1?");
}

TEST(CommandLine, TakesSlashesForWhatTheyAreOnEverySystem) {
  const CommandLine line = readCommandLine({"/shop.db", "/help?"});
  ASSERT_FALSE(line.end) << line.text;
  EXPECT_EQ(line.options.database, "/shop.db");
  EXPECT_EQ(line.options.question, "/help?");
}

struct EndCase {
  const char* name;
  std::vector<std::string> arguments;
  ExitCode code;
  const char* part;
};

class CommandLineEnd : public testing::TestWithParam<EndCase> {};

TEST_P(CommandLineEnd, HasItsCodeAndText) {
  const CommandLine line = readCommandLine(GetParam().arguments);
  ASSERT_TRUE(line.end);
  EXPECT_EQ(*line.end, GetParam().code) << line.text;
  EXPECT_THAT(line.text, HasSubstr(GetParam().part));
  if (*line.end != ExitCode::Fine) {
    EXPECT_THAT(line.text, Not(HasSubstr("\n")));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CommandLineEnd,
    testing::Values(
        EndCase{"help", {"--help"}, ExitCode::Fine, "Exit codes:"},
        EndCase{"help_names_the_key_variable", {"--help"}, ExitCode::Fine, "OPENAI_API_KEY"},
        EndCase{"help_names_both_variables_of_gemini", {"--help"}, ExitCode::Fine, "GEMINI_API_KEY or GOOGLE_API_KEY"},
        EndCase{"help_names_the_host_variable", {"--help"}, ExitCode::Fine, "OLLAMA_HOST"},
        EndCase{"help_tells_that_a_service_needs_a_host",
                {"--help"},
                ExitCode::Fine,
                "  openai-assistants  OPENAI_API_KEY; OpenAI's ended on 2026-08-26; --host names another\n"},
        EndCase{"version", {"--version"}, ExitCode::Fine, "qai-chat "},
        EndCase{"nothing", {}, ExitCode::WrongUsage, "No DATABASE is given"},
        EndCase{"prompt_of_nothing", {"--show-prompt"}, ExitCode::WrongUsage, "No DATABASE is given"},
        EndCase{"blank_question", {"a.db", " "}, ExitCode::WrongUsage, "The QUESTION is empty"},
        EndCase{"unquoted_question", {"a.db", "How", "many"}, ExitCode::WrongUsage, "put it in quotes"},
        EndCase{"unknown_option", {"a.db", "--colour"}, ExitCode::WrongUsage, "There is no option --colour"},
        EndCase{"key_as_an_option", {"a.db", "--api-key", "k"}, ExitCode::WrongUsage, "There is no option --api-key"},
        EndCase{"key_in_an_option", {"a.db", "--api-key=k"}, ExitCode::WrongUsage, "There is no option --api-key ("},
        EndCase{"password_in_an_option",
                {"a.db", "--proxy", "http://me:word@p:1"},
                ExitCode::WrongUsage,
                "put the address into QAI_PROXY"},
        EndCase{"saving_what_a_service_keeps",
                {"a.db", "--save", "f", "--provider", "openai-assistants"},
                ExitCode::WrongUsage,
                "OpenAI Assistants keeps conversations itself"},
        EndCase{"missing_value", {"a.db", "--model"}, ExitCode::WrongUsage, "--model"},
        EndCase{"unknown_provider",
                {"a.db", "--provider", "x"},
                ExitCode::WrongUsage,
                "'x' is not one of: openai, openai-assistants, "},
        EndCase{"temperature_too_high", {"a.db", "--temperature", "2.1"}, ExitCode::WrongUsage, "number from 0 to 2"},
        EndCase{"temperature_below_zero", {"a.db", "--temperature=-0.1"}, ExitCode::WrongUsage, "number from 0 to 2"},
        EndCase{"temperature_of_words", {"a.db", "--temperature", "hot"}, ExitCode::WrongUsage, "number from 0 to 2"},
        EndCase{"temperature_nan", {"a.db", "--temperature", "nan"}, ExitCode::WrongUsage, "number from 0 to 2"}),
    [](const auto& row) { return std::string(row.param.name); });

class TemperatureInRange : public testing::TestWithParam<const char*> {};

TEST_P(TemperatureInRange, IsTakenAsItStands) {
  const CommandLine line = readCommandLine({"a.db", "--temperature", GetParam()});
  ASSERT_FALSE(line.end) << line.text;
  EXPECT_EQ(line.options.temperature, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Values, TemperatureInRange, testing::Values("0", "0.7", "2", "2.0", "1e-1"));

}  // namespace
