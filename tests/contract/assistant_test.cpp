// Assistants and their settings, sessions and owners.
#include "fixture.h"
#include "support/assertion_log.h"

#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

class ChatAssistant : public EachService {
 protected:
  Owned<IQAIAssistant> create(const std::string& apiHost) {
    return Owned<IQAIAssistant>(QAICreateAssistant(service_.type, nullptr, kKey, apiHost));
  }
};
INSTANTIATE_TEST_SUITE_P(Chat, ChatAssistant, testing::ValuesIn(chatServices()), serviceName);

class AnyAssistant : public ChatAssistant {};
INSTANTIATE_TEST_SUITE_P(All, AnyAssistant, testing::ValuesIn(allServices()), serviceName);

struct CountedPool final : ICSHTTPPoolCenter {
  explicit CountedPool(int& destroyed) : destroyed_(destroyed) {}
  ~CountedPool() override { ++destroyed_; }
  void cancel() noexcept override {}
  int& destroyed_;
};

TEST_P(AnyAssistant, OwnsItsPoolCentre) {
  int destroyed = 0;
  QAIFreeObject(QAICreateAssistant(service_.type, new CountedPool(destroyed), kKey, ""));
  EXPECT_EQ(destroyed, 1);
}

constexpr int kHighestType = 100;  // far beyond all that there are

TEST(Factory, ServesTheServicesOfTheTableAndNoOthers) {
  for (int type = -1; type <= kHighestType; ++type) {
    const Owned<IQAIAssistant> made(QAICreateAssistant(static_cast<QAIAssistantType>(type), nullptr, kKey, ""));
    EXPECT_EQ(made != nullptr, findService(static_cast<QAIAssistantType>(type)) != nullptr)
        << "type " << type << (made == nullptr ? " has a row alone" : " has no row in tests/support/services.cpp");
  }
}

TEST(Factory, UnknownTypeIsNullAndLeavesThePoolToTheCaller) {
  for (const int type : {static_cast<int>(allServices().size()), kHighestType, -1}) {
    int destroyed = 0;
    const auto pool = std::make_unique<CountedPool>(destroyed);
    EXPECT_EQ(QAICreateAssistant(static_cast<QAIAssistantType>(type), pool.get(), kKey, ""), nullptr) << type;
    EXPECT_EQ(destroyed, 0);
  }
}

TEST_P(AnyAssistant, BlankHostAtCreationIsTheServicesOwn) {
  for (const char* blank : {"", " ", " \t\r\n"}) {
    EXPECT_EQ(property(*create(blank), "api_host").stringValue(), service_.defaultHost);
  }
}

TEST_P(AnyAssistant, HostAtCreationIsNormalised) {
  EXPECT_EQ(property(*create(" myhost:8080 "), "api_host").stringValue(), "https://myhost:8080");
  EXPECT_EQ(property(*create("http://myhost"), "api_host").stringValue(), "http://myhost");
}

TEST_P(ChatAssistant, BlankHostInTheSettingsIsTheServicesOwn) {
  const auto assistant = create("http://before");
  for (const char* blank : {"", "  ", "https://"}) {
    EXPECT_EQ(assign(*assistant, {{"api_host", blank}}), "");
    EXPECT_EQ(property(*assistant, "api_host").stringValue(), service_.defaultHost) << '"' << blank << '"';
  }
}

TEST_P(ChatAssistant, BlankHostInARestoredSessionIsTheServicesOwn) {
  const auto assistant = create("http://before");
  const Owned<IQAISession> session(assistant->loadSession(R"({"api_host":" "})").first);
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(property(*assistant, "api_host").stringValue(), service_.defaultHost);
}

TEST_P(AnyAssistant, SessionOfAnotherOneOfItsKindIsRefusedAndNothingIsSent) {
  const AssertionLog log;  // the chat services assert it besides
  const auto assistant = assistantWith();
  const auto another = assistantWith();
  const auto itsSession = newSession(*another);
  const auto third = bareAssistant(nullptr);
  const Owned<IQAISession> restored(third->loadSession(itsSession->obtainSessionData()).first);
  ASSERT_NE(restored, nullptr);
  const std::string saved = itsSession->obtainSessionData();
  const std::size_t before = requestCount();
  for (IQAISession* session : {itsSession.get(), restored.get()}) {
    EXPECT_EQ(ask(*assistant, session, "question"), "error: Session is empty");
    EXPECT_EQ(assistant->destroySession(session), service_.keepsConversations ? "Session not found" : "");
  }
  EXPECT_EQ(requestCount(), before);
  EXPECT_EQ(itsSession->obtainSessionData(), saved);
  EXPECT_THAT(ask(*another, itsSession.get(), "question"), Not(StartsWith("error: ")));
  EXPECT_THAT(ask(*third, restored.get(), "question"), Not(StartsWith("error: ")));
}

struct TemperatureRow {
  const char* given;
  double stored;
};

TEST_P(ChatAssistant, TemperatureIsHeldBetweenZeroAndTwo) {
  const auto assistant = create("");
  const AssertionLog log;  // the record asserts a number and takes a text
  for (const TemperatureRow& row : {TemperatureRow{"3.5", 2.0}, {"-1", 0.0}, {"0.7", 0.7}, {"2", 2.0}, {"0", 0.0}}) {
    EXPECT_EQ(assign(*assistant, {{"temperature", row.given}}), "");
    EXPECT_EQ(property(*assistant, "temperature").doubleValue(), row.stored) << row.given;
  }
}

