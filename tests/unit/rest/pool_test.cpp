// The pool centre: connections that last, and requests that are cancelled.
#include "rest_caller.h"
#include "support/meeting.h"
#include "support/platform.h"
#include "support/test_ca.h"

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace {

using namespace std::chrono_literals;
using raw::Call;
using raw::Close;
using raw::Send;
using raw::Stall;

const std::string kOk = raw::reply(200, "{}");

class Pool : public testing::Test {
 protected:
  Pool() { caller_.session.httpPoolCenter = pool_.get(); }

  void expectCancelled(const RestResult& outcome) const {
    expectFailure(outcome, CFRestError::Cancelled, "The request was cancelled");
  }

  std::unique_ptr<ICSHTTPPoolCenter> pool_{CF::createHTTPPoolCenter()};
  RestCaller caller_;
};

TEST_F(Pool, KeepsOneConnectionForAllRequests) {
  RawServer server(kOk);
  COJson json;
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(caller_.get(server.getURL() + "/get", {{"i", std::to_string(i)}}).code, 0);
    EXPECT_EQ(caller_.post(server.getURL() + "/post", &json).code, 0);
    EXPECT_EQ(caller_.post(server.getURL() + "/post", nullptr).code, 0);
    EXPECT_EQ(caller_.remove(server.getURL() + "/delete").code, 0);
  }
  EXPECT_EQ(server.getConnections(), 1U);
  ASSERT_EQ(server.getRequests().size(), 20U);
  // Nothing of a request stays behind for the next.
  EXPECT_TRUE(server.getRequests()[16].starts_with("GET /get?i=4 ")) << server.getRequests()[16];
  EXPECT_TRUE(server.getRequests()[16].ends_with("\r\n\r\n")) << server.getRequests()[16];
  EXPECT_TRUE(server.getRequests()[19].starts_with("DELETE /delete ")) << server.getRequests()[19];
}

TEST_F(Pool, ServesSeveralServersInTurn) {
  RawServer first(raw::reply(200, "1"));
  RawServer second(raw::reply(200, "2"));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(bodyOf(caller_.get(first.getURL())), "1");
    EXPECT_EQ(bodyOf(caller_.get(second.getURL())), "2");
  }
  EXPECT_EQ(first.getConnections(), 1U);
  EXPECT_EQ(second.getConnections(), 1U);
}

TEST_F(Pool, KeepsOneSecureConnectionWithOneHandshake) {
  const TestCA ca;
  RawServer server({{Send{kOk}}}, makeTLSContext(ca.issue("localhost")));
  caller_.settings.caFile = ca.getFile();
  for (int i = 0; i < 5; ++i) EXPECT_EQ(caller_.get(server.getURL()).code, 0);
  EXPECT_EQ(server.getConnections(), 1U);
  EXPECT_EQ(server.getHandshakes(), 1U);
}

TEST_F(Pool, ResumesTheTLSSessionOnAnotherConnection) {
  if (isWine()) GTEST_SKIP() << "Wine's Schannel never resumes a session";
  const TestCA ca;
  RawServer server({{Send{kOk}, Close{}}}, makeTLSContext(ca.issue("localhost")));
  caller_.settings.caFile = ca.getFile();
  for (std::size_t i = 1; i <= 3; ++i) {
    EXPECT_EQ(caller_.get(server.getURL()).code, 0);
    EXPECT_TRUE(server.waitForEnds(i));
  }
  EXPECT_EQ(server.getHandshakes(), 3U);
  EXPECT_EQ(server.getResumedHandshakes(), 2U);
}

TEST_F(Pool, DoesNotReuseAConnectionThatAnotherAuthorityVouchedFor) {
  const TestCA ca;
  const TestCA other;
  RawServer server({{Send{kOk}}}, makeTLSContext(ca.issue("localhost")));
  caller_.settings.caFile = ca.getFile();
  EXPECT_EQ(caller_.get(server.getURL()).code, 0);
  caller_.settings.caFile = other.getFile();
  EXPECT_EQ(caller_.get(server.getURL()).code, toCode(CFRestError::TLSFailed));
  EXPECT_EQ(server.getRequests().size(), 1U);
}

