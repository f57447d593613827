// Names are looked up on a thread of libcurl's, the only one that works beside the host's.
#include "../contract/hpp_fixture.h"
#include "look_ups.h"
#include "support/meeting.h"

#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

class LookUp : public EachHost {
 protected:
  /// An assistant at the stand-in, by a name.
  qai::Assistant hostByName(const std::string& name) const {
    const std::string server = name + std::string(kTestNames) + ":" + std::to_string(standin_.port());
    return qai::Assistant(service_.type, kKey, "http://" + server);
  }
};
INSTANTIATE_TEST_SUITE_P(All, LookUp, testing::ValuesIn(allServices()), serviceName);

TEST_P(LookUp, OfManyAssistantsRunsOnThreadsOfItsOwnAtOnce) {
  constexpr int kAssistants = 4;
  Meeting allLookUp(kAssistants);  // no look-up ends before all have begun
  std::mutex mutex;
  std::set<std::thread::id> lookers;
  const LookUps lookUps([&](const std::string&) {
    allLookUp.arriveAndWait();
    const std::lock_guard lock(mutex);
    lookers.insert(std::this_thread::get_id());
  });
  std::set<std::thread::id> askers;
  std::vector<std::thread> threads;
  for (int i = 0; i < kAssistants; ++i) {
    threads.emplace_back([this, i] {
      auto assistant = hostByName("host" + std::to_string(i));
      const auto models = assistant.models();
      EXPECT_TRUE(models) << models.error();
    });
    askers.insert(threads.back().get_id());
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::thread::id looker : lookers) EXPECT_EQ(askers.count(looker), 0U);
  EXPECT_FALSE(lookers.empty());
}

class CancelledLookUp : public LookUp {};
INSTANTIATE_TEST_SUITE_P(Pooled, CancelledLookUp, testing::ValuesIn(cancellableServices()), serviceName);

TEST_P(CancelledLookUp, DoesNotHoldUpTheEndOfTheRequestAndMayOutliveTheAssistant) {
  Meeting begun(2);
  Meeting let(2);
  const LookUps lookUps([&](const std::string&) {
    begun.arriveAndWait();
    let.arriveAndWait();
  });
  {
    auto assistant = hostByName("slow");
    std::string error;
    std::thread thread([&] { error = assistant.models().error(); });
    begun.arriveAndWait();
    assistant.canceller().cancel();
    thread.join();
    EXPECT_EQ(error, "The request was cancelled");
  }
  let.arriveAndWait();  // the look-up ends only now
}

}  // namespace
