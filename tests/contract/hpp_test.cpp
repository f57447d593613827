// Every operation of qai.hpp with every service.
#include "hpp_fixture.h"

#include <gmock/gmock.h>

#include <chrono>

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class Host : public EachHost {};
INSTANTIATE_TEST_SUITE_P(All, Host, testing::ValuesIn(allServices()), serviceName);

TEST_P(Host, ListsTheModels) {
  const auto models = bareHost().models();
  ASSERT_TRUE(models) << models.error();
  EXPECT_THAT(models.value(), Contains(service_.model));
}

TEST_P(Host, GetsTheServicesWordsWhenModelsFail) {
  auto assistant = bareHost();
  answerNext(503, R"({"error":{"message":"closed for today"}})");
  const auto models = assistant.models();
  EXPECT_FALSE(models);
  EXPECT_EQ(models.error(), "closed for today");
  EXPECT_THAT(models.value(), IsEmpty());
}

TEST_P(Host, GetsAReply) {
  auto assistant = host();
  auto session = assistant.createSession().value();
  const auto before = std::chrono::system_clock::now() - std::chrono::seconds(2);
  const auto reply = session.ask("question");
  ASSERT_TRUE(reply) << reply.error();
  EXPECT_NE(reply->text(), "");
  EXPECT_EQ(reply->role(), qai::Role::Assistant);
  EXPECT_GE(reply->created(), before);
  EXPECT_EQ(reply->native()->obtainRole(), 1U);
}

TEST_P(Host, GetsTheServicesWordsWhenATurnFails) {
  auto assistant = host();
  auto session = assistant.createSession().value();
  answerNext(503, R"({"error":{"message":"closed for today"}})");
  EXPECT_EQ(ask(session, "question"), "error: closed for today");
  EXPECT_THAT(ask(session, "question"), Not(StartsWith("error: ")));
}

TEST_P(Host, SavesAndRestoresAConversation) {
  std::string saved;
  {
    auto assistant = host();
    auto session = assistant.createSession().value();
    ask(session, "the first question");
    saved = session.save();
    EXPECT_EQ(saved, session.native()->obtainSessionData());
  }
  auto assistant = bareHost();
  auto session = assistant.loadSession(saved);
  ASSERT_TRUE(session) << session.error();
  EXPECT_EQ(session->save(), saved);
  EXPECT_EQ(assistant.properties().model(), service_.model);
  EXPECT_THAT(ask(session.value(), "the second question"), Not(StartsWith("error: ")));
}

TEST_P(Host, IsToldWhenATextCannotBeRestored) {
  auto assistant = bareHost();
  const auto session = assistant.loadSession("no JSON");
  EXPECT_EQ(session.error(), "Cannot load session data");
  EXPECT_FALSE(session.value());
}

TEST_P(Host, EndOfASessionSendsNothing) {
  auto assistant = host();
  auto session = assistant.createSession().value();
  const std::size_t before = requestCount();
  session = {};
  assistant = {};
  EXPECT_EQ(requestCount(), before);
}

TEST_P(Host, DestroyDeletesAtTheServiceWhatItKeeps) {
  auto assistant = host();
  auto session = assistant.createSession().value();
  const std::size_t before = requestCount();
  EXPECT_TRUE(session.destroy());
  EXPECT_FALSE(session);
  EXPECT_EQ(requestCount() - before,
            keepsConversations() ? 2U : 0U);  // the conversation and, as the last, the assistant
}

class KeptConversation : public Host {};
INSTANTIATE_TEST_SUITE_P(Assistants, KeptConversation, testing::Values(assistantsService()), serviceName);

TEST_P(KeptConversation, DestroyThatFailsCanBeRepeated) {
  auto session = host().createSession().value();
  answerNext(503, R"({"error":{"message":"closed for today"}})");
  EXPECT_EQ(session.destroy().error(), "closed for today");
  EXPECT_TRUE(session);
  EXPECT_TRUE(session.destroy());
}

TEST_P(Host, SessionGoesOnWithoutTheVariableOfItsAssistant) {
  auto session = host().createSession().value();
  EXPECT_THAT(ask(session, "question"), Not(StartsWith("error: ")));
  EXPECT_TRUE(session.destroy());
}