TEST_F(Pool, ReconnectsWhenTheServerClosedInBetween) {
  RawServer server({{Send{kOk}, Close{}}});
  for (std::size_t i = 1; i <= 3; ++i) {
    const RestResult outcome = caller_.post(server.getURL(), nullptr);
    EXPECT_EQ(outcome.code, 0) << outcome.text;
    EXPECT_TRUE(server.waitForEnds(i));
  }
  EXPECT_EQ(server.getConnections(), 3U);
}

// As servers do before they close a connection that was idle for long.
TEST_F(Pool, DoesNotTakeWhatCameUnaskedForTheNextReply) {
  std::promise<void> answered;
  RawServer server({{Send{kOk}, Call{[&] { answered.get_future().wait(); }}, Send{raw::reply(408, "idle")}, Close{}},
                    {Send{raw::reply(200, "[]")}}});
  EXPECT_EQ(caller_.get(server.getURL()).code, 0);
  answered.set_value();
  EXPECT_TRUE(server.waitForEnds(1));
  const RestResult outcome = caller_.get(server.getURL());
  EXPECT_EQ(outcome.code, 0) << outcome.text;
  EXPECT_EQ(bodyOf(outcome), "[]");
  EXPECT_EQ(server.getRequests().size(), 2U);
}

TEST_F(Pool, WorksAgainAfterEachFailure) {
  RawServer server(
      {{Close{}}, {Send{kOk}}, {Stall{}}, {Send{kOk}}, {Send{"HTTP/1.1 200 OK\r\n"}, raw::Reset{}}, {Send{kOk}}});
  caller_.settings.totalTimeout = 500ms;
  for (int i = 0; i < 3; ++i) {
    EXPECT_NE(caller_.get(server.getURL()).code, 0);
    EXPECT_EQ(caller_.get(server.getURL()).code, 0);
  }
}

TEST(WithoutPool, EachRequestHasItsConnection) {
  RawServer server(kOk);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(RestCaller{}.get(server.getURL()).code, 0);
  EXPECT_EQ(server.getConnections(), 3U);
}

TEST(WithoutPool, APoolOfAnotherMakeIsLeftAlone) {
  class Foreign final : public ICSHTTPPoolCenter {
    void cancel() noexcept override {}
  } foreign;
  RawServer server(kOk);
  RestCaller caller;
  caller.session.httpPoolCenter = &foreign;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(caller.get(server.getURL()).code, 0);
  EXPECT_EQ(server.getConnections(), 3U);
}

TEST(Descriptors, AreBackAfterAHundredRequests) {
  const auto request = [] {
    RawServer server({{Send{kOk}}, {Close{}}});
    RestCaller caller;
    const std::unique_ptr<ICSHTTPPoolCenter> pool(CF::createHTTPPoolCenter());
    for (ICSHTTPPoolCenter* center : {pool.get(), static_cast<ICSHTTPPoolCenter*>(nullptr)}) {
      caller.session.httpPoolCenter = center;
      caller.get(server.getURL());
    }
  };
  request();
  const std::size_t before = countDescriptors();
  for (int i = 0; i < 50; ++i) request();
  EXPECT_EQ(countDescriptors(), before);
}

TEST_F(Pool, CancelEndsARequestInFlightAtOnce) {
  RawServer server({{Stall{}}});
  RestResult outcome;
  std::thread thread([&] { outcome = caller_.get(server.getURL()); });
  EXPECT_TRUE(server.waitForRequests(1));
  const auto begin = std::chrono::steady_clock::now();
  pool_->cancel();
  thread.join();
  const auto time = std::chrono::steady_clock::now() - begin;
  expectCancelled(outcome);
  EXPECT_LT(time, 1s);
  RecordProperty("microseconds", static_cast<int>(time / 1us));
}

TEST_F(Pool, CancelEndsAReplyThatNeverEnds) {
  RawServer server({{Send{"HTTP/1.1 200 OK\r\n\r\n"}, raw::SendForever{"x"}}});
  caller_.settings.maxReplyBytes = std::size_t{1} << 40;
  RestResult outcome;
  std::thread thread([&] { outcome = caller_.get(server.getURL()); });
  EXPECT_TRUE(server.waitForRequests(1));
  pool_->cancel();
  thread.join();
  expectCancelled(outcome);
}

