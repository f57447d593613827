// Bodies, replies and model lists of the chat-completions format, without any I/O.
#include "posted_text.h"
#include "qai_assistant_properties.h"
#include "qai_chat_completions.h"
#include "qai_session_openai_v1.h"

#include <cf/json_shortcuts.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

struct BodyCase {
  const char* name;
  const char* instructions;
  const char* temperature;  // null: not assigned
  std::vector<std::pair<std::uint32_t, std::string>> history;
  const char* text;
  const char* body;
};
void PrintTo(const BodyCase& row, std::ostream* out) { *out << row.name; }

InstructionsJson instructionsOf(std::string_view text) {
  InstructionsJson json{.isEmpty = text.empty(), .start = {}};
  cfAppendJsonString(json.start, text);
  return json;
}

class Body : public testing::TestWithParam<BodyCase> {};

TEST_P(Body, IsWrittenToTheByte) {
  QAIAssistantProperties settings;
  settings.model = "m";
  if (GetParam().temperature != nullptr) {
    settings.assignedKeys.insert("temperature");
    settings.temperature = CMVariant(GetParam().temperature).doubleValue();
  }
  ChatHistory history(completions::kEntry);
  for (const auto& [role, text] : GetParam().history) history.append(role, text);
  ChatBody body;
  const InstructionsJson instructions = instructionsOf(GetParam().instructions);
  completions::writeBody(
      body, {settings, kOpenAI.instructionsStart, instructions, history.writeRequestText(GetParam().text)});
  EXPECT_EQ(postedText(body), GetParam().body);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, Body,
    testing::Values(
        BodyCase{
            "only_the_text", "", nullptr, {}, "hi", R"({"model":"m","messages":[{"role":"user","content":"hi"}]})"},
        BodyCase{"instructions_first",
                 "I",
                 nullptr,
                 {},
                 "hi",
                 R"({"model":"m","messages":[{"role":"developer","content":"I"},{"role":"user","content":"hi"}]})"},
        BodyCase{"temperature_when_assigned",
                 "",
                 "0.7",
                 {},
                 "hi",
                 R"({"model":"m","temperature":0.7,"messages":[{"role":"user","content":"hi"}]})"},
        BodyCase{"whole_temperature",
                 "",
                 "1",
                 {},
                 "hi",
                 R"({"model":"m","temperature":1.0,"messages":[{"role":"user","content":"hi"}]})"},
        BodyCase{"history_oldest_first",
                 "I",
                 nullptr,
                 {{0, "q1"}, {1, "a1"}, {0, "q2"}, {1, "a2"}},
                 "q3",
                 R"({"model":"m","messages":[{"role":"developer","content":"I"},{"role":"user","content":"q1"},)"
                 R"({"role":"assistant","content":"a1"},{"role":"user","content":"q2"},)"
                 R"({"role":"assistant","content":"a2"},{"role":"user","content":"q3"}]})"},
        BodyCase{"any_other_role_is_a_user",
                 "",
                 nullptr,
                 {{7, "x"}},
                 "",
                 R"({"model":"m","messages":[{"role":"user","content":"x"},{"role":"user","content":""}]})"},
        BodyCase{"texts_are_escaped",
                 "",
                 nullptr,
                 {},
                 "a\"\\\n\x01é\xff",
                 "{\"model\":\"m\",\"messages\":[{\"role\":\"user\",\"content\":\"a\\\"\\\\\\n\\u0001é\uFFFD\"}]}"}),
    [](const auto& row) { return std::string(row.param.name); });

struct ReplyCase {
  const char* name;
  const char* json;
  std::optional<std::string> text;
};
void PrintTo(const ReplyCase& row, std::ostream* out) { *out << row.name; }

class Reply : public testing::TestWithParam<ReplyCase> {};

