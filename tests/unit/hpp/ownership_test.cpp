// Who frees what, when and how often.
#include "fake_library.h"

#include <qai.hpp>

#include <gmock/gmock.h>

#include <stdexcept>
#include <type_traits>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using Log = std::vector<std::string>;

/// Every object that began has ended, and no other.
bool isBalanced(const Log& log) {
  int live = 0;
  for (const std::string& event : log) live += event.starts_with("+") ? 1 : event.starts_with("-") ? -1 : 0;
  return live == 0;
}

class Ownership : public testing::Test {
 protected:
  Ownership() { resetLibrary(); }
  ~Ownership() override { EXPECT_TRUE(isBalanced(events())); }

  /// What happened to all but the properties, which come and go with every assistant, and the pool.
  static Log events() {
    Log log;
    for (const std::string& event : libraryLog()) {
      if (event != "-pool" && event.find("properties") == Log::value_type::npos) log.push_back(event);
    }
    return log;
  }
  static qai::Assistant assistant(QAIAssistantType type = OPENAI_v1) {
    return qai::Assistant(type, "key", "host", qai::Pool(makeLoggedPool()));
  }
};

TEST_F(Ownership, AssistantIsFreedOnceWithItsPool) {
  { const auto one = assistant(); }
  EXPECT_THAT(events(), ElementsAre("+assistant", "-assistant"));
  EXPECT_THAT(libraryLog(), Contains("-pool").Times(1));
}

TEST_F(Ownership, SessionThatGoesFirstIsFreedFirst) {
  {
    auto one = assistant();
    const auto session = one.createSession();
  }
  EXPECT_THAT(events(), ElementsAre("+assistant", "+session", "-session", "-assistant"));
}

TEST_F(Ownership, SessionOutlivesTheVariableOfItsAssistant) {
  {
    qai::Session session;
    {
      auto one = assistant();
      session = one.createSession().value();
    }
    EXPECT_THAT(libraryLog(), Not(Contains("-assistant")));
    EXPECT_EQ(session.ask("still there?")->text(), "reply");
  }
  EXPECT_THAT(events(), ElementsAre("+assistant", "+session", "+message", "-message", "-session", "-assistant"));
}

TEST_F(Ownership, SessionThatIsAssignedOverIsFreedBeforeItsAssistant) {
  auto other = assistant();
  auto session = assistant().createSession().value();
  session = other.createSession().value();
  EXPECT_THAT(events(), ElementsAre("+assistant", "+assistant", "+session", "+session", "-session", "-assistant"));
}

TEST_F(Ownership, LastOfSeveralSessionsFreesTheAssistant) {
  auto one = assistant();
  auto first = one.createSession().value();
  auto second = one.loadSession("saved").value();
  one = {};
  first = {};
  EXPECT_THAT(libraryLog(), Not(Contains("-assistant")));
  second = {};
  EXPECT_THAT(libraryLog(), Contains("-assistant"));
}

TEST_F(Ownership, EndOfASessionSendsNothing) {
  { const auto session = assistant(OPENAI).createSession(); }
  EXPECT_THAT(libraryLog(), Not(Contains("call destroySession")));
}

TEST_F(Ownership, DestroyedSessionIsFreedAndLetsItsAssistantGo) {
  auto session = assistant(OPENAI).createSession().value();
  EXPECT_TRUE(session.destroy());
  EXPECT_FALSE(session);
  EXPECT_THAT(events(), ElementsAre("+assistant", "+session", "call destroySession", "-session", "-assistant"));
}

TEST_F(Ownership, SessionThatCouldNotBeDestroyedStays) {
  auto session = assistant(OPENAI).createSession().value();
  libraryScript().error = "not now";
  EXPECT_EQ(session.destroy().error(), "not now");
  EXPECT_TRUE(session);
  libraryScript().error = "";
  EXPECT_TRUE(session.destroy());
}

TEST_F(Ownership, CopyOfThePropertiesIsFreed) {
  auto one = assistant(OPENAI_v1);
  libraryLog().clear();
  { const qai::Properties copy = one.properties(); }
  EXPECT_THAT(libraryLog(), ElementsAre("+properties", "-properties"));
  libraryLog() = {"+assistant"};
}

TEST_F(Ownership, AssistantsOwnPropertiesAreNotFreedAndKeepItAlive) {
  qai::Properties own = assistant(OPENAI).properties();
  EXPECT_TRUE(own);
  EXPECT_THAT(libraryLog(), ElementsAre("+assistant", "+properties"));
  own = {};
  EXPECT_THAT(libraryLog(), ElementsAre("+assistant", "+properties", "-properties", "-pool", "-assistant"));
}

TEST_F(Ownership, TypeThatIsNotServedFreesThePool) {
  qai::Assistant none = assistant(static_cast<QAIAssistantType>(99));
  EXPECT_FALSE(none);
  EXPECT_THAT(libraryLog(), ElementsAre("-pool"));
}

TEST_F(Ownership, CreationThatThrowsFreesThePool) {
  libraryScript().throwsOnCreation = true;
  EXPECT_THROW(assistant(), std::runtime_error);
  EXPECT_THAT(libraryLog(), ElementsAre("-pool"));
}

TEST_F(Ownership, MessageIsFreedOnceWhereverItIsMoved) {
  {
    auto session = assistant().createSession().value();
    qai::Message message = session.ask("a").value();
    const qai::Message moved = std::move(message);
    EXPECT_EQ(moved.text(), "reply");
  }
  EXPECT_THAT(libraryLog(), Contains("-message").Times(1));
}

