// The door to the extensions: who has one, and what stands behind it.
#include "fixture.h"

#include <qai_extensions.h>

namespace {

class Door : public EachService {};
INSTANTIATE_TEST_SUITE_P(All, Door, testing::ValuesIn(allServices()), serviceName);

TEST_P(Door, OfAnAssistantLeadsToItsStreamedTurns) {
  const auto assistant = assistantWith();
  auto* streaming = qaiExtension<IQAIStreaming>(assistant.get());
  ASSERT_NE(streaming, nullptr);
  EXPECT_EQ(qaiExtension<IQAIStreaming>(assistant.get()), streaming) << "a host may keep the pointer";
  EXPECT_EQ(qaiExtension<IQAIMessageDetails>(assistant.get()), nullptr);
}

TEST_P(Door, OfAReplyLeadsToItsDetails) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  ASSERT_NE(session, nullptr);
  const Owned<IQAIMessage> whole(assistant->addMessage(session.get(), "question").first);
  const Owned<IQAIMessage> streamed(qaiExtension<IQAIStreaming>(assistant.get())
                                        ->addMessageStreaming(session.get(), "question", {}, [](auto) { return true; })
                                        .first);
  for (IQAIMessage* reply : {whole.get(), streamed.get()}) {
    ASSERT_NE(reply, nullptr);
    auto* details = qaiExtension<IQAIMessageDetails>(reply);
    ASSERT_NE(details, nullptr);
    EXPECT_EQ(qaiExtension<IQAIMessageDetails>(reply), details);
    EXPECT_EQ(qaiExtension<IQAIStreaming>(reply), nullptr);
  }
}

TEST_P(Door, IsNotThereOfSessionsAndProperties) {
  const auto assistant = assistantWith();
  assistant->setAssistantProperties([](IQAIProperties* fresh) {
    EXPECT_EQ(qaiCastToExtensible(fresh), nullptr);
    EXPECT_EQ(qaiExtension<IQAIStreaming>(fresh), nullptr);
  });
  const auto session = newSession(*assistant);
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(qaiCastToExtensible(session.get()), nullptr);
  EXPECT_EQ(qaiExtension<IQAIMessageDetails>(session.get()), nullptr);
}

TEST_P(Door, GivesNullForWhatItDoesNotKnow) {
  const auto assistant = assistantWith();
  IQAIExtensible* const door = qaiCastToExtensible(assistant.get());
  ASSERT_NE(door, nullptr);
  EXPECT_NE(door->obtainExtension("qai.streaming/1"), nullptr);
  for (const char* id : {"", "qai.streaming", "qai.streaming/", "qai.streaming/2", "qai.streaming/10",
                         "QAI.streaming/1", " qai.streaming/1", "qai.message-details/1", "qai.later/1"}) {
    EXPECT_EQ(door->obtainExtension(id), nullptr) << id;
  }
}

/// A host that was built against a later header.
TEST_P(Door, LeavesOutOptionsThatItDoesNotKnow) {
  struct LaterOptions {
    QAIStreamOptions known;
    std::uint64_t later[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  };
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  const std::atomic<bool> stop{true};
  LaterOptions options;
  options.known.size = sizeof options;
  auto* streaming = qaiExtension<IQAIStreaming>(assistant.get());
  const auto sink = [](std::string_view) { return true; };
  const Owned<IQAIMessage> reply(streaming->addMessageStreaming(session.get(), "one", options.known, sink).first);
  EXPECT_NE(reply, nullptr);
  options.known.stop = &stop;
  EXPECT_EQ(streaming->addMessageStreaming(session.get(), "two", options.known, sink).second, "Stopped");
}

TEST(DoorOfNothing, IsNull) {
  EXPECT_EQ(qaiCastToExtensible(nullptr), nullptr);
  EXPECT_EQ(qaiExtension<IQAIStreaming>(nullptr), nullptr);
  EXPECT_EQ(qaiExtension<IQAIMessageDetails>(nullptr), nullptr);
}

}  // namespace
