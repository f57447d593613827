// Saving and loading a conversation.
#include "qai_session_openai_v1.h"
#include "support/assertion_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> entries(QAIChatSession& session) {
  std::vector<std::string> list;
  for (const auto& entry : session.history().entries()) {
    list.push_back(std::to_string(entry->role) + ":" + std::string(entry->firstText()));
  }
  return list;
}

TEST(ChatSession, NewOneSavesAllSettingsAndNoMessages) {
  QAIAssistantProperties record;
  const QAISession_OPENAI_v1 session(record);
  EXPECT_EQ(session.obtainSessionData(),
            R"({"api_host":"","model":"","temperature":1.0,"user_instructions":"","db_structure":"","messages":[]})");
}

TEST(ChatSession, SavesInAFixedOrder) {
  QAIAssistantProperties record;
  record.apiHost = "https://h";
  record.model = "m";
  record.temperature = 0.7;
  record.userInstructions = "u";
  record.systemInstructions = {{"b", "2"}, {"a", "1"}, {"n", 1.5}};
  record.dbStructureJson = "[ ]";
  QAISession_OPENAI_v1 session(record);
  session.appendTurn("q", "a");
  EXPECT_EQ(session.obtainSessionData(),
            R"({"api_host":"https://h","model":"m","temperature":0.7,"user_instructions":"u",)"
            R"("system_instructions":[{"key":"a","value":"1"},{"key":"b","value":"2"},{"key":"n","value":"1.5"}],)"
            R"("db_structure":"[ ]","messages":[{"role":"user","content":"q"},{"role":"assistant","content":"a"}]})");
}

TEST(ChatSession, RequestsHaveTheHistoryAndThenTheQuestionWhateverWasAskedBefore) {
  QAIAssistantProperties record;
  QAISession_OPENAI_v1 session(record);
  EXPECT_EQ(session.history().writeRequestText("x"), R"({"role":"user","content":"x"})");
  EXPECT_EQ(session.history().writeRequestText(""), R"({"role":"user","content":""})");
  session.append(0, "q\n");
  session.append(7, "of no known role");
  EXPECT_EQ(session.history().writeRequestText("y"), R"({"role":"user","content":"q\n"},)"
                                                     R"({"role":"user","content":"of no known role"},)"
                                                     R"({"role":"user","content":"y"})");
  session.appendTurn("r", "a");
  EXPECT_EQ(session.history().writeRequestText("z\"\xff"),
            R"({"role":"user","content":"q\n"},{"role":"user","content":"of no known role"},)"
            R"({"role":"user","content":"r"},{"role":"assistant","content":"a"},)"
            "{\"role\":\"user\",\"content\":\"z\\\"\uFFFD\"}");
}

TEST(ChatSession, TheQuestionOfTheLastRequestIsInTheNextOnceAndInItsPlace) {
  QAIAssistantProperties record;
  QAISession_OPENAI_v1 session(record);
  const auto write = [&](std::string_view question) {
    return std::string(session.history().writeRequestText(question));
  };
  write("q\"");
  session.appendTurn("q\"", "a");
  const std::string first = R"({"role":"user","content":"q\""},{"role":"assistant","content":"a"},)";
  EXPECT_EQ(write("y"), first + R"({"role":"user","content":"y"})");
  session.append(0, "between");
  session.appendTurn("y", "b");
  EXPECT_EQ(write("y"), first + R"({"role":"user","content":"between"},{"role":"user","content":"y"},)"
                                R"({"role":"assistant","content":"b"},{"role":"user","content":"y"})");
}

TEST(ChatSession, EntriesCarryNoTime) {
  QAIAssistantProperties record;
  QAISession_OPENAI_v1 session(record);
  session.appendTurn("q", "a");
  ASSERT_EQ(session.history().entries().size(), 2U);
  for (const auto& entry : session.history().entries()) {
    EXPECT_EQ(entry->createdTime, 0);
    EXPECT_EQ(entry->sections.size(), 1U);
    EXPECT_EQ(entry->unused, "");
  }
}

TEST(ChatSession, SaveThenLoadGivesTheSameButForTheTemperature) {
  QAIAssistantProperties record;
  record.apiHost = "https://h";
  record.model = "m";
  record.temperature = 0.7;
  record.userInstructions = "u\n";
  record.systemInstructions = {{"a", "1"}};
  record.dbStructureJson = "[ ]";
  QAISession_OPENAI_v1 session(record);
  session.appendTurn("q\x01", "Ответ 🙂");

  QAIAssistantProperties other;
  QAISession_OPENAI_v1 restored(other);
  ASSERT_TRUE(restored.load(session.obtainSessionData()));
  EXPECT_EQ(entries(restored), entries(session));
  EXPECT_EQ(other.apiHost, "https://h");
  EXPECT_EQ(other.model, "m");
  EXPECT_EQ(other.userInstructions, "u\n");
  EXPECT_EQ(other.systemInstructions.at("a").stringValue(), "1");
  EXPECT_EQ(other.dbStructureJson.json(), "[ ]");
  EXPECT_EQ(other.temperature, 1.0);
  EXPECT_TRUE(other.assignedKeys.contains("temperature"));
  other.temperature = 0.7;
  EXPECT_EQ(restored.obtainSessionData(), session.obtainSessionData());
}

