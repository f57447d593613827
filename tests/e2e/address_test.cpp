// Where requests go by options and variables, and what is said where they can't go there.
#include "support/services.h"
#include "workplace.h"

#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kAnswer = R"({"choices":[{"message":{"role":"assistant","content":"four"}}]})";

void expectOneSentence(const ProgramRun& outcome, int code) {
  EXPECT_EQ(outcome.code, code);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, StartsWith("qai-chat: "));
  EXPECT_EQ(countLines(outcome.err), 1U) << outcome.err;
  EXPECT_THAT(outcome.err, Not(HasSubstr(kKey)));
}

class BaseURL : public Workplace {
 protected:
  Command ask(std::vector<std::string> further, const std::string& base, bool hasKey = true) const {
    std::vector<std::string> environment{"OPENAI_BASE_URL=" + base};
    if (hasKey) environment.push_back(std::string("OPENAI_API_KEY=") + kKey);
    further.insert(further.end(), {"--model", kModel, shop_, "How many customers are there?"});
    return chat(std::move(further), std::move(environment));
  }

  standin::Server server_;
};

TEST_F(BaseURL, IsWhereTheKeyGoesForBothOfOpenAIsServices) {
  for (const char* end : {"", "/", "/v1", "/v1/"}) {
    for (const char* provider : {"openai", "openai-assistants"}) {
      const std::size_t before = server_.requests().size();
      const ProgramRun outcome = runCommand(ask({"--provider", provider}, server_.address() + end));
      EXPECT_EQ(outcome.code, 0) << outcome.err;
      const std::vector<standin::Request> requests = server_.requests();
      ASSERT_GT(requests.size(), before);
      for (std::size_t i = before; i < requests.size(); ++i) {
        EXPECT_THAT(requests[i].path, AllOf(StartsWith("/v1/"), Not(HasSubstr("/v1/v1"))));
        EXPECT_EQ(requests[i].header("Authorization"), std::string("Bearer ") + kKey);
      }
    }
  }
}

TEST_F(BaseURL, GivesWayToTheOption) {
  const standin::Server named;
  const ProgramRun outcome = runCommand(ask({"--host", named.address() + "/v1"}, server_.address()));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(named.requests().size(), 1U);
  EXPECT_EQ(server_.connectionCount(), 0U);
}

TEST_F(BaseURL, IsNoOtherServices) {
  const ProgramRun outcome = runCommand(ask({"--provider", "deepseek", "--list-models"}, server_.address()));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.err, HasSubstr("set DEEPSEEK_API_KEY to ask DeepSeek."));
  EXPECT_EQ(server_.connectionCount(), 0U);
}

TEST_F(BaseURL, WithoutAKeyIsAskedAllTheSame) {
  server_.script({.status = 200, .body = kAnswer, .headers = {}});
  const ProgramRun outcome = runCommand(ask({}, server_.address() + "/v1", false));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out, "four\n");
  EXPECT_EQ(outcome.err, "") << "nothing stands in";
  EXPECT_EQ(server_.requests().size(), 1U);
}

TEST_F(BaseURL, OnAnotherMachineGetsNoKeyUnencrypted) {
  const ProgramRun outcome = runCommand(ask({}, "http://gpu-box.invalid/v1"));
  expectOneSentence(outcome, 64);
  EXPECT_THAT(outcome.err, HasSubstr("--allow-http"));
}

TEST_F(BaseURL, ThatIsNoneIsToldWithoutTheAccountInIt) {
  for (const std::string base : {"ftp://me:pw@box/v1", "https://me:pw@127.0.0.1/v1", "https:///v1"}) {
    const ProgramRun outcome = runCommand(ask({}, base));
    expectOneSentence(outcome, 64);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("in OPENAI_BASE_URL is no address of OpenAI: that takes http or https"),
                                   Not(HasSubstr("pw"))));
  }
}

TEST_F(BaseURL, ThatIsNoneKeepsNobodyFromAskingAnother) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--host", server_.address()}, std::vector<std::string>{"--show-prompt"}}) {
    const ProgramRun outcome = runCommand(ask(arguments, "ftp://box"));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
  }
}

