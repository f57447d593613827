// A host that forks.
#include "../contract/hpp_fixture.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using testing::Not;
using testing::StartsWith;

class Fork : public EachHost {
 protected:
  std::string askNewAssistant() const {
    auto assistant = host();
    auto session = assistant.createSession().value();
    return ask(session, "question");
  }

  /// Whether a forked process got a reply by an assistant of its own.
  bool childAsks() const {
    const pid_t child = fork();
    if (child == 0) _exit(askNewAssistant().starts_with("error: ") ? 1 : 0);
    int status = 1;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
  }
};
INSTANTIATE_TEST_SUITE_P(All, Fork, testing::ValuesIn(allServices()), serviceName);

TEST_P(Fork, ChildMakesAssistantsOfItsOwnAndThoseOfTheParentGoOn) {
  auto assistant = host();
  auto session = assistant.createSession().value();
  EXPECT_THAT(ask(session, "question"), Not(StartsWith("error: ")));
  const std::size_t before = standin_.connectionCount();
  EXPECT_TRUE(childAsks());
  const std::size_t between = standin_.connectionCount();
  EXPECT_GT(between, before);
  EXPECT_THAT(ask(session, "question"), Not(StartsWith("error: ")));
  EXPECT_EQ(standin_.connectionCount(), between + (service_.usesPool ? 0 : 1)) << "the kept connection still serves";
}

TEST_P(Fork, ChildMayBeTheFirstToUseTheLibrary) { EXPECT_TRUE(childAsks()); }

}  // namespace
