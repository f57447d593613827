// qai.hpp takes no allocation that qai.h does not take: the same calls, counted through both.
#include "hpp_fixture.h"
#include "support/allocation_probe.h"

#include <functional>
#include <string_view>
#include <vector>

namespace {

/// The allocations of `call` on this thread; the stand-in's are on others.
std::size_t allocationsOf(const std::function<void()>& call) {
  const std::size_t before = allocationCount();
  call();
  return allocationCount() - before;
}

/// What each step of one conversation takes.
struct Steps {
  std::vector<std::size_t> turns, streamedTurns;
  std::size_t creation, settings, reading, models, session, saving, restoring, end;
};

const std::string kQuestion = "a question that does not fit into a short string";

class Cost : public EachHost {
 protected:
  Steps plain() {
    Steps steps{};
    const std::string address = standin_.address();
    Owned<IQAIAssistant> assistant;
    Owned<IQAISession> session;
    Owned<IQAISession> restored;
    std::string saved;
    steps.creation = allocationsOf(
        [&] { assistant.reset(QAICreateAssistant(service_.type, CF::createHTTPPoolCenter(), kKey, address)); });
    steps.settings = allocationsOf([&] {
      assistant->setAssistantProperties([this](IQAIProperties* properties) {
        properties->setProperty("model", service_.model);
        properties->setProperty("temperature", "0.5");
      });
    });
    steps.reading = allocationsOf([&] { property(*assistant, service_.keepsConversations); });
    steps.models = allocationsOf([&] { assistant->obtainAvailableModels(); });
    steps.session = allocationsOf([&] { session.reset(assistant->createSession().first); });
    for (int turn = 0; turn < 4; ++turn) {
      steps.turns.push_back(allocationsOf([&] {
        const auto [message, error] = assistant->addMessage(session.get(), kQuestion);
        const Owned<IQAIMessage> reply(message);
      }));
    }
    std::size_t size = 0;
    for (int turn = 0; turn < 2; ++turn) {
      steps.streamedTurns.push_back(allocationsOf([&] {
        const auto count = [&size](std::string_view piece) { return (size += piece.size()) > 0; };
        const auto [message, error] = qaiExtension<IQAIStreaming>(assistant.get())
                                          ->addMessageStreaming(session.get(), kQuestion, {}, std::ref(count));
        const Owned<IQAIMessage> reply(message);
      }));
    }
    steps.saving = allocationsOf([&] { saved = session->obtainSessionData(); });
    steps.end = allocationsOf([&] { assistant->destroySession(session.get()); });
    session.reset();
    steps.restoring = allocationsOf([&] { restored.reset(assistant->loadSession(saved).first); });
    return steps;
  }

  Steps convenient() {
    Steps steps{};
    const std::string address = standin_.address();
    qai::Assistant assistant;
    qai::Session session;
    qai::Session restored;
    std::string saved;
    steps.creation = allocationsOf([&] { assistant = qai::Assistant(service_.type, kKey, address); });
    steps.settings = allocationsOf([&] {
      EXPECT_TRUE(assistant.configure([this](qai::Fill& fill) { fill.model(service_.model).temperature(0.5); }));
    });
    steps.reading = allocationsOf([&] { assistant.properties().model(); });
    steps.models = allocationsOf([&] { static_cast<void>(assistant.models()); });
    steps.session = allocationsOf([&] { session = assistant.createSession().value(); });
    for (int turn = 0; turn < 4; ++turn) {
      steps.turns.push_back(allocationsOf([&] { static_cast<void>(session.ask(kQuestion)); }));
    }
    std::size_t size = 0;
    for (int turn = 0; turn < 2; ++turn) {
      steps.streamedTurns.push_back(allocationsOf([&] {
        static_cast<void>(session.ask(kQuestion, [&size](std::string_view piece) { size += piece.size(); }));
      }));
    }
    steps.saving = allocationsOf([&] { saved = session.save(); });
    steps.end = allocationsOf([&] { static_cast<void>(session.destroy()); });
    steps.restoring = allocationsOf([&] { restored = assistant.loadSession(saved).value(); });
    return steps;
  }

 private:
  static std::string property(IQAIAssistant& assistant, bool isItsOwn) {
    IQAIProperties* properties = assistant.obtainAssistantProperties();
    const Owned<IQAIProperties> copy(isItsOwn ? nullptr : properties);
    return properties->obtainProperty("model").stringValue();
  }
};
INSTANTIATE_TEST_SUITE_P(All, Cost, testing::ValuesIn(allServices()), serviceName);

TEST_P(Cost, IsThatOfThePlainInterface) {
  plain();  // a process's first requests make what stays
  const Steps expected = plain();
  const Steps steps = convenient();
  EXPECT_EQ(steps.turns, expected.turns);
  EXPECT_GT(steps.turns.back(), 0U);
  EXPECT_EQ(steps.streamedTurns, expected.streamedTurns);
  EXPECT_GT(steps.streamedTurns.back(), 0U);
  EXPECT_EQ(steps.creation, expected.creation + 1) << "what the assistant and its sessions share";
  EXPECT_EQ(steps.settings, expected.settings);
  EXPECT_EQ(steps.reading, expected.reading);
  EXPECT_EQ(steps.models, expected.models);
  EXPECT_EQ(steps.session, expected.session);
  EXPECT_EQ(steps.saving, expected.saving);
  EXPECT_EQ(steps.end, expected.end);
  EXPECT_EQ(steps.restoring, expected.restoring);
}

// The argument, the member on its way into the settings, and the settings: not the text once more to read it.
TEST_P(Cost, OfRestoringIsNoFurtherCopyOfTheText) {
  constexpr std::ptrdiff_t kSize = 1'000'000;
  const std::string saved =
      R"({"assistant_id":"a","thread_id":"t","user_instructions":")" + std::string(kSize, 'x') + R"(","messages":[]})";
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(service_.type, nullptr, kKey, standin_.address()));
  const std::ptrdiff_t before = allocatedBytes();
  mostAllocatedBytes();
  const Owned<IQAISession> restored(assistant->loadSession(saved).first);
  EXPECT_LT(mostAllocatedBytes() - before, kSize * 7 / 2);
  EXPECT_NE(restored, nullptr);
}

}  // namespace