TEST_P(Reply, GivesTheTextOfTheAssistantsChoices) {
  EXPECT_EQ(completions::readReply(COJson(GetParam().json)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, Reply,
    testing::Values(
        ReplyCase{"one_choice", R"({"choices":[{"message":{"role":"assistant","content":"a"}}]})", "a"},
        ReplyCase{
            "two_choices_are_joined_with_nothing_between",
            R"({"choices":[{"message":{"role":"assistant","content":"a"}},{"message":{"role":"assistant","content":"b"}}]})",
            "ab"},
        ReplyCase{"no_choices_are_an_empty_text", R"({"choices":[]})", ""},
        ReplyCase{"another_role_is_skipped", R"({"choices":[{"message":{"role":"tool","content":"a"}}]})", ""},
        ReplyCase{"role_is_case_sensitive", R"({"choices":[{"message":{"role":"Assistant","content":"a"}}]})", ""},
        ReplyCase{"null_content_is_skipped",
                  R"({"choices":[{"message":{"role":"assistant","content":null,"tool_calls":[{}]}}]})", ""},
        ReplyCase{"content_parts_are_skipped",
                  R"({"choices":[{"message":{"role":"assistant","content":[{"text":"a"}]}}]})", ""},
        ReplyCase{"missing_role_is_skipped", R"({"choices":[{"message":{"content":"a"}}]})", ""},
        ReplyCase{"missing_message_is_skipped",
                  R"({"choices":[{"text":"a"},{"message":{"role":"assistant","content":"b"}}]})", "b"},
        ReplyCase{"choice_that_is_no_object_is_skipped", R"({"choices":[1,null,"x",[]]})", ""},
        ReplyCase{"no_member_choices", R"({"object":"chat.completion"})", std::nullopt},
        ReplyCase{"choices_is_an_object", R"({"choices":{}})", std::nullopt},
        ReplyCase{"reply_is_an_array", "[]", std::nullopt}, ReplyCase{"reply_is_a_text", R"("choices")", std::nullopt}),
    [](const auto& row) { return std::string(row.param.name); });

struct ModelsCase {
  const char* name;
  const char* json;
  std::vector<std::string> ids;
};
void PrintTo(const ModelsCase& row, std::ostream* out) { *out << row.name; }

class Models : public testing::TestWithParam<ModelsCase> {};

TEST_P(Models, ComeNewestFirst) {
  EXPECT_EQ(completions::readModelsByCreated(COJson(GetParam().json)), GetParam().ids);
}

INSTANTIATE_TEST_SUITE_P(
    Lists, Models,
    testing::Values(
        ModelsCase{"empty", "[]", {}},
        ModelsCase{"sorted_by_created",
                   R"([{"id":"old","object":"model","created":1},{"id":"new","object":"model","created":3},)"
                   R"({"id":"mid","object":"model","created":2}])",
                   {"new", "mid", "old"}},
        ModelsCase{"equal_times_keep_their_order",
                   R"([{"id":"b","object":"model","created":1},{"id":"a","object":"model","created":1},)"
                   R"({"id":"c","object":"model","created":1}])",
                   {"b", "a", "c"}},
        ModelsCase{"same_id_twice_stays_twice",
                   R"([{"id":"a","object":"model","created":1},{"id":"a","object":"model","created":1}])",
                   {"a", "a"}},
        ModelsCase{"what_is_no_model_is_left_out",
                   R"([{"id":"f","object":"file","created":1},{"id":"M","object":"Model","created":1},)"
                   R"({"id":1,"object":"model","created":1},{"object":"model","created":1},{"id":"n","created":1},)"
                   R"({"id":"s","object":"model","created":"1"},{"id":"u","object":"model"},5,null])",
                   {}},
        ModelsCase{"times_wrap_at_32_bits",  // 2^31 reads as the smallest, 2^32 as 0
                   R"([{"id":"wrapped","object":"model","created":2147483648},)"
                   R"({"id":"zero","object":"model","created":4294967296},{"id":"one","object":"model","created":1}])",
                   {"one", "zero", "wrapped"}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Created, IsTruncatedHeldWithin64BitsAndWrapped) {
  EXPECT_EQ(completions::createdAsInt32(1686935002.0), 1686935002);
  EXPECT_EQ(completions::createdAsInt32(1.9), 1);
  EXPECT_EQ(completions::createdAsInt32(-1.9), -1);
  EXPECT_EQ(completions::createdAsInt32(2147483647.0), 2147483647);
  EXPECT_EQ(completions::createdAsInt32(2147483648.0), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(completions::createdAsInt32(4294967296.0), 0);
  EXPECT_EQ(completions::createdAsInt32(1e300), -1);  // the largest 64-bit number ends in 32 ones
  EXPECT_EQ(completions::createdAsInt32(-1e300), 0);  // the smallest ends in 32 zeros
  EXPECT_EQ(completions::createdAsInt32(9223372036854775808.0), -1);
}

}  // namespace