TEST_F(Pool, CancelBeforehandEndsTheNextRequestUnsentAndOnlyThat) {
  RawServer server(kOk);
  pool_->cancel();
  pool_->cancel();
  expectCancelled(caller_.get(server.getURL()));
  EXPECT_EQ(server.getConnections(), 0U);
  EXPECT_EQ(caller_.get(server.getURL()).code, 0);
}

TEST_F(Pool, CancelThatIsTakenBackEndsNothing) {
  RawServer server(kOk);
  pool_->cancel();
  pool_->dropCancel();
  EXPECT_EQ(caller_.get(server.getURL()).code, 0);
  pool_->dropCancel();  // of none
  pool_->cancel();
  expectCancelled(caller_.get(server.getURL()));
}

TEST_F(Pool, OfAHostThatKnowsNoStatusTellsNone) {
  struct HostsOwn : ICSHTTPPoolCenter {
    void cancel() noexcept override {}
  };
  EXPECT_EQ(HostsOwn().obtainLastStatus(), 0);
}

TEST_F(Pool, TellsTheStatusOfTheLastReplyThatCameWhole) {
  EXPECT_EQ(pool_->obtainLastStatus(), 0);
  RawServer made(raw::reply(201, "{}"));
  RawServer refused(raw::reply(401, "{}"));
  RawServer broken({{Send{"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{"}, Close{}}});
  const std::vector<std::pair<std::string, std::int32_t>> requests = {{made.getURL(), 201},
                                                                      {refused.getURL(), 401},
                                                                      {"ftp://nothing.is.sent", 0},
                                                                      {made.getURL(), 201},
                                                                      {broken.getURL(), 0}};
  for (const auto& [url, status] : requests) {
    caller_.get(url);
    EXPECT_EQ(pool_->obtainLastStatus(), status) << url;
  }
}

TEST_F(Pool, CancelledRequestLeavesAPoolThatWorks) {
  RawServer server({{Call{[this] { pool_->cancel(); }}, Stall{}}, {Send{kOk}}});
  expectCancelled(caller_.get(server.getURL()));
  EXPECT_EQ(caller_.get(server.getURL()).code, 0);
  EXPECT_EQ(caller_.get(server.getURL()).code, 0);
  EXPECT_EQ(server.getConnections(), 2U);
}

TEST_F(Pool, ServesTwoThreadsAtOnce) {
  Meeting bothAsked(2);  // neither is answered before both have asked
  RawServer server({{Call{[&] { bothAsked.arriveAndWait(); }}, Send{kOk}},
                    {Call{[&] { bothAsked.arriveAndWait(); }}, Send{kOk}},
                    {Send{kOk}}});
  RestResult outcomes[2];
  std::thread threads[2];
  for (int i = 0; i < 2; ++i) threads[i] = std::thread([&, i] { outcomes[i] = caller_.get(server.getURL()); });
  for (std::thread& thread : threads) thread.join();
  for (const RestResult& outcome : outcomes) EXPECT_EQ(outcome.code, 0) << outcome.text;
  EXPECT_EQ(server.getConnections(), 2U);
}

TEST_F(Pool, CancelReachesARequestBesideThePoolsOwn) {
  RawServer server({{Stall{}}});
  RestResult outcomes[2];
  std::thread threads[2];
  for (int i = 0; i < 2; ++i) threads[i] = std::thread([&, i] { outcomes[i] = caller_.get(server.getURL()); });
  EXPECT_TRUE(server.waitForRequests(2));
  pool_->cancel();
  EXPECT_TRUE(server.waitForEnds(1));
  pool_->cancel();
  for (std::thread& thread : threads) thread.join();
  for (const RestResult& outcome : outcomes) expectCancelled(outcome);
}

TEST_F(Pool, CancelMayComeAtAnyMoment) {
  RawServer server(kOk);
  std::atomic<bool> over{false};
  std::thread thread([&] {
    while (!over) {
      pool_->cancel();
      // Without a pause the wake-ups alone keep a busy machine's processors, and Wine's server, from the requests.
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
  });
  for (int i = 0; i < 200; ++i) {
    const RestResult outcome = caller_.get(server.getURL());
    EXPECT_TRUE(outcome.code == 0 || outcome.code == toCode(CFRestError::Cancelled)) << outcome.text;
  }
  over = true;
  thread.join();
}

}  // namespace