TEST_F(Ownership, FailureHoldsAnEmptyValue) {
  auto one = assistant();
  libraryScript().error = "out of order";
  const auto session = one.createSession();
  EXPECT_FALSE(session);
  EXPECT_EQ(session.error(), "out of order");
  EXPECT_FALSE(session.value());
  EXPECT_EQ(one.models().error(), "out of order");
  EXPECT_EQ(one.configure([](qai::Fill&) {}).error(), "out of order");
}

TEST_F(Ownership, CancelReachesThePoolOnlyWhileTheAssistantLives) {
  auto one = assistant();
  auto session = one.createSession().value();
  const qai::Canceller canceller = one.canceller();
  const qai::Canceller ofSession = session.canceller();
  canceller.cancel();
  one = {};
  ofSession.cancel();
  EXPECT_THAT(libraryLog(), Contains("call cancel").Times(2));
  session = {};
  canceller.cancel();
  ofSession.cancel();
  EXPECT_THAT(libraryLog(), Contains("call cancel").Times(2));
}

TEST_F(Ownership, CancelWithoutAPoolDoesNothing) {
  const qai::Assistant one(OPENAI_v1, "key", "host", nullptr);
  one.canceller().cancel();
  qai::Canceller().cancel();
  EXPECT_EQ(one.pool(), nullptr);
}

/// What an assistant answers that is not there.
void expectEmpty(qai::Assistant& assistant) {
  EXPECT_FALSE(assistant);
  EXPECT_EQ(assistant.native(), nullptr);
  EXPECT_EQ(assistant.pool(), nullptr);
  EXPECT_EQ(assistant.models().error(), "Assistant is empty");
  EXPECT_EQ(assistant.createSession().error(), "Assistant is empty");
  EXPECT_EQ(assistant.loadSession("{}").error(), "Assistant is empty");
  EXPECT_EQ(assistant.configure([](qai::Fill& fill) { fill.model("m"); }).error(), "Assistant is empty");
  EXPECT_FALSE(assistant.properties());
  assistant.canceller().cancel();
}

TEST_F(Ownership, EmptyAssistantGivesErrors) {
  qai::Assistant none;
  expectEmpty(none);
  qai::Assistant one = assistant();
  const qai::Assistant moved = std::move(one);
  EXPECT_TRUE(moved);
  expectEmpty(one);  // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move): what is left is defined
}

TEST_F(Ownership, EmptySessionGivesErrors) {
  auto session = assistant().createSession().value();
  const qai::Session moved = std::move(session);
  // NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move): what is left is defined
  EXPECT_FALSE(session);
  EXPECT_EQ(session.ask("q").error(), "Session is empty");
  EXPECT_EQ(session.ask("q", [](std::string_view) {}).error(), "Session is empty");
  EXPECT_EQ(session.destroy().error(), "Session is empty");
  EXPECT_EQ(session.save(), "");
  EXPECT_EQ(session.native(), nullptr);
  session.canceller().cancel();
  // NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
  EXPECT_EQ(moved.save(), "saved");
}

TEST_F(Ownership, EmptyMessageAndPropertiesReadAsNothing) {
  const qai::Message message;
  EXPECT_FALSE(message);
  EXPECT_EQ(message.text(), "");
  EXPECT_THAT(message.sections(), IsEmpty());
  EXPECT_EQ(message.role(), qai::Role::Assistant);
  EXPECT_EQ(message.created().time_since_epoch().count(), 0);
  EXPECT_FALSE(message.details());
  const qai::Properties properties;
  EXPECT_FALSE(properties);
  EXPECT_EQ(properties.model(), "");
  EXPECT_TRUE(properties.get("model").isNull());
  EXPECT_THAT(properties.systemInstructions(), IsEmpty());
  EXPECT_THAT(properties.keys(), IsEmpty());
}

TEST_F(Ownership, MessageJoinsItsSections) {
  libraryScript().sections = {"one, ", "", "two"};
  const auto reply = assistant().createSession().value().ask("q");
  EXPECT_EQ(reply->text(), "one, two");
  EXPECT_EQ(reply->sections().size(), 3U);
  EXPECT_EQ(reply->role(), qai::Role::Assistant);
  EXPECT_EQ(reply->created().time_since_epoch(), std::chrono::seconds(1'700'000'000));
}

TEST_F(Ownership, SettingsReachTheLibrary) {
  CMRestGlobalSettings settings;
  settings.userAgent = "shop";
  qai::setHTTPSettings(settings);
  EXPECT_THAT(libraryLog(), ElementsAre("settings of shop"));
}

// Owners move and are not copied; a handle is as large as the pointers in it.
static_assert(!std::is_copy_constructible_v<qai::Assistant> && std::is_nothrow_move_constructible_v<qai::Assistant>);
static_assert(!std::is_copy_constructible_v<qai::Session> && std::is_nothrow_move_constructible_v<qai::Session>);
static_assert(!std::is_copy_constructible_v<qai::Message> && std::is_nothrow_move_constructible_v<qai::Message>);
static_assert(std::is_nothrow_move_assignable_v<qai::Session> && std::is_nothrow_move_assignable_v<qai::Assistant>);
static_assert(std::is_copy_constructible_v<qai::Canceller>);
static_assert(sizeof(qai::Owned<IQAISession>) == sizeof(void*));
static_assert(sizeof(qai::Message) == sizeof(void*));
static_assert(sizeof(qai::Assistant) == 2 * sizeof(void*));
static_assert(sizeof(qai::Session) == 3 * sizeof(void*));
static_assert(sizeof(qai::Fill) == sizeof(void*) + sizeof(std::vector<std::string>));
static_assert(sizeof(qai::Result<qai::Message>) == sizeof(std::pair<IQAIMessage*, std::string>));

}  // namespace
