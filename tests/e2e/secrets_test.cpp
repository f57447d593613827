// Keys and passwords: in no output, no file, no command line, whatever the service does with them.
#include "support/canary.h"
#include "support/raw_server.h"
#include "support/services.h"
#include "workplace.h"

#include <cf/json_shortcuts.h>

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <sstream>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kPassword = "p@ss word/+\"1";
constexpr const char* kAccount = "me:p%40ss%20word%2F%2B%221";  // as it stands in an address

std::string json(const std::string& text) {
  std::string result;
  cfAppendJsonString(result, text);
  return result;
}

/// A service that quotes the key.
class Secrets : public Workplace {
 protected:
  Command chatWithCanary(std::vector<std::string> arguments, std::string input = "",
                         const std::string& variable = "OPENAI_API_KEY") const {
    arguments.insert(arguments.begin(), {"--host", server_.address()});
    return chat(std::move(arguments), {variable + "=" + canary::kKey}, std::move(input));
  }

  /// The next reply, or error text, is every form of the key.
  void quoteKeyNext(int status = 200) {
    const std::string text = json(allForms());
    server_.script({.status = status,
                    .body = status == 200 ? R"({"choices":[{"message":{"role":"assistant","content":)" + text + "}}]}"
                                          : R"({"error":{"message":)" + text + "}}",
                    .headers = {}});
  }

  static std::string allForms() {
    std::string text;
    for (const std::string& form : canaryForms(canary::kKey)) text += "your key: " + form + "\n";
    return text;
  }

