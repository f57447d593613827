// What every provider has in common, each against its stand-in.
#include "support/request_lines.h"
#include "support/services.h"
#include "workplace.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <utility>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* kKeptQuestion =
    "POST /v1/assistants\n"
    "POST /v1/threads\n"
    "POST /v1/threads/thread_standin_1/messages\n"
    "POST /v1/threads/thread_standin_1/runs\n"
    "GET /v1/threads/thread_standin_1/runs/run_standin_1\n"
    "GET /v1/threads/thread_standin_1/messages\n"
    "DELETE /v1/threads/thread_standin_1\n"
    "DELETE /v1/assistants/asst_standin_1\n";

class EveryProvider : public Workplace, public testing::WithParamInterface<TestedService> {
 protected:
  static std::vector<std::string> environment() {
    if (!GetParam().usesKey()) return {};
    return {GetParam().keyVariables.back() + "=" + kKey};
  }

  static Command at(const std::string& address, std::vector<std::string> arguments, std::string input = "") {
    arguments.insert(arguments.begin(), {"--provider", GetParam().provider, "--host", address});
    return chat(std::move(arguments), environment(), std::move(input));
  }

  static std::string modelsLine() { return std::string("GET ") + GetParam().modelsPath + "\n"; }

  /// What follows that for one question, a line each.
  static std::string questionLines() {
    if (GetParam().keepsConversations) return kKeptQuestion;
    const std::string models = runCommand(at(standin::Server().address(), {"--list-models"})).out;
    const std::string first = models.substr(0, models.find('\n'));
    return "POST " + withModel(GetParam(), GetParam().chatPath, first) + "\n";
  }

  static void expectKeyInItsPlace(const standin::Request& request) {
    const KeyWay way = GetParam().key;
    const std::pair<std::string, std::string> inQuery{"key", kKey};
    EXPECT_EQ(std::count(request.query.begin(), request.query.end(), inQuery), way == KeyWay::Query ? 1 : 0);
    EXPECT_EQ(request.header("Authorization"), way == KeyWay::Bearer ? std::string("Bearer ") + kKey : "");
    EXPECT_THAT(request.body, Not(HasSubstr(kKey)));
  }
};

