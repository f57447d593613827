#include "services/model_choice.h"

#include "services/providers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::Not;

using Models = std::vector<std::string>;

/// What OpenAI lists to an ordinary account, newest first.
Models openaiList() {
  return {"sora-2",
          "sora-2-pro",
          "gpt-5.2-pro",
          "gpt-5.2-pro-2025-12-11",
          "gpt-5.2",
          "gpt-5.2-2025-12-11",
          "chatgpt-image-latest",
          "gpt-5.1-codex-mini",
          "gpt-5.1-codex",
          "gpt-5-search-api",
          "gpt-audio-mini",
          "gpt-realtime-mini",
          "gpt-image-1-mini",
          "o4-mini-deep-research",
          "gpt-5-mini",
          "gpt-5-mini-2025-08-07",
          "gpt-5-nano",
          "o3-pro",
          "codex-mini-latest",
          "o4-mini",
          "o3",
          "gpt-4.1-mini-2025-04-14",
          "gpt-4.1-mini",
          "gpt-4.1",
          "gpt-4o-mini-tts",
          "gpt-4o-mini-transcribe",
          "gpt-4o-mini-search-preview",
          "gpt-4o-mini-realtime-preview",
          "gpt-4o-mini-audio-preview",
          "computer-use-preview",
          "omni-moderation-latest",
          "gpt-4o-mini-2024-07-18",
          "gpt-4o-mini",
          "gpt-4o",
          "text-embedding-3-small",
          "gpt-3.5-turbo-instruct",
          "gpt-4-0613",
          "gpt-4",
          "gpt-3.5-turbo",
          "dall-e-3",
          "whisper-1",
          "tts-1-hd",
          "babbage-002",
          "davinci-002"};
}

/// What Gemini lists of those that generate content, in its order.
Models geminiList() {
  return {"gemini-2.5-pro-preview-03-25",
          "gemini-2.5-flash",
          "gemini-2.5-pro-preview-tts",
          "gemini-2.0-flash-exp",
          "gemini-2.0-flash",
          "gemini-2.0-flash-001",
          "gemini-2.0-flash-exp-image-generation",
          "gemini-2.0-flash-lite",
          "gemini-exp-1206",
          "gemini-2.5-flash-preview-tts",
          "gemma-3-27b-it",
          "gemini-flash-latest",
          "gemini-2.5-flash-lite",
          "gemini-2.5-flash-image",
          "gemini-2.5-flash-preview-09-2025",
          "gemini-3-pro-preview",
          "gemini-3-flash-preview",
          "nano-banana-pro-preview",
          "gemini-robotics-er-1.5-preview",
          "gemini-2.5-computer-use-preview-10-2025",
          "gemini-embedding-001",
          "aqa",
          "imagen-4.0-generate-001",
          "gemini-live-2.5-flash-preview"};
}

Models without(Models models, std::string_view part) {
  std::erase_if(models, [part](const std::string& model) { return model.find(part) != std::string::npos; });
  return models;
}

struct ListCase {
  const char* name;
  const char* provider;
  Models models;
  bool isOtherServer;
  const char* chosen;
};

class ModelChoice : public testing::TestWithParam<ListCase> {};

TEST_P(ModelChoice, IsAModelToChatWith) {
  const ListCase& row = GetParam();
  EXPECT_EQ(chooseModel(*findProvider(row.provider), row.models, row.isOtherServer), row.chosen);
}