TEST_P(ChatAssistant, TemperatureAsANumberIsRefusedYetCountsAsAssigned) {
  const auto assistant = assistantWith();
  EXPECT_EQ(assign(*assistant, {{"temperature", 0.25}}), "");
  EXPECT_EQ(property(*assistant, "temperature").doubleValue(), 1.0);
  ask(*assistant, newSession(*assistant).get(), "question");
  EXPECT_THAT(lastBody(), HasSubstr("\"temperature\":1.0"));
}

TEST_P(ChatAssistant, OnlyAssignedKeysAreAdopted) {
  const auto assistant = create("http://h");
  assign(*assistant, {{"model", "m"}, {"user_instructions", "u"}, {"db_structure", "[]"}});
  assign(*assistant, {{"model", "n"}});
  EXPECT_EQ(property(*assistant, "model").stringValue(), "n");
  EXPECT_EQ(property(*assistant, "user_instructions").stringValue(), "u");
  EXPECT_EQ(property(*assistant, "api_host").stringValue(), "http://h");
}

TEST_P(ChatAssistant, SystemInstructionsAreTakenOverAsTheyStand) {
  const auto assistant = create("");
  assign(*assistant, {{"system_instructions", CMVariantMap{{"a", "1"}, {"b", "2"}}}});
  assign(*assistant, {{"system_instructions", CMVariantMap{{"b", "3"}}}});
  const CMVariant instructions = property(*assistant, "system_instructions");
  ASSERT_THAT(instructions.mapValue(), SizeIs(1));
  EXPECT_EQ(instructions.mapValue().at("b").stringValue(), "3");
}

TEST_P(ChatAssistant, EachFillStartsFromAFreshRecord) {
  const auto assistant = create("http://h");
  assign(*assistant, {{"model", "m"}});
  std::string seen = "not called";
  assistant->setAssistantProperties(
      [&seen](IQAIProperties* fresh) { seen = fresh->obtainProperty("model").stringValue(); });
  EXPECT_EQ(seen, "");
}

TEST_P(ChatAssistant, EmptyFillIsABadFunctionCall) {
  const auto assistant = create("");
  EXPECT_THROW(assistant->setAssistantProperties({}), std::bad_function_call);
}

TEST_P(ChatAssistant, FillThatThrowsChangesNothing) {
  const auto assistant = create("http://h");
  EXPECT_THROW(assistant->setAssistantProperties([](IQAIProperties* fresh) {
    fresh->setProperty("model", "half");
    throw std::runtime_error("host");
  }),
               std::runtime_error);
  EXPECT_EQ(property(*assistant, "model").stringValue(), "");
}

TEST_P(ChatAssistant, PropertiesAreACopyOfTheCallers) {
  const auto assistant = create("http://h");
  const Owned<IQAIProperties> one(assistant->obtainAssistantProperties());
  const Owned<IQAIProperties> two(assistant->obtainAssistantProperties());
  EXPECT_NE(one, two);
  one->setProperty("model", "changed in the copy");
  EXPECT_EQ(two->obtainProperty("model").stringValue(), "");
  EXPECT_EQ(property(*assistant, "model").stringValue(), "");
}

TEST_P(ChatAssistant, SettingPropertiesAndSessionsSendsNothing) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  const Owned<IQAISession> restored(assistant->loadSession(session->obtainSessionData()).first);
  EXPECT_EQ(assistant->destroySession(session.get()), "");
  EXPECT_EQ(standin_.connectionCount(), 0U);
}

TEST_P(ChatAssistant, DestroyedSessionStaysUsableUntilItIsFreed) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  EXPECT_EQ(assistant->destroySession(session.get()), "");
  answerNext(200, service_.replyBody);
  EXPECT_EQ(ask(*assistant, session.get(), "question"), "two parts");
  EXPECT_EQ(assistant->destroySession(nullptr), "");
}

TEST_P(ChatAssistant, SavedConversationGoesOnInAnotherAssistant) {
  const auto first = assistantWith();
  assign(*first, {{"user_instructions", "I"}});
  const auto session = newSession(*first);
  answerNext(200, service_.replyBody);
  ask(*first, session.get(), "first");

  const auto second = create("http://elsewhere.invalid");
  const auto [restored, error] = second->loadSession(session->obtainSessionData());
  const Owned<IQAISession> owned(restored);
  EXPECT_EQ(error, "");
  ASSERT_NE(owned, nullptr);
  EXPECT_EQ(owned->obtainSessionData(), session->obtainSessionData());
  ask(*second, owned.get(), "second");
  EXPECT_THAT(lastBody(), HasSubstr(historyPart(service_, {"first", "two parts", "second"}) + "]"));
  EXPECT_THAT(lastBody(), HasSubstr(service_.instructionsPart));
}

TEST_P(ChatAssistant, UnreadableSessionTextIsRefusedAndChangesNothing) {
  const auto assistant = create("http://h");
  for (const char* text : {"", "{", R"({"model":"m"} x)"}) {
    const auto [session, error] = assistant->loadSession(text);
    EXPECT_EQ(session, nullptr);
    EXPECT_EQ(error, "Cannot load session data");
  }
  EXPECT_EQ(property(*assistant, "model").stringValue(), "");
}

TEST_P(ChatAssistant, SavedTextHoldsNoKey) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  ask(*assistant, session.get(), "question");
  EXPECT_THAT(session->obtainSessionData(), Not(HasSubstr(kKey)));
}

}  // namespace
