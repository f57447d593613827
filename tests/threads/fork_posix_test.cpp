// A host that forks while an assistant keeps a connection.
#include "../contract/fixture.h"
#include "support/test_ca.h"

#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Over TLS, where a connection that two processes write to breaks at once.
class Fork : public testing::TestWithParam<TestedService> {
 protected:
  Fork() {
    CMRestGlobalSettings settings;
    settings.caFile = authority_.getFile();
    QAISetHTTPSettings(settings);
  }
  ~Fork() override { QAISetHTTPSettings({}); }

  Owned<IQAIAssistant> newAssistant() const {
    Owned<IQAIAssistant> assistant(
        QAICreateAssistant(GetParam().type, CF::createHTTPPoolCenter(), kKey, server_.address()));
    EXPECT_EQ(assign(*assistant, {{"model", GetParam().model}}), "");
    return assistant;
  }
  bool answers(IQAIAssistant& assistant, IQAISession* session) const {
    return !ask(assistant, session, "question").starts_with("error: ");
  }

  /// Whether a forked process got a reply by an assistant of its own.
  bool childAsks() const {
    const pid_t child = fork();
    if (child == 0) {
      const auto assistant = newAssistant();
      const auto session = newSession(*assistant);
      _exit(session != nullptr && answers(*assistant, session.get()) ? 0 : 1);
    }
    int status = 1;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
  }

  const TestCA authority_;
  const TestCA::Names certificate_ = authority_.issue("localhost");
  const standin::Server server_{
      {.apiKey = kKey, .certificateFile = certificate_.certificateFile, .privateKeyFile = certificate_.keyFile}};
};
INSTANTIATE_TEST_SUITE_P(All, Fork, testing::ValuesIn(allServices()), serviceName);

TEST_P(Fork, ChildMakesAssistantsOfItsOwnAndThoseOfTheParentGoOn) {
  const auto assistant = newAssistant();
  const auto session = newSession(*assistant);
  EXPECT_TRUE(answers(*assistant, session.get()));
  const std::size_t before = server_.connectionCount();
  EXPECT_TRUE(childAsks());
  const std::size_t between = server_.connectionCount();
  EXPECT_GT(between, before);
  EXPECT_TRUE(answers(*assistant, session.get()));
  EXPECT_EQ(server_.connectionCount(), between + (GetParam().usesPool ? 0 : 1)) << "the kept connection serves on";
}

}  // namespace
