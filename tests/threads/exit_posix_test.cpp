// A host that exits while a thread of its own is in a turn.
#include "../contract/fixture.h"
#include "support/raw_server.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

namespace {

using namespace std::chrono_literals;

std::promise<void> leaving;       // the static objects of the libraries are gone
std::promise<std::string> asked;  // what the turns came to

/// Registered before the libraries make anything, so that it runs when all of theirs is destroyed.
void waitForTheTurns() {
  leaving.set_value();
  std::future<std::string> turns = asked.get_future();
  if (turns.wait_for(20s) != std::future_status::ready) _exit(2);
  const std::string told = turns.get();
  std::fprintf(stderr, "%s\n", told.c_str());
  _exit(told == "two parts, two parts, with the settings" ? 0 : 1);
}

[[noreturn]] void exitDuringATurn(const TestedService& service) {
  std::atexit(waitForTheTurns);
  const std::string agent(100, 'a');
  auto& server = *new RawServer([&service](const std::string& /*request*/, std::size_t number) {
    const raw::Send reply{raw::reply(200, service.replyBody)};
    if (number == 0) return raw::Script{raw::Call{[] { leaving.get_future().wait(); }}, reply};
    return raw::Script{reply};
  });
  CMRestGlobalSettings settings;
  settings.userAgent = agent;
  QAISetHTTPSettings(settings);
  std::thread([&] {
    const auto assistant =
        Owned<IQAIAssistant>(QAICreateAssistant(service.type, CF::createHTTPPoolCenter(), kKey, server.getURL()));
    assign(*assistant, {{"model", service.model}});
    const auto session = newSession(*assistant);
    std::string told = ask(*assistant, session.get(), "before and after");
    told += ", " + ask(*assistant, session.get(), "after");
    const bool same = server.getRequests().back().find("User-Agent: " + agent + "\r\n") != std::string::npos;
    asked.set_value(told + (same ? ", with the settings" : ", with other settings"));
    std::this_thread::sleep_for(1h);
  }).detach();
  server.waitForRequests(1);
  std::exit(3);
}

class Exit : public testing::TestWithParam<TestedService> {};
INSTANTIATE_TEST_SUITE_P(Chat, Exit, testing::ValuesIn(chatServices()), serviceName);

TEST_P(Exit, DuringATurnLeavesItTheLibrary) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitDuringATurn(GetParam()), testing::ExitedWithCode(0), "");
}

}  // namespace
