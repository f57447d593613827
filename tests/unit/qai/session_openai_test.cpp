// Saving and loading a session of the Assistants service.
#include "qai_assistant_openai.h"
#include "support/assertion_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Record = QAIAssistantProperties_OPENAI;

const char* const kNames = R"("assistant_id":"a","thread_id":"t")";

std::string withNames(const std::string& more) { return "{" + std::string(kNames) + "," + more + "}"; }

TEST(AssistantsSession, SavesInAFixedOrder) {
  Record record;
  record.apiHost = "https://h";
  record.model = "m";
  record.temperature = 0.7;
  record.userInstructions = "u";
  record.systemInstructions = {{"b", "2"}, {"a", "1"}, {"n", 1.5}};
  record.dbStructureJson = "[ ]";
  record.description = "d";
  EXPECT_EQ(QAISession_OPENAI(record, "asst_1", "thread_1").obtainSessionData(),
            R"({"assistant_id":"asst_1","thread_id":"thread_1","name":"Orvenda Assistant","description":"d",)"
            R"("api_host":"https://h","model":"m","temperature":0.7,"user_instructions":"u",)"
            R"("system_instructions":[{"key":"a","value":"1"},{"key":"b","value":"2"},{"key":"n","value":"1.5"}],)"
            R"("db_structure":"[ ]"})");
}

TEST(AssistantsSession, WithoutSystemInstructionsSavesAnEmptyArray) {
  Record record;
  EXPECT_EQ(QAISession_OPENAI(record, "a", "t").obtainSessionData(),
            R"({"assistant_id":"a","thread_id":"t","name":"Orvenda Assistant","description":"","api_host":"",)"
            R"("model":"","temperature":1.0,"user_instructions":"","system_instructions":[],"db_structure":""})");
}

TEST(AssistantsSession, SavesTheSettingsAsTheyAreThen) {
  Record record;
  const QAISession_OPENAI one(record, "a", "t");
  const QAISession_OPENAI two(record, "a", "t");
  record.model = "later";
  EXPECT_THAT(one.obtainSessionData(), testing::HasSubstr(R"("model":"later")"));
  EXPECT_EQ(one.obtainSessionData(), two.obtainSessionData());
}

TEST(AssistantsSession, SaveThenLoadGivesTheSameButForTheTemperature) {
  Record record;
  record.apiHost = "http://h";
  record.model = "m";
  record.temperature = 0.7;
  record.userInstructions = "u\n\"ю\"";
  record.systemInstructions = {{"a", "1"}, {"b", ""}};
  record.dbStructureJson = "[]";
  record.name = "N";
  record.description = "D";
  const QAISession_OPENAI saved(record, "asst/1", "thread 1");
  const std::string text = saved.obtainSessionData();

  Record fresh;
  QAISession_OPENAI loaded(fresh);
  EXPECT_TRUE(loaded.load(text));
  EXPECT_EQ(loaded.assistantID(), "asst/1");
  EXPECT_EQ(loaded.threadID(), "thread 1");
  EXPECT_EQ(fresh.temperature, 1.0);  // the record takes no number
  EXPECT_TRUE(fresh.assignedKeys.contains("temperature"));
  fresh.temperature = 0.7;
  EXPECT_EQ(loaded.obtainSessionData(), text);
}

TEST(AssistantsSession, TextWithoutBothNamesIsRefusedAndChangesNothing) {
  for (const char* text :
       {"", "{", "no json", "[]", "7", "{}", R"({"assistant_id":"a","model":"m"})", R"({"thread_id":"t","model":"m"})",
        R"({"assistant_id":1,"thread_id":"t","model":"m"})", R"({"assistant_id":"a","thread_id":null,"model":"m"})",
        R"({"assistant_id":"","thread_id":"t","model":"m"})", R"({"assistant_id":"a","thread_id":"","model":"m"})",
        R"({"assistant_id":"a","thread_id":"t","thread_id":"","model":"m"})"}) {
    Record record;
    QAISession_OPENAI session(record);
    EXPECT_FALSE(session.load(text)) << text;
    EXPECT_EQ(session.assistantID() + session.threadID(), "") << text;
    EXPECT_EQ(record.model, "") << text;
    EXPECT_THAT(record.assignedKeys, IsEmpty()) << text;
  }
}

TEST(AssistantsSession, LoadTrimsTheHostAlone) {
  Record record;
  QAISession_OPENAI session(record);
  EXPECT_TRUE(session.load(withNames(R"("api_host":" \t host ","model":" m ","name":" n ","description":" d ")")));
  EXPECT_EQ(record.apiHost, "https://host");
  EXPECT_EQ(record.model, " m ");
  EXPECT_EQ(record.name, " n ");
  EXPECT_EQ(record.description, " d ");
}

TEST(AssistantsSession, SettingsOfAnotherTypeOrMissingStay) {
  Record record;
  record.model = "m";
  record.name = "n";
  const AssertionLog log;
  QAISession_OPENAI session(record);
  EXPECT_TRUE(session.load(withNames(R"("api_host":1,"model":null,"name":{},"description":[],"temperature":"0.5",)"
                                     R"("user_instructions":true,"db_structure":[],"system_instructions":"x")")));
  EXPECT_EQ(record.model, "m");
  EXPECT_EQ(record.name, "n");
  EXPECT_EQ(record.temperature, 1.0);
  EXPECT_THAT(record.assignedKeys, IsEmpty());
  EXPECT_THAT(log.all(), IsEmpty());
}

TEST(AssistantsSession, SystemInstructionsAreAddedToThoseThatAreThere) {
  Record record;
  record.systemInstructions = {{"kept", "1"}, {"changed", "2"}};
  QAISession_OPENAI session(record);
  EXPECT_TRUE(session.load(withNames(R"("system_instructions":[{"key":"changed","value":"3"},{"key":"new","value":""},)"
                                     R"({"key":"no value"},{"key":1,"value":"x"},{"value":"x"},7,null])")));
  ASSERT_EQ(record.systemInstructions.size(), 3U);
  EXPECT_EQ(record.systemInstructions.at("kept").stringValue(), "1");
  EXPECT_EQ(record.systemInstructions.at("changed").stringValue(), "3");
  EXPECT_EQ(record.systemInstructions.at("new").stringValue(), "");
}

TEST(AssistantsSession, StructureThatIsNoJsonIsRefusedByTheRecordAlone) {
  Record record;
  const AssertionLog log;
  QAISession_OPENAI session(record);
  EXPECT_TRUE(session.load(withNames(R"("db_structure":"{","name":"n")")));
  EXPECT_EQ(record.dbStructureJson.json(), "");
  EXPECT_EQ(record.name, "n");
  EXPECT_THAT(log.all(), ElementsAre("qai_assistant_properties: json.getIsValidJson()"));
}

}  // namespace