TEST_P(Host, SettingsThatAreReadOutliveTheVariableOfTheirAssistant) {
  const qai::Properties properties = host().properties();
  EXPECT_EQ(properties.model(), service_.model);
  EXPECT_EQ(properties.get("model").stringValue(), service_.model);
  EXPECT_EQ(properties.native()->obtainProperty("model").stringValue(), service_.model);
}

TEST_P(Host, ReadsBackWhatItFilledIn) {
  auto assistant = bareHost();
  const auto filled = assistant.configure([this](qai::Fill& fill) {
    fill.model(service_.model).temperature(0.7).userInstructions("be brief");
    fill.systemInstructions({{"tone", "friendly"}, {"dialect", "SQLite"}});
    fill.databaseStructure(R"([{"schemas":[{"tables":[{"name":"t","fields":[{"name":"id","type":"INTEGER"}]}]}]}])");
  });
  ASSERT_TRUE(filled) << filled.error();
  const qai::Properties properties = assistant.properties();
  EXPECT_EQ(properties.apiHost(), standin_.address());
  EXPECT_EQ(properties.model(), service_.model);
  EXPECT_EQ(properties.temperature(), 0.7);
  EXPECT_EQ(properties.userInstructions(), "be brief");
  EXPECT_EQ(properties.systemInstructions(),
            (std::map<std::string, std::string>{{"dialect", "SQLite"}, {"tone", "friendly"}}));
  EXPECT_EQ(properties.databaseStructure().size(), 1U);
  EXPECT_EQ(properties.combinedInstructions(), "be brief\n\nSQLite\nfriendly\nCREATE TABLE `t` (`id` INTEGER)\n\n");
  EXPECT_EQ(properties.keys(), properties.native()->obtainPropertyList());
}

TEST_P(Host, DescribesTheDatabaseAsAList) {
  auto assistant = bareHost();
  const CMVariantMap field{{"name", "id"}, {"type", "INTEGER"}};
  const CMVariantMap table{{"name", "t"}, {"fields", CMVariantList{field}}};
  const CMVariantMap schema{{"tables", CMVariantList{table}}};
  EXPECT_TRUE(assistant.configure([&](qai::Fill& fill) {
    fill.model(service_.model).databaseStructure(CMVariantList{CMVariantMap{{"schemas", CMVariantList{schema}}}});
  }));
  EXPECT_THAT(assistant.properties().combinedInstructions(), HasSubstr("CREATE TABLE `t` (`id` INTEGER)"));
}

TEST_P(Host, NameAndDescriptionAreOfTheAssistantsServiceAlone) {
  auto assistant = bareHost();
  const auto filled = assistant.configure(
      [this](qai::Fill& fill) { fill.model(service_.model).name("Shop").description("knows the shop"); });
  if (keepsConversations()) {
    EXPECT_TRUE(filled) << filled.error();
    EXPECT_EQ(assistant.properties().name(), "Shop");
    EXPECT_EQ(assistant.properties().description(), "knows the shop");
  } else {
    EXPECT_FALSE(filled);
    EXPECT_THAT(filled.refused(), testing::ElementsAre("name", "description"));
    EXPECT_EQ(assistant.properties().name(), "");
  }
}

TEST_P(Host, TranslationReachesTheErrorTexts) {
  auto assistant = bareHost();
  qai::setTranslation([](std::string_view text) { return "nicht: " + std::string(text); });
  EXPECT_EQ(assistant.loadSession("no JSON").error(), "nicht: Cannot load session data");
  qai::setTranslation(nullptr);
  EXPECT_EQ(assistant.loadSession("no JSON").error(), "Cannot load session data");
}

TEST_P(Host, HTTPSettingsReachTheRequests) {
  CMRestGlobalSettings settings;
  settings.userAgent = "shop/1.0";
  qai::setHTTPSettings(settings);
  EXPECT_TRUE(bareHost().models());
  EXPECT_EQ(standin_.requests().back().header("User-Agent"), "shop/1.0");
}

TEST(HostOfNoService, IsEmpty) {
  const qai::Assistant assistant(static_cast<QAIAssistantType>(100), kKey);
  EXPECT_FALSE(assistant);
}

}  // namespace
