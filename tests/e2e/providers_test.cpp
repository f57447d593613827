// What every provider has in common, each against its stand-in.
#include "workplace.h"

#include <gmock/gmock.h>

#include <array>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct ProviderCase {
  const char* name;
  const char* keyVariable;  // null: none
  const char* notice;       // a part of it, about the stand-in inside
  const char* modelsPath;
  const char* chatPath;  // begins so
  bool keyInQuery;
};

class EveryProvider : public Workplace, public testing::WithParamInterface<ProviderCase> {
 protected:
  static std::vector<std::string> environment() {
    if (GetParam().keyVariable == nullptr) return {};
    return {std::string(GetParam().keyVariable) + "=" + kKey};
  }

  static Command at(const std::string& address, std::vector<std::string> arguments, std::string input = "") {
    arguments.insert(arguments.begin(), {"--provider", GetParam().name, "--host", address});
    return chat(std::move(arguments), environment(), std::move(input));
  }

  static void expectKeyInItsPlace(const standin::Request& request) {
    const bool keyed = GetParam().keyVariable != nullptr;
    const standin::Headers query{{"key", kKey}};
    EXPECT_EQ(request.query, keyed && GetParam().keyInQuery ? query : standin::Headers());
    EXPECT_EQ(request.header("Authorization"), keyed && !GetParam().keyInQuery ? std::string("Bearer ") + kKey : "");
    EXPECT_THAT(request.body, Not(HasSubstr(kKey)));
  }
};

TEST_P(EveryProvider, AnswersAQuestion) {
  const standin::Server server;
  const Outcome outcome = runCommand(at(server.address(), {"--temperature", "0.5", "--instructions", "Be brief.", shop_,
                                                           "How many customers are there?"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("customers"));
  ASSERT_EQ(server.requests().size(), 2U);
  const standin::Request models = server.requests()[0];
  const standin::Request turn = server.requests()[1];
  EXPECT_EQ(models.path, GetParam().modelsPath);
  EXPECT_THAT(turn.path, testing::StartsWith(GetParam().chatPath));
  for (const char* part : {"How many customers", "Be brief.", R"("temperature":0.5)", "CREATE TABLE `customers`"}) {
    EXPECT_THAT(turn.body, HasSubstr(part));
  }
  expectKeyInItsPlace(models);
  expectKeyInItsPlace(turn);
}

TEST_P(EveryProvider, HoldsAPipedConversation) {
  const standin::Server server;
  const Outcome outcome =
      runCommand(at(server.address(), {shop_}, "How many customers are there?\nHow many orders are there?\n"));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  ASSERT_EQ(server.requests().size(), 3U);
  EXPECT_THAT(server.requests()[2].body, HasSubstr("How many customers"));
}

TEST_P(EveryProvider, ListsModels) {
  const standin::Server server;
  const Outcome outcome = runCommand(at(server.address(), {"--list-models"}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_GE(countLines(outcome.out), 1U);
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests()[0].path, GetParam().modelsPath);
}

TEST_P(EveryProvider, ShowsThePromptWithoutTheKeyAndSendsNothing) {
  const standin::Server server;
  const Outcome outcome = runCommand(at(server.address(), {"--show-prompt", shop_}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.out, HasSubstr("CREATE TABLE `customers`"));
  EXPECT_THAT(outcome.out, Not(HasSubstr(kKey)));
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(server.connectionCount(), 0U);
}

TEST_P(EveryProvider, TellsThatItCannotBeReached) {
  const RefusingAddress nobody;
  const Outcome outcome = runCommand(at(nobody.text(), {shop_, "q"}));
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
  const Outcome outcome = runCommand(at(server.address(), {shop_, "q"}));
  EXPECT_EQ(outcome.code, 77) << outcome.err;
  EXPECT_THAT(outcome.err, Not(HasSubstr(kKey)));
}

TEST_P(EveryProviderWithAKey, IsStoodInForWithoutIt) {
  const Outcome outcome = runCommand(chat({"--provider", GetParam().name, shop_, "How many customers are there?"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("customers"));
  EXPECT_THAT(outcome.err, HasSubstr("rule-based stand-in"));
  EXPECT_THAT(outcome.err, HasSubstr(GetParam().notice));
}

constexpr std::array kWithKeys{
    ProviderCase{"openai", "OPENAI_API_KEY", "set OPENAI_API_KEY to ask OpenAI.", "/v1/models", "/v1/chat/completions",
                 false},
    ProviderCase{"deepseek", "DEEPSEEK_API_KEY", "set DEEPSEEK_API_KEY to ask DeepSeek.", "/models",
                 "/chat/completions", false},
    ProviderCase{"gemini", "GOOGLE_API_KEY", "set GEMINI_API_KEY to ask Gemini.", "/v1beta/models", "/v1beta/models/",
                 true},
};
constexpr ProviderCase kWithoutKey{"ollama", nullptr, nullptr, "/api/tags", "/api/chat", false};

std::string nameOf(const testing::TestParamInfo<ProviderCase>& row) { return row.param.name; }

INSTANTIATE_TEST_SUITE_P(Keyed, EveryProvider, testing::ValuesIn(kWithKeys), nameOf);
INSTANTIATE_TEST_SUITE_P(Keyless, EveryProvider, testing::Values(kWithoutKey), nameOf);
INSTANTIATE_TEST_SUITE_P(Keyed, EveryProviderWithAKey, testing::ValuesIn(kWithKeys), nameOf);

class Ollama : public Workplace {};

TEST_F(Ollama, IsWhereItsVariableSays) {
  const standin::Server server;
  const std::string port = std::to_string(server.port());
  const Outcome outcome = runCommand(chat({"--provider", "ollama", "--list-models"}, {"OLLAMA_HOST=0.0.0.0:" + port}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(Ollama, TakesAHostWithoutASchemeAsItsVariable) {
  const standin::Server server;
  const Outcome outcome =
      runCommand(chat({"--provider", "ollama", "--host", ":" + std::to_string(server.port()), "--list-models"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(Ollama, ThatIsNotThereIsToldWithWhatToDo) {
  const RefusingAddress nobody;
  const Outcome outcome = runCommand(chat({"--provider", "ollama", shop_, "q"}, {"OLLAMA_HOST=" + nobody.text()}));
  EXPECT_EQ(outcome.code, 69);
  EXPECT_THAT(outcome.out, IsEmpty());
  for (const char* part : {"connection refused", "ollama serve", "--host", "OLLAMA_HOST"}) {
    EXPECT_THAT(outcome.err, HasSubstr(part));
  }
  EXPECT_THAT(outcome.err, Not(HasSubstr("stand-in")));
}

TEST_F(Ollama, BehindAnotherSchemeIsWrongUsage) {
  const Outcome outcome = runCommand(chat({"--provider", "ollama", "--list-models"}, {"OLLAMA_HOST=ftp://box"}));
  EXPECT_EQ(outcome.code, 64);
  EXPECT_THAT(outcome.err, HasSubstr("'ftp://box'"));
}

}  // namespace
