// The whole request body of each service, to the byte, without any I/O.
#include "posted_text.h"
#include "qai_assistant_properties.h"
#include "qai_session_deepseek.h"
#include "qai_session_google.h"
#include "qai_session_ollama.h"
#include "qai_session_openai_v1.h"

#include <gtest/gtest.h>

namespace {

struct BodyCase {
  const char* name;
  const ChatDialect& dialect;
  bool everything;  // instructions, temperature and history, or nothing but the text
  const char* body;
};
void PrintTo(const BodyCase& row, std::ostream* out) { *out << row.name; }

class DialectBody : public testing::TestWithParam<BodyCase> {};

TEST_P(DialectBody, IsWrittenToTheByte) {
  const BodyCase& row = GetParam();
  QAIAssistantProperties settings;
  settings.model = "m";
  settings.temperature = 0.5;
  ChatHistory history(row.dialect.entry);
  if (row.everything) {
    settings.assignedKeys.insert("temperature");
    history.append(0, "q1");
    history.append(1, "a1");
  }
  const InstructionsJson instructions{.isEmpty = !row.everything, .start = R"("I")"};
  ChatBody body;
  row.dialect.writeBody(body, {settings, row.dialect.instructionsStart, instructions, history.writeRequestText("q2")});
  EXPECT_EQ(postedText(body), row.body);
}

INSTANTIATE_TEST_SUITE_P(
    Services, DialectBody,
    testing::Values(
        BodyCase{"openai", kOpenAI, false, R"({"model":"m","messages":[{"role":"user","content":"q2"}]})"},
        BodyCase{
            "openai_everything", kOpenAI, true,
            R"({"model":"m","temperature":0.5,"messages":[{"role":"developer","content":"I"},)"
            R"({"role":"user","content":"q1"},{"role":"assistant","content":"a1"},{"role":"user","content":"q2"}]})"},
        BodyCase{"deepseek", kDeepSeek, false, R"({"model":"m","messages":[{"role":"user","content":"q2"}]})"},
        BodyCase{
            "deepseek_everything", kDeepSeek, true,
            R"({"model":"m","temperature":0.5,"messages":[{"role":"system","content":"I"},)"
            R"({"role":"user","content":"q1"},{"role":"assistant","content":"a1"},{"role":"user","content":"q2"}]})"},
        BodyCase{"ollama", kOllama, false,
                 R"({"model":"m","stream":false,"messages":[{"role":"user","content":"q2"}]})"},
        BodyCase{
            "ollama_everything", kOllama, true,
            R"({"model":"m","stream":false,"options":{"temperature":0.5},"messages":[{"role":"system","content":"I"},)"
            R"({"role":"user","content":"q1"},{"role":"assistant","content":"a1"},{"role":"user","content":"q2"}]})"},
        BodyCase{"google", kGoogle, false, R"({"contents":[{"role":"user","parts":[{"text":"q2"}]}]})"},
        BodyCase{"google_everything", kGoogle, true,
                 R"({"generationConfig":{"temperature":0.5},"system_instruction":{"parts":[{"text":"I"}]},)"
                 R"("contents":[{"role":"user","parts":[{"text":"q1"}]},{"role":"model","parts":[{"text":"a1"}]},)"
                 R"({"role":"user","parts":[{"text":"q2"}]}]})"}),
    [](const auto& row) { return std::string(row.param.name); });

struct PartCase {
  const char* name;
  const ChatDialect& dialect;
  const char* json;
  std::vector<std::string> read;
};
void PrintTo(const PartCase& row, std::ostream* out) { *out << row.name; }

class DialectModels : public testing::TestWithParam<PartCase> {};

TEST_P(DialectModels, LeavesOutWhatIsNone) {
  EXPECT_EQ(GetParam().dialect.service.models.read(COJson(GetParam().json)), GetParam().read);
}

INSTANTIATE_TEST_SUITE_P(
    Services, DialectModels,
    testing::Values(PartCase{"deepseek",
                             kDeepSeek,
                             R"([{"id":"f","object":"file"},{"id":1,"object":"model"},{"object":"model"},5,null,)"
                             R"({"id":"m","object":"model"}])",
                             {"m"}},
                    PartCase{"ollama", kOllama, R"([{"name":1},{"model":"m"},[],null,{"name":"m"}])", {"m"}},
                    PartCase{"google",
                             kGoogle,
                             R"([{"name":1,"supportedGenerationMethods":["generateContent"]},{"name":"models/a"},)"
                             R"({"name":"models/b","supportedGenerationMethods":"generateContent"},null,)"
                             R"({"name":"models/c","supportedGenerationMethods":["countTokens",5]},)"
                             R"({"name":"m","supportedGenerationMethods":["x","generateContent"]}])",
                             {"m"}}),
    [](const auto& row) { return std::string(row.param.name); });

class DialectReply : public testing::TestWithParam<PartCase> {};

TEST_P(DialectReply, LeavesOutWhatIsNoTextOfTheServices) {
  const std::optional<std::string> text = GetParam().dialect.readReply(COJson(GetParam().json));
  EXPECT_EQ(text ? std::vector{*text} : std::vector<std::string>(), GetParam().read);
}

INSTANTIATE_TEST_SUITE_P(
    Services, DialectReply,
    testing::Values(PartCase{"ollama_user", kOllama, R"({"message":{"role":"user","content":"x"}})", {""}},
                    PartCase{"ollama_without_role", kOllama, R"({"message":{"content":"x"}})", {""}},
                    PartCase{"ollama_no_text", kOllama, R"({"message":{"role":"assistant","content":5}})", {}},
                    PartCase{
                        "google_others",
                        kGoogle,
                        R"({"candidates":[{"content":{"role":5,"parts":[{"text":"x"}]}},{"content":null},null,)"
                        R"({"content":{"role":"user","parts":[{"text":"x"}]}},)"
                        R"({"content":{"role":"model","parts":{"text":"x"}}},{"content":{"parts":[{"text":"x"}]}},)"
                        R"({"content":{"role":"model","parts":[{"text":5},{"text":"a"}]}}]})",
                        {"a"}},
                    PartCase{"google_no_list", kGoogle, R"({"candidates":5})", {}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Dialects, EachSessionNamesItsOwnFile) {
  EXPECT_NE(std::string(kOpenAI.place.file).find("qai_session_openai_v1"), std::string::npos);
  EXPECT_NE(std::string(kDeepSeek.place.file).find("qai_session_deepseek"), std::string::npos);
  EXPECT_NE(std::string(kOllama.place.file).find("qai_session_ollama"), std::string::npos);
  EXPECT_NE(std::string(kGoogle.place.file).find("qai_session_google"), std::string::npos);
}

}  // namespace
