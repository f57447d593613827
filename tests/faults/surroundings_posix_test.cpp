// What the process around the library can do to it: signals, a lack of descriptors, children.
#include "operations.h"
#include "support/platform.h"
#include "support/raw_server.h"
#include "support/test_ca.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace {

raw::Script answerHealthily(const std::string& request, std::size_t /*number*/) {
  const char* body = findHealthyBody(request);
  return {raw::Send{body == nullptr ? raw::reply(404, "") : raw::reply(200, body)}};
}

/// Keeps a signal from the threads that are started meanwhile.
class WithoutSignal {
 public:
  explicit WithoutSignal(int signal) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, &before_);
  }
  ~WithoutSignal() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  WithoutSignal(const WithoutSignal&) = delete;
  WithoutSignal& operator=(const WithoutSignal&) = delete;

 private:
  sigset_t before_{};
};

volatile std::sig_atomic_t alarms = 0;

/// Interrupts the process a thousand times a second, while it lives; system calls are not taken up again.
class Alarms {
 public:
  Alarms() {
    struct sigaction action {};
    action.sa_handler = [](int) { alarms = alarms + 1; };
    sigaction(SIGALRM, &action, &before_);
    set(1000);
  }
  ~Alarms() {
    set(0);
    sigaction(SIGALRM, &before_, nullptr);
  }
  Alarms(const Alarms&) = delete;
  Alarms& operator=(const Alarms&) = delete;

 private:
  static void set(suseconds_t microseconds) {
    const itimerval timer{.it_interval = {0, microseconds}, .it_value = {0, microseconds}};
    setitimer(ITIMER_REAL, &timer, nullptr);
  }
  struct sigaction before_ {};
};

/// Lets the process open no more descriptors than it has.
class NoMoreDescriptors {
 public:
  NoMoreDescriptors() {
    getrlimit(RLIMIT_NOFILE, &before_);
    rlimit few = before_;
    few.rlim_cur = 4;
    if (setrlimit(RLIMIT_NOFILE, &few) != 0) throw std::runtime_error("The limit on descriptors can't be set");
  }
  ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
  NoMoreDescriptors(const NoMoreDescriptors&) = delete;
  NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

 private:
  rlimit before_{};
};

/// One case for each service over http and over https.
class Surroundings : public testing::TestWithParam<std::tuple<FaultedService, bool>> {
 protected:
  Surroundings() {
    CMRestGlobalSettings settings;
    settings.caFile = ca().getFile();
    QAISetHTTPSettings(settings);
  }
  ~Surroundings() override { QAISetHTTPSettings({}); }

  Host makeHost() const {
    Host host;
    host.assistant.reset(QAICreateAssistant(service().type, CF::createHTTPPoolCenter(), kKey, server_.getURL()));
    return host;
  }
  static std::string turn(Host& host) {
    const std::string error = prepareTurn(host);
    if (!error.empty()) return error;
    const Told told = runTurn(host);
    return told.error.empty() ? told.text : told.error;
  }
  static const FaultedService& service() { return std::get<0>(GetParam()); }
  static const TestCA& ca() {
    static const TestCA kCA;
    return kCA;
  }
  static TLSContext tls() {
    static const TLSContext kTLS = makeTLSContext(ca().issue("localhost"));
    return std::get<1>(GetParam()) ? kTLS : nullptr;
  }

  const WithoutSignal withoutAlarms_{SIGALRM};
  const RawServer server_{&answerHealthily, tls()};
};
INSTANTIATE_TEST_SUITE_P(Services, Surroundings,
                         testing::Combine(testing::ValuesIn(faultedServices()), testing::Bool()), [](const auto& row) {
                           const bool secure = std::get<1>(row.param);
                           return std::string(std::get<0>(row.param).name) + (secure ? "_https" : "_http");
                         });

TEST_P(Surroundings, AThousandAlarmsASecondDisturbNothing) {
  sigset_t alarm;
  sigemptyset(&alarm);
  sigaddset(&alarm, SIGALRM);
  pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
  const Alarms running;
  alarms = 0;
  int turns = 0;
  for (; alarms < 50; ++turns) {
    Host host = makeHost();
    ASSERT_EQ(turn(host), kReply);
    ASSERT_EQ(turn(host), kReply);
  }
  EXPECT_GE(turns, 1);
}

TEST_P(Surroundings, WithoutDescriptorsARequestFailsAndTheNextWorks) {
  Host host = makeHost();
  std::string error;
  {
    const NoMoreDescriptors shortage;
    error = runModels(host).error;
  }
  EXPECT_NE(error, "");
  EXPECT_NE(error.find(server_.getURL().substr(server_.getURL().rfind(':'))), std::string::npos) << error;
  EXPECT_EQ(error.find("canary"), std::string::npos);
  EXPECT_EQ(turn(host), kReply);
}

TEST_P(Surroundings, AssistantMadeWithoutDescriptorsWorksOnceThereAreSome) {
  Host host;
  {
    const NoMoreDescriptors shortage;
    host = makeHost();
    EXPECT_NE(runModels(host).error, "");
  }
  EXPECT_EQ(turn(host), kReply);
}

TEST_P(Surroundings, ChildAsksWithAnAssistantOfItsOwnAndDisturbsNothing) {
  Host host = makeHost();
  ASSERT_EQ(turn(host), kReply);
  const std::size_t connections = server_.getConnections();
  const pid_t child = fork();
  ASSERT_NE(child, -1);
  if (child == 0) {
    Host own = makeHost();
    _exit(turn(own) == kReply ? 0 : 1);  // the parent's connections are in the child as well, and just closed
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << status;
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_GT(server_.getConnections(), connections);
  EXPECT_EQ(turn(host), kReply);
}

}  // namespace