TEST_F(BaseURL, IsThePlaceOfAConversationThatWasSavedThere) {
  EXPECT_EQ(runCommand(ask({"--save", path("kept.json")}, server_.address() + "/v1")).code, 0);
  for (const char* end : {"/v1/", "/v1", ""}) {
    const ProgramRun outcome = runCommand(ask({"--restore", path("kept.json")}, server_.address() + end));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
  }
  EXPECT_EQ(server_.requests().back().path, "/v1/chat/completions");
}

class AddressOfEveryService : public Workplace, public testing::WithParamInterface<TestedService> {
 protected:
  Command ask(std::vector<std::string> further) const {
    std::vector<std::string> environment;
    for (const std::string& variable : GetParam().keyVariables) environment.push_back(variable + "=" + kKey);
    further.insert(further.begin(), {"--provider", GetParam().provider});
    further.insert(further.end(), {shop_, "How many customers are there?"});
    return chat(std::move(further), std::move(environment));
  }

  standin::Server server_;
};

TEST_P(AddressOfEveryService, MayEndInTheVersionThatTheLibraryAdds) {
  const std::string models = GetParam().modelsPath;
  const std::string version = models.substr(0, models.rfind('/'));
  for (const std::string& end : {version, version + "/"}) {
    const ProgramRun outcome = runCommand(ask({"--host", server_.address() + end}));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("customers"));
  }
  EXPECT_EQ(server_.requests().front().path, models);
}

TEST_P(AddressOfEveryService, WithAnotherSchemeIsToldWithThePossibleOnes) {
  const ProgramRun outcome = runCommand(ask({"--host", "ftp://box"}));
  expectOneSentence(outcome, 64);
  EXPECT_EQ(outcome.err, std::string("qai-chat: 'ftp://box' is no address of ") + GetParam().title +
                             ": that takes http or https, a host, and no user name or password\n");
}

TEST_P(AddressOfEveryService, ThatHasNoListOfModelsIsNamedWithTheWayWithoutOne) {
  server_.script({.status = 404, .body = R"({"error":{"message":"Not found"}})", .headers = {}});
  const ProgramRun outcome = runCommand(ask({"--host", server_.address()}));
  expectOneSentence(outcome, 69);
  EXPECT_EQ(outcome.err, "qai-chat: The list of models at " + server_.address() + GetParam().modelsPath +
                             " can't be had: Not found. --model NAME needs no list.\n");
}

TEST_P(AddressOfEveryService, BehindAProxyThatIsNotThereIsToldByTheProxy) {
  const RefusingAddress proxy;
  const std::string bare = proxy.text().substr(std::string("http://").size());
  for (const std::string& named : {proxy.text(), bare}) {
    for (const std::vector<std::string>& model : {std::vector<std::string>{}, {"--model", kModel}}) {
      std::vector<std::string> arguments{"--host", server_.address(), "--proxy", named};
      arguments.insert(arguments.end(), model.begin(), model.end());
      const ProgramRun outcome = runCommand(ask(arguments));
      expectOneSentence(outcome, 69);
      EXPECT_EQ(outcome.err, "qai-chat: Could not connect to the proxy " + bare + ": connection refused\n");
    }
  }
  EXPECT_EQ(server_.connectionCount(), 0U);
}

TEST_P(AddressOfEveryService, BehindAProxyOfAnotherKindIsTold) {
  const ProgramRun outcome = runCommand(ask({"--host", server_.address(), "--proxy", "socks5://box"}));
  expectOneSentence(outcome, 64);
  EXPECT_THAT(outcome.err, HasSubstr("'socks5://box' is no proxy: that takes http or https"));
}

INSTANTIATE_TEST_SUITE_P(Services, AddressOfEveryService, testing::ValuesIn(allServices()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(BaseURL, OfAProxyInItsVariableNeedsNoScheme) {
  const RefusingAddress proxy;
  Command command = ask({"--host", server_.address()}, "");
  command.environment.push_back("QAI_PROXY=me:pw-0123456789@" + proxy.text().substr(std::string("http://").size()));
  const ProgramRun outcome = runCommand(command);
  expectOneSentence(outcome, 69);
  EXPECT_THAT(outcome.err, AllOf(HasSubstr("Could not connect to the proxy 127.0.0.1:"), Not(HasSubstr("pw-"))));
  EXPECT_EQ(server_.connectionCount(), 0U);
}

}  // namespace