INSTANTIATE_TEST_SUITE_P(
    OpenAI, ModelChoice,
    testing::Values(
        ListCase{
            "newest_is_a_video_model", "openai", {"sora-2", "gpt-4.1", "text-embedding-3-large"}, false, "gpt-4.1"},
        ListCase{"everything", "openai", openaiList(), false, "gpt-4.1-mini"},
        ListCase{"everything_for_assistants", "openai-assistants", openaiList(), false, "gpt-4.1-mini"},
        ListCase{"next_family", "openai", without(openaiList(), "4.1"), false, "gpt-5-mini"},
        ListCase{"newest_of_a_family", "openai", {"gpt-4o-mini", "gpt-5.4-mini", "gpt-5-mini"}, false, "gpt-5.4-mini"},
        ListCase{"tenth_version", "openai", {"gpt-5.9-mini", "gpt-5.10-mini", "gpt-5.2-mini"}, false, "gpt-5.10-mini"},
        ListCase{"snapshot_alone", "openai", {"gpt-4o-mini-2024-07-18", "gpt-4o"}, false, "gpt-4o-mini-2024-07-18"},
        ListCase{"alias_before_snapshot", "openai", {"gpt-4-0613", "gpt-4-1106-preview", "gpt-4"}, false, "gpt-4"},
        ListCase{"no_small_ones", "openai", without(without(openaiList(), "mini"), "gpt-4.1"), false, "gpt-4o"},
        ListCase{"reasoning_alone", "openai", {"o1-pro", "o3-deep-research", "o3", "o4-mini"}, false, "o4-mini"},
        ListCase{"old_alone",
                 "openai",
                 {"gpt-3.5-turbo-instruct", "gpt-3.5-turbo-0125", "gpt-3.5-turbo"},
                 false,
                 "gpt-3.5-turbo"},
        ListCase{"nothing", "openai", {"sora-2", "tts-1", "gpt-5-codex", "gpt-image-1", "babbage-002"}, false, ""},
        ListCase{"empty_list", "openai", {}, true, ""}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Gemini, ModelChoice,
    testing::Values(
        ListCase{"everything", "gemini", geminiList(), false, "gemini-2.5-flash"},
        ListCase{"previews_of_a_later_one",
                 "gemini",
                 {"gemini-3-flash-preview", "gemini-2.0-flash"},
                 false,
                 "gemini-2.0-flash"},
        ListCase{"latest", "gemini", {"gemini-3-flash-preview", "gemini-flash-latest"}, false, "gemini-flash-latest"},
        ListCase{
            "small_ones", "gemini", {"gemini-2.0-flash-lite", "gemini-2.5-flash-lite"}, false, "gemini-2.5-flash-lite"},
        ListCase{"snapshots",
                 "gemini",
                 {"gemini-2.5-flash-preview-tts", "gemini-2.0-flash-001"},
                 false,
                 "gemini-2.0-flash-001"},
        ListCase{"large_ones", "gemini", {"gemini-3-pro-preview", "gemini-2.5-pro"}, false, "gemini-2.5-pro"},
        ListCase{"nothing",
                 "gemini",
                 {"gemini-embedding-001", "aqa", "imagen-4.0-generate-001", "gemini-2.5-flash-image"},
                 false,
                 ""}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    DeepSeek, ModelChoice,
    testing::Values(
        ListCase{"reasoner_first", "deepseek", {"deepseek-reasoner", "deepseek-chat"}, false, "deepseek-chat"},
        ListCase{"reasoner_alone", "deepseek", {"deepseek-reasoner"}, false, "deepseek-reasoner"},
        ListCase{"later_names", "deepseek", {"deepseek-v4-pro", "deepseek-flash"}, false, "deepseek-flash"},
        ListCase{"another_server", "deepseek", {"bge-m3", "qwen2.5"}, true, "qwen2.5"}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    OtherServers, ModelChoice,
    testing::Values(
        ListCase{
            "ollama", "ollama", {"nomic-embed-text:latest", "llama3.2:latest", "gemma3:4b"}, true, "llama3.2:latest"},
        ListCase{"ollama_with_vectors_alone",
                 "ollama",
                 {"mxbai-embed-large:latest", "bge-m3:latest", "all-minilm:22m", "qwen3-embedding:0.6b",
                  "embeddinggemma:latest"},
                 true,
                 ""},
        ListCase{"lm_studio",
                 "openai",
                 {"text-embedding-nomic-embed-text-v1.5", "qwen/qwen3-4b-2507"},
                 true,
                 "qwen/qwen3-4b-2507"},
        ListCase{"vllm", "openai", {"meta-llama/Llama-3.1-8B-Instruct"}, true, "meta-llama/Llama-3.1-8B-Instruct"},
        ListCase{"groq",
                 "openai",
                 {"whisper-large-v3", "meta-llama/llama-guard-4-12b", "llama-3.3-70b-versatile"},
                 true,
                 "llama-3.3-70b-versatile"},
        ListCase{"mistral",
                 "openai",
                 {"mistral-ocr-latest", "mistral-moderation-latest", "mistral-embed", "mistral-small-latest"},
                 true,
                 "mistral-small-latest"},
        ListCase{"many_publishers", "openai", {"x/grok-9", "openai/gpt-4.1-mini"}, true, "openai/gpt-4.1-mini"},
        ListCase{"capitals", "openai", {"BAAI/BGE-M3", "Qwen/Qwen3-8B"}, true, "Qwen/Qwen3-8B"},
        ListCase{"stand_in", "openai", {"standin-large", "standin-small"}, true, "standin-large"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(ExplainedChoice, NamesSomeModelsAndTheOption) {
  EXPECT_EQ(explainNoChoice({"sora-2", "tts-1"}),
            "None of the service's models is known to chat (sora-2, tts-1); --model NAME takes one all the same");
}

TEST(ExplainedChoice, IsShortWhateverTheListIs) {
  Models models(500, "tts-1");
  models.front() = std::string(5000, 'x');
  EXPECT_LT(explainNoChoice(models).size(), 250U);
  EXPECT_THAT(explainNoChoice(models), testing::AllOf(HasSubstr("tts-1 and 490 more)"), Not(HasSubstr("xx"))));
  EXPECT_THAT(explainNoChoice({models.front()}), HasSubstr("(1 more)"));
}

}  // namespace