  std::string read(std::string_view name) const {
    std::ifstream file(toPath(path(name)), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  static void expectClean(const ProgramRun& outcome, const std::string& secret = canary::kKey) {
    EXPECT_EQ(appearsIn(outcome.out, secret), "") << outcome.out;
    EXPECT_EQ(appearsIn(outcome.err, secret), "") << outcome.err;
  }

  standin::Server server_;
};

TEST_F(Secrets, InAReplyAreNeitherShownNorKept) {
  quoteKeyNext();
  const ProgramRun outcome =
      runCommand(chatWithCanary({"--model", kModel, "--save", path("kept.json"), shop_, "What is my key?"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("your key: [redacted]\n"));
  expectClean(outcome);
  const std::string kept = read("kept.json");
  EXPECT_THAT(kept, HasSubstr("your key: [redacted]"));
  EXPECT_EQ(appearsIn(kept, canary::kKey), "") << kept;

  EXPECT_EQ(runCommand(chatWithCanary({"--restore", path("kept.json"), shop_, "And now?"})).code, 0);
  EXPECT_THAT(server_.requests().back().body, HasSubstr("your key: [redacted]"));
  EXPECT_EQ(appearsIn(server_.requests().back().body, canary::kKey), "");
}

TEST_F(Secrets, InAnErrorTextAreNotShown) {
  for (const int status : {400, 429, 500}) {
    quoteKeyNext(status);
    const ProgramRun outcome = runCommand(chatWithCanary({"--model", kModel, shop_, "q"}));
    EXPECT_EQ(outcome.code, 69);
    EXPECT_THAT(outcome.err, HasSubstr("your key: [redacted]"));
    expectClean(outcome);
  }
}

TEST_F(Secrets, InAnErrorBodyThatIsNoJsonAreNotShown) {
  server_.script({.status = 500, .body = "<p>" + allForms() + "</p>", .headers = {}});
  const ProgramRun outcome = runCommand(chatWithCanary({"--model", kModel, shop_, "q"}));
  EXPECT_THAT(outcome.err, HasSubstr("[redacted]"));
  expectClean(outcome);
}

TEST_F(Secrets, AmongTheModelsAreNotShown) {
  server_.script({.status = 200,
                  .body = R"({"data":[{"object":"model","created":1,"id":)" + json(allForms()) + "}]}",
                  .headers = {}});
  const ProgramRun outcome = runCommand(chatWithCanary({"--list-models"}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.out, HasSubstr("[redacted]"));
  expectClean(outcome);
}

TEST_F(Secrets, InTheInstructionsAreNotPrinted) {
  const ProgramRun outcome =
      runCommand(chatWithCanary({"--instructions", "The key is " + canary::kKey + ".", "--show-prompt", shop_}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_THAT(outcome.out, HasSubstr("The key is [redacted]."));
  expectClean(outcome);
}

TEST_F(Secrets, OfOneServiceInItsRepliesDoNotReachTheNext) {
  const standin::Server ollama;
  Command command = chatWithCanary({"--model", kModel, shop_});
  command.environment.push_back("OLLAMA_HOST=" + ollama.address());
  TerminalChild chat(command);
  chat.waitFor("> ");
  quoteKeyNext();
  EXPECT_THAT(enter(chat, "What is my key?"), HasSubstr("[redacted]"));
  enter(chat, "/provider ollama");
  enter(chat, "And now?");
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
  ASSERT_EQ(ollama.requests().size(), 2U);
  EXPECT_THAT(ollama.requests().back().body, HasSubstr("your key: [redacted]"));
  EXPECT_EQ(appearsIn(ollama.requests().back().body, canary::kKey), "");
}

TEST_F(Secrets, AreInNoTextOfAnyFailure) {
  const RefusingAddress nobody;
  const RawServer noHTTP(std::vector<raw::Script>{{raw::Send{"SSH-2.0-x\r\n"}, raw::Close{}}});
  const RawServer cut(
      std::vector<raw::Script>{{raw::Send{"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n{"}, raw::Close{}}});
  const RawServer redirect(raw::reply(307, "", "Location: http://127.0.0.1:1/\r\n"));
  const RawServer noJson(raw::reply(200, "no JSON"));
  for (const TestedService& service : allServices()) {
    if (!service.usesKey()) continue;
    for (const std::string& host :
         {nobody.text(), noHTTP.getURL(), cut.getURL(), redirect.getURL(), noJson.getURL(),
          std::string("https://") + nobody.text().substr(7), std::string("http://u@127.0.0.1")}) {
      const ProgramRun outcome =
          runCommand(chat({"--provider", service.provider, "--host", host, "--model", "m", "--allow-http", shop_, "q"},
                          {service.keyVariables.front() + "=" + canary::kKey}));
      EXPECT_EQ(outcome.code, host.find('@') == std::string::npos ? 69 : 64) << service.provider << ' ' << host;
      EXPECT_NE(outcome.err, "");
      expectClean(outcome);
    }
  }
}

TEST_F(Secrets, GivenAsAnOptionThatThereIsNotAreNotRepeated) {
  const ProgramRun outcome = runCommand(chat({shop_, "--api-key=" + canary::kKey, "q"}));
  EXPECT_EQ(outcome.code, 64);
  EXPECT_THAT(outcome.err, HasSubstr("There is no option --api-key "));
  expectClean(outcome);
}

TEST_F(Secrets, DoNotGoUnencryptedToAnotherMachineUnlessTold) {
  const RefusingAddress proxy;
  const std::vector<std::string> arguments{"--host", "http://192.0.2.1", "--model", kModel, shop_, "q"};
  const std::vector<std::string> key{std::string("OPENAI_API_KEY=") + kKey};
  const ProgramRun refused = runCommand(chat(arguments, key));
  EXPECT_EQ(refused.code, 64);
  EXPECT_THAT(refused.err, AllOf(HasSubstr("unencrypted"), HasSubstr("--allow-http")));

  std::vector<std::string> told = arguments;
  told.insert(told.begin(), {"--allow-http", "--proxy", proxy.text()});
  EXPECT_EQ(runCommand(chat(told, key)).code, 69) << "it goes to the proxy, which is not there";
  std::vector<std::string> byProxy{"--proxy", "http://192.0.2.1:3128", "--model", kModel, shop_, "q"};
  const ProgramRun heard = runCommand(chatWith(server_, byProxy));
  EXPECT_EQ(heard.code, 64) << "a proxy elsewhere hears what is meant for this machine";
  EXPECT_EQ(server_.connectionCount(), 0U);
}

TEST_F(Secrets, InAnAddressAreNotShown) {
  const std::string account = "http://me:pw@127.0.0.1";  // which is too short to be found in texts
  const std::string saved = write("saved.json", R"({"api_host":")" + account + R"(","messages":[]})");
  const std::string other = write("other.json", R"({"api_host":"http://127.0.0.1:1","messages":[]})");
  struct Row {
    std::vector<std::string> arguments;
    std::string variable;
  };
  for (const Row& row : {Row{{"--list-models"}, "ftp://me:pw@127.0.0.1"}, Row{{"--list-models"}, account},
                         Row{{"--host", "ftp://me:pw@127.0.0.1", "--list-models"}, ""},
                         Row{{"--restore", saved, shop_, "q"}, ""}, Row{{"--restore", other, shop_, "q"}, account}}) {
    std::vector<std::string> arguments = row.arguments;
    arguments.insert(arguments.begin(), {"--provider", "ollama"});
    const ProgramRun outcome = runCommand(chat(arguments, {"OLLAMA_HOST=" + row.variable}));
    EXPECT_NE(outcome.code, 0);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("qai-chat: "), Not(HasSubstr("pw"))));
  }
}

TEST_F(Secrets, OfAVariableThatGivesWayAreNotShown) {
  quoteKeyNext();
  Command command = chatWithCanary({"--provider", "openai", "--model", kModel, shop_, "q"}, "", "GOOGLE_API_KEY");
  command.environment.insert(command.environment.end(),
                             {std::string("OPENAI_API_KEY=") + kKey, "GEMINI_API_KEY=another-key"});
  const ProgramRun outcome = runCommand(command);
  EXPECT_THAT(outcome.out, HasSubstr("[redacted]"));
  expectClean(outcome);
}

class ProxyPassword : public Secrets {
 protected:
  static std::string proxyAddress(const RawServer& proxy) {
    return std::string("http://") + kAccount + "@127.0.0.1:" + std::to_string(proxy.getPort());
  }
};

TEST_F(ProxyPassword, IsNotTakenFromTheCommandLineAndNotRepeated) {
  for (const std::string account : {kAccount, "token-0123456789"}) {
    const ProgramRun outcome =
        runCommand(chatWithCanary({"--proxy", "http://" + account + "@127.0.0.1:1", "--list-models"}));
    EXPECT_EQ(outcome.code, 64);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr("QAI_PROXY"), Not(HasSubstr(account)), Not(HasSubstr("127.0.0.1"))));
    expectClean(outcome, kPassword);
  }
  EXPECT_EQ(server_.connectionCount(), 0U);
}

TEST_F(ProxyPassword, FromItsVariableReachesTheProxyAndNothingElse) {
  const RawServer proxy(std::vector<raw::Script>{{raw::Stall{}}});
  Command command = chatWithCanary({"--model", kModel, shop_, "q"});
  command.environment.push_back("QAI_PROXY=" + proxyAddress(proxy));
  Child child(command);
  ASSERT_TRUE(proxy.waitForRequests(1));
  const std::string commandLine = child.obtainCommandLine();
  EXPECT_THAT(commandLine, HasSubstr("qai-chat"));
  EXPECT_EQ(appearsIn(commandLine, kPassword) + appearsIn(commandLine, canary::kKey), "");
  child.interrupt();
  const ProgramRun outcome = child.finish();
  expectClean(outcome, kPassword);
  expectClean(outcome);
  EXPECT_THAT(proxy.getRequests().front(),
              HasSubstr("Proxy-Authorization: Basic " + canary::base64(std::string("me:") + kPassword)));
  EXPECT_EQ(server_.connectionCount(), 0U);
}

TEST_F(ProxyPassword, ThatTheProxyQuotesIsNotShown) {
  std::string page;
  for (const std::string& form : canaryForms(kPassword)) page += "<p>" + form + "</p>";
  page += canary::base64(std::string("me:") + kPassword) + kAccount;
  for (const int status : {407, 502}) {
    const RawServer proxy(raw::reply(status, page));
    Command command = chatWithCanary({"--model", kModel, shop_, "q"});
    command.environment.push_back("QAI_PROXY=" + proxyAddress(proxy));
    const ProgramRun outcome = runCommand(command);
    EXPECT_EQ(outcome.code, 69) << status;
    expectClean(outcome, kPassword);
    EXPECT_THAT(outcome.err, Not(HasSubstr(kAccount)));
  }
}

TEST_F(ProxyPassword, OfTheVariableGivesWayToTheOption) {
  const RawServer fromVariable(raw::reply(200, "{}"));
  const RefusingAddress fromOption;
  Command command = chatWithCanary({"--proxy", fromOption.text(), "--list-models"});
  command.environment.push_back("QAI_PROXY=" + proxyAddress(fromVariable));
  EXPECT_EQ(runCommand(command).code, 69);
  EXPECT_EQ(fromVariable.getConnections(), 0U);
}

}  // namespace
