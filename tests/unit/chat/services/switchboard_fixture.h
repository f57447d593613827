// A switchboard with a server for each provider.
#pragma once

#include "services/switchboard.h"
#include "support/request_lines.h"
#include "support/services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

inline const Provider& provider(const char* name) { return *findProvider(name); }
inline const ProviderProfile& profile(const char* name) { return obtainProfile(provider(name)); }

inline constexpr const char* kKeeper = "openai-assistants";  // keeps the conversations
inline constexpr const char* kQuestions[] = {"first question", "second question", "third question"};
inline constexpr const char* kReply = "two parts";  // the table's

inline constexpr const char* kCompletion = R"({"choices":[{"message":{"role":"assistant","content":"noted"}}]})";

inline constexpr const char* kCreateAssistant = "POST /v1/assistants";
inline constexpr const char* kCreateThread = "POST /v1/threads";
inline constexpr const char* kDeleteThread = "DELETE /v1/threads/thread_standin_1";
inline constexpr const char* kDeleteAssistant = "DELETE /v1/assistants/asst_standin_1";

/// A service per provider, with a key of its own, which knows the models that are named here.
class SwitchboardTest : public testing::Test {
 protected:
  Endpoint choose(const Provider& wanted) const {
    if (refused_ == &wanted) throw HostError("no such place");
    return {.provider = &wanted,
            .host = servers_.at(&wanted).address(),
            .apiKey = keyOf(wanted),
            .secrets = {},
            .settings = {}};
  }

  static std::string keyOf(const Provider& wanted) { return std::string(wanted.name) + "-key"; }

  Switchboard open(const char* first) {
    const ::Setup setup{.model = "standin-small",
                        .temperature = "0.7",
                        .instructions = "Be brief.",
                        .productName = "SQLite",
                        .structureJson = R"([{"schemas":[{"tables":[{"name":"orders","fields":[]}]}]}])"};
    return {provider(first), [this](const Provider& wanted) { return choose(wanted); }, setup, err_};
  }

  standin::Server& server(const char* name) { return servers_[&provider(name)]; }
  standin::Request lastRequest(const char* name, std::ptrdiff_t fromTheEnd = 1) {
    const auto requests = server(name).requests();
    return *(requests.end() - fromTheEnd);
  }

  std::string ask(Switchboard& board, const TestedService& asked, const char* question) {
    server(asked.provider).script({.status = 200, .body = asked.replyBody, .headers = {}});
    const Answer answer = board.ask({question});
    EXPECT_EQ(answer.error, "");
    return answer.text;
  }

  /// Runs `act`, and calls it off when `asked` has got its request number `count`.
  static void cancelAt(Switchboard& board, const standin::Server& asked, std::size_t count,
                       const std::function<void()>& act) {
    std::thread user([&] {
      while (asked.requests().size() < count) std::this_thread::yield();
      EXPECT_TRUE(board.cancel());
    });
    act();
    user.join();
    board.dropLateCancel();
  }

  static std::string everything(const standin::Request& request) {
    std::string text = request.path + " " + request.body;
    for (const auto& [name, value] : request.headers) text += " " + name + ": " + value;
    for (const auto& [name, value] : request.query) text += " " + name + "=" + value;
    return text;
  }

  std::map<const Provider*, standin::Server> servers_ = makeServers();
  const Provider* refused_ = nullptr;
  std::ostringstream err_;

 private:
  static std::map<const Provider*, standin::Server> makeServers() {
    std::map<const Provider*, standin::Server> servers;
    for (const Provider& any : kProviders) servers.try_emplace(&any);
    return servers;
  }
};