TEST_P(EveryProvider, AnswersAQuestion) {
  const standin::Server server;
  const ProgramRun outcome = runCommand(at(server.address(), {"--temperature", "0.5", "--instructions", "Be brief.",
                                                              shop_, "How many customers are there?"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("customers"));
  EXPECT_EQ(joinLines(requestLines(server)), modelsLine() + questionLines());
  std::string sent;
  for (const standin::Request& request : server.requests()) {
    sent += request.body;
    expectKeyInItsPlace(request);
  }
  for (const char* part : {"How many customers", "Be brief.", R"("temperature":0.5)", "CREATE TABLE `customers`"}) {
    EXPECT_THAT(sent, HasSubstr(part));
  }
}

TEST_P(EveryProvider, HoldsAPipedConversation) {
  const standin::Server server;
  const ProgramRun outcome =
      runCommand(at(server.address(), {shop_}, "How many customers are there?\nWhat did I ask before?\n"));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr(R"(you asked before: "How many customers are there?")"));
}

TEST_P(EveryProvider, ListsModels) {
  const standin::Server server;
  const ProgramRun outcome = runCommand(at(server.address(), {"--list-models"}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_GE(countLines(outcome.out), 1U);
  EXPECT_EQ(joinLines(requestLines(server)), modelsLine());
}

TEST_P(EveryProvider, ShowsThePromptWithoutTheKeyAndSendsNothing) {
  const standin::Server server;
  const ProgramRun outcome = runCommand(at(server.address(), {"--show-prompt", shop_}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.out, HasSubstr("CREATE TABLE `customers`"));
  EXPECT_EQ(outcome.out, runCommand(chat({"--show-prompt", shop_})).out) << "all services are told the same";
  EXPECT_THAT(outcome.out, Not(HasSubstr(kKey)));
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(server.connectionCount(), 0U);
}

TEST_P(EveryProvider, TellsThatItCannotBeReached) {
  const RefusingAddress nobody;
  const ProgramRun outcome = runCommand(at(nobody.text(), {shop_, "q"}));
  EXPECT_EQ(outcome.code, 69);
  EXPECT_THAT(outcome.err, HasSubstr("connection refused"));
  EXPECT_THAT(outcome.err, Not(HasSubstr(kKey)));
  EXPECT_EQ(countLines(outcome.err), 1U);
}

class EveryProviderWithAKey : public EveryProvider {};

TEST_P(EveryProviderWithAKey, TellsThatItIsRefused) {
  standin::Options options;
  options.apiKey = "another key";
  const standin::Server server(options);
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{shop_, "q"}, std::vector<std::string>{"--model", kModel, shop_, "q"}}) {
    const ProgramRun outcome = runCommand(at(server.address(), arguments));
    EXPECT_EQ(outcome.code, 77) << outcome.err;
    EXPECT_THAT(outcome.err, Not(HasSubstr(kKey)));
  }
}

TEST_P(EveryProviderWithAKey, IsStoodInForWithoutIt) {
  const ProgramRun outcome =
      runCommand(chat({"--provider", GetParam().provider, shop_, "How many customers are there?"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("customers"));
  EXPECT_THAT(outcome.err, HasSubstr("rule-based stand-in"));
  EXPECT_THAT(outcome.err, HasSubstr("set " + GetParam().keyVariables.front()));
  EXPECT_THAT(outcome.err, HasSubstr(std::string(" to ask ") + GetParam().title + "."));
}

std::vector<TestedService> allWithAKey() {
  std::vector<TestedService> services = allServices();
  std::erase_if(services, [](const TestedService& service) { return !service.usesKey(); });
  return services;
}

std::string nameOf(const testing::TestParamInfo<TestedService>& row) { return row.param.name; }

INSTANTIATE_TEST_SUITE_P(All, EveryProvider, testing::ValuesIn(allServices()), nameOf);
INSTANTIATE_TEST_SUITE_P(Keyed, EveryProviderWithAKey, testing::ValuesIn(allWithAKey()), nameOf);

class Ollama : public Workplace {};

TEST_F(Ollama, IsWhereItsVariableSays) {
  const standin::Server server;
  const std::string port = std::to_string(server.port());
  const ProgramRun outcome =
      runCommand(chat({"--provider", "ollama", "--list-models"}, {"OLLAMA_HOST=0.0.0.0:" + port}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(Ollama, TakesAHostWithoutASchemeAsItsVariable) {
  const standin::Server server;
  const ProgramRun outcome =
      runCommand(chat({"--provider", "ollama", "--host", ":" + std::to_string(server.port()), "--list-models"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(Ollama, ThatIsNotThereIsToldWithWhatToDo) {
  const RefusingAddress nobody;
  const ProgramRun outcome = runCommand(chat({"--provider", "ollama", shop_, "q"}, {"OLLAMA_HOST=" + nobody.text()}));
  EXPECT_EQ(outcome.code, 69);
  EXPECT_THAT(outcome.out, IsEmpty());
  for (const char* part : {"connection refused", "ollama serve", "--host", "OLLAMA_HOST"}) {
    EXPECT_THAT(outcome.err, HasSubstr(part));
  }
  EXPECT_THAT(outcome.err, Not(HasSubstr("stand-in")));
}

TEST_F(Ollama, BehindAnotherSchemeIsWrongUsage) {
  const ProgramRun outcome = runCommand(chat({"--provider", "ollama", "--list-models"}, {"OLLAMA_HOST=ftp://box"}));
  EXPECT_EQ(outcome.code, 64);
  EXPECT_THAT(outcome.err, HasSubstr("'ftp://box'"));
}

}  // namespace