TEST(ChatSession, TextThatIsNoJsonFailsAndChangesNothing) {
  for (const char* text : {"", "{", "{} x", R"({"model":"m")", "\xff"}) {
    QAIAssistantProperties record;
    QAISession_OPENAI_v1 session(record);
    EXPECT_FALSE(session.load(text)) << text;
    EXPECT_EQ(record.model, "");
    EXPECT_THAT(record.assignedKeys, IsEmpty());
    EXPECT_THAT(session.history().entries(), IsEmpty());
  }
}

TEST(ChatSession, AnyOtherJsonLoadsAndLeavesTheSettings) {
  for (const char* text : {"{}", "[]", "null", "5", R"("text")", R"({"messages":{}})", R"({"messages":[]})"}) {
    QAIAssistantProperties record;
    record.model = "kept";
    QAISession_OPENAI_v1 session(record);
    EXPECT_TRUE(session.load(text)) << text;
    EXPECT_EQ(record.model, "kept");
    EXPECT_THAT(record.assignedKeys, IsEmpty());
    EXPECT_THAT(session.history().entries(), IsEmpty());
  }
}

TEST(ChatSession, SettingsOfAnotherTypeAreSkipped) {
  QAIAssistantProperties record;
  const AssertionLog log;
  QAISession_OPENAI_v1 session(record);
  EXPECT_TRUE(session.load(R"({"api_host":1,"model":null,"temperature":"0.5","user_instructions":[],)"
                           R"("system_instructions":{"a":"b"},"db_structure":{}})"));
  EXPECT_THAT(record.assignedKeys, IsEmpty());
  EXPECT_EQ(record.temperature, 1.0);
  EXPECT_THAT(record.systemInstructions, IsEmpty());
  EXPECT_THAT(log.all(), IsEmpty());
}

TEST(ChatSession, LoadedSettingsCountAsAssigned) {
  QAIAssistantProperties record;
  QAISession_OPENAI_v1 session(record);
  session.load(R"({"api_host":" h ","model":"m","temperature":2,"user_instructions":"u","db_structure":"[]"})");
  EXPECT_THAT(record.assignedKeys,
              ElementsAre("api_host", "db_structure", "model", "temperature", "user_instructions"));
  EXPECT_EQ(record.apiHost, "https://h");
  EXPECT_EQ(record.temperature, 1.0);
}

TEST(ChatSession, EmptyDatabaseTextIsRefusedAndTheOldOneStays) {
  QAIAssistantProperties record;
  record.dbStructureJson = "[1]";
  QAISession_OPENAI_v1 session(record);
  session.load(R"({"db_structure":""})");
  EXPECT_EQ(record.dbStructureJson.json(), "[1]");
}

TEST(ChatSession, SystemInstructionsAreAddedOneByOne) {
  QAIAssistantProperties record;
  record.systemInstructions = {{"a", "old"}, {"kept", "k"}};
  QAISession_OPENAI_v1 session(record);
  session.load(R"({"system_instructions":[{"key":"a","value":"new"},{"key":"b","value":""},{"key":1,"value":"x"},)"
               R"({"key":"c"},"d",null]})");
  ASSERT_EQ(record.systemInstructions.size(), 3U);
  EXPECT_EQ(record.systemInstructions.at("a").stringValue(), "new");
  EXPECT_EQ(record.systemInstructions.at("b").stringValue(), "");
  EXPECT_FALSE(record.assignedKeys.contains("system_instructions"));
}

TEST(ChatSession, EntriesThatCanNotBeUsedAreDropped) {
  QAIAssistantProperties record;
  QAISession_OPENAI_v1 session(record);
  session.load(R"({"messages":[{"role":"user","content":"q"},{"role":"system","content":"s"},)"
               R"({"role":"assistant","content":5},{"content":"x"},{"role":"User","content":"y"},7,null,)"
               R"({"role":"assistant","content":"a"},{"role":1,"content":"z"}]})");
  EXPECT_THAT(entries(session), ElementsAre("0:q", "1:a"));
}

TEST(ChatSession, EntryOfAnUnknownRoleIsAProgrammingErrorOfItsProvider) {
  QAIAssistantProperties record;
  QAISession_OPENAI_v1 session(record);
  session.append(2, "x");
  const AssertionLog log;
  EXPECT_EQ(session.obtainSessionData(), "");
  EXPECT_THAT(log.all(), ElementsAre("qai_session_openai_v1: false"));
}

TEST(ChatSession, EntryWithoutASectionIsAProgrammingErrorOfItsProvider) {
  QAIAssistantProperties record;
  QAISession_OPENAI_v1 session(record);
  session.appendTurn("q", "a");
  std::vector<IQAIMessageSection*>& sections = session.history().entries().front()->sections;
  const std::unique_ptr<IQAIMessageSection> taken(sections.front());
  sections.clear();
  const AssertionLog log;
  EXPECT_EQ(session.obtainSessionData(), "");
  EXPECT_THAT(log.all(), ElementsAre("qai_session_openai_v1: false"));
}

}  // namespace
