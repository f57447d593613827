// Sixteen assistants of all services at work on sixteen threads, while further threads cancel. QAI_THREADS_TURNS says
// how often each asks; ./test --threads has each ask a thousand times under ThreadSanitizer.
#include "worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <standin.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::IsEmpty;

constexpr int kWorkers = 16;
constexpr int kCancellers = 3;
constexpr int kEverydayTurns = 50;
constexpr const char* kUserAgent = "threads-test";

std::atomic<int> translations{0};

int turnsOfEach() {
  const char* given = std::getenv("QAI_THREADS_TURNS");
  return given == nullptr ? kEverydayTurns : std::atoi(given);
}

/// The host's settings for the whole library, made before any assistant works.
class WholeLibrary {
 public:
  WholeLibrary() {
    qai::setTranslation([](std::string_view) {
      ++translations;
      return std::string(kTranslated);
    });
    CMRestGlobalSettings settings;
    settings.userAgent = kUserAgent;
    qai::setHTTPSettings(settings);
  }
  ~WholeLibrary() {
    qai::setTranslation(nullptr);
    qai::setHTTPSettings({});
  }
  WholeLibrary(const WholeLibrary&) = delete;
  WholeLibrary& operator=(const WholeLibrary&) = delete;
};

class Crowd : public testing::Test {
 protected:
  /// Has everyone work, each on a thread, until all are done.
  void work() {
    CancelDesk desk(kCancellers);
    const std::vector<TestedService> services = allServices();
    for (int i = 0; i < kWorkers; ++i) {
      const TestedService& service = services[static_cast<std::size_t>(i) % services.size()];
      workers_.push_back(std::make_unique<Worker>(service, i, standin_.address(), desk));
    }
    std::vector<std::thread> threads;
    for (const auto& worker : workers_) threads.emplace_back([&worker] { worker->work(turnsOfEach()); });
    for (std::thread& thread : threads) thread.join();
  }

  int sum(int Tally::*count) const {
    int total = 0;
    for (const auto& worker : workers_) total += worker->tally().*count;
    return total;
  }

  /// The worker whose last question is in `body`; null when there is none.
  const Worker* findAsker(const std::string& body) const {
    const auto found = std::find_if(workers_.begin(), workers_.end(), [&](const auto& worker) {
      return body.find(worker->signature()) != std::string::npos;
    });
    return found == workers_.end() ? nullptr : found->get();
  }

  const WholeLibrary settings_;
  const standin::Server standin_;
  std::vector<std::unique_ptr<Worker>> workers_;
};

std::string textOf(const standin::Request& request) {
  std::string text = request.body;
  for (const auto& [name, value] : request.query) text += " " + value;
  for (const auto& [name, value] : request.headers) text += " " + value;
  return text;
}

TEST_F(Crowd, EveryTurnIsAnsweredOrCancelledAndEveryCancelEndsExactlyOne) {
  const int translatedBefore = translations;
  work();
  int cancelled = 0;
  for (const auto& worker : workers_) {
    const Tally& tally = worker->tally();
    EXPECT_THAT(tally.defects, IsEmpty());
    EXPECT_GE(tally.asked, turnsOfEach());
    EXPECT_EQ(tally.asked, tally.answered + tally.stopped + static_cast<int>(tally.cancelled.size()))
        << worker->service().name;
    EXPECT_GE(tally.streamed, tally.asked / 4);
    EXPECT_EQ(tally.cancels, static_cast<int>(tally.cancelled.size())) << worker->service().name;
    EXPECT_EQ(tally.cancels > 0, worker->service().usesPool) << worker->service().name;
    cancelled += static_cast<int>(tally.cancelled.size());
  }
  EXPECT_EQ(translations - translatedBefore, sum(&Tally::translated));

  int sent = 0;  // turns that were cancelled in flight
  for (const standin::Request& request : standin_.requests()) {
    EXPECT_EQ(request.header("User-Agent"), kUserAgent);
    const Worker* asker = findAsker(request.body);
    if (asker == nullptr) continue;
    EXPECT_EQ(textOf(request).find(asker->key()) != std::string::npos, asker->service().usesKey());
    for (const std::string& text : asker->tally().cancelled) {
      if (request.body.find(text) != std::string::npos) ++sent;
    }
  }
  EXPECT_GT(sent, 0);
  RecordProperty("asked", sum(&Tally::asked));
  RecordProperty("streamed", sum(&Tally::streamed));
  RecordProperty("stopped", sum(&Tally::stopped));
  RecordProperty("cancelled", cancelled);
  RecordProperty("cancelled_in_flight", sent);
  RecordProperty("requests", static_cast<int>(standin_.requests().size()));
}

}  // namespace
