// Conversations that are kept in a file and gone on with; above all, where.
#include "workplace.h"

#include <cf/json_shortcuts.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kQuestion = "How many customers are there?";
constexpr const char* kPromptEnd = "[y/N]";

class Restoring : public Workplace {
 protected:
  /// A saved conversation of one turn that names `host`.
  std::string savedAt(const std::string& host, std::string_view name = "saved.json") const {
    std::string json;
    cfAppendJsonString(json, host);
    return write(name, R"({"api_host":)" + json + R"(,"model":"standin-small","messages":[)" +
                           R"({"role":"user","content":"earlier question"},)" +
                           R"({"role":"assistant","content":"earlier answer"}]})");
  }

  Command restore(const std::string& file, std::vector<std::string> further = {kQuestion}) const {
    further.insert(further.begin(), {"--restore", file, shop_});
    return chatWith(inUse_, std::move(further));
  }

  std::string read(std::string_view name) const {
    std::ifstream file(toPath(path(name)), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  static std::string origin(const standin::Server& server) {
    return "http://127.0.0.1:" + std::to_string(server.port());
  }

  /// Not so much as a connection was made.
  void expectNothingSent() const {
    EXPECT_EQ(inUse_.connectionCount(), 0U);
    EXPECT_EQ(other_.connectionCount(), 0U);
  }

  standin::Server inUse_;
  standin::Server other_;  // whom the saved conversation names
};

TEST_F(Restoring, AtTheHostInUseGoesOnWithoutAWord) {
  const std::string file = path("kept.json");
  EXPECT_EQ(runCommand(chatWith(inUse_, {"--model", "standin-large", "--save", file, shop_, kQuestion})).code, 0);
  const ProgramRun outcome = runCommand(restore(file, {"--save", file, "And how many orders?"}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "");
  ASSERT_EQ(inUse_.requests().size(), 2U) << "the model is the saved one";
  for (const char* part : {kQuestion, "And how many orders?", "standin-large", "CREATE TABLE `customers`"})
    EXPECT_THAT(inUse_.requests()[1].body, HasSubstr(part));
  EXPECT_THAT(read("kept.json"), AllOf(HasSubstr(kQuestion), HasSubstr("And how many orders?")));
}

TEST_F(Restoring, AtAnotherHostSendsNothingWhenNobodyIsThereToAgree) {
  for (const bool asks : {true, false}) {  // a question in the arguments, or lines from a pipe
    Command command =
        restore(savedAt(other_.address()), asks ? std::vector<std::string>{kQuestion} : std::vector<std::string>{});
    command.input = "y\ny\n";
    const ProgramRun outcome = runCommand(command);
    EXPECT_EQ(outcome.code, 64);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(countLines(outcome.err), 1U);
    EXPECT_THAT(outcome.err,
                AllOf(HasSubstr(origin(inUse_)), HasSubstr(origin(other_)), HasSubstr("nobody is here to agree")));
    expectNothingSent();
  }
}

TEST_F(Restoring, AtAnotherHostNamedByTheUserNeedsNobody) {
  const ProgramRun outcome = runCommand(chatWith(other_, {"--restore", savedAt(other_.address()), shop_, kQuestion}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(other_.requests().back().body, HasSubstr("earlier answer"));
}

TEST_F(Restoring, AtAnotherHostShowsBothAndGoesOnAfterAYes) {
  TerminalChild chat(restore(savedAt(other_.address()), {}));
  EXPECT_THAT(chat.waitFor(kPromptEnd),
              AllOf(HasSubstr("in use: " + origin(inUse_)), HasSubstr("saved: " + origin(other_)),
                    HasSubstr("the key of OpenAI to " + origin(other_))));
  expectNothingSent();
  chat.type("y\n");
  chat.waitFor("\n> ");
  enter(chat, kQuestion);
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_EQ(inUse_.connectionCount(), 0U);
  ASSERT_EQ(other_.requests().size(), 1U);
  EXPECT_EQ(other_.requests().front().header("Authorization"), std::string("Bearer ") + kKey);
  EXPECT_THAT(other_.requests().front().body, AllOf(HasSubstr("earlier answer"), HasSubstr(kQuestion)));
}

TEST_F(Restoring, AtAnotherHostAsksForOneQuestionToo) {
  TerminalChild chat(restore(savedAt(other_.address())));
  chat.waitFor(kPromptEnd);
  expectNothingSent();
  chat.type("yes\n");
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_EQ(other_.requests().size(), 1U);
}

TEST_F(Restoring, AtAnotherHostSendsNothingAfterANo) {
  for (const char* answer : {"n\n", "\n", "yesterday\n", ""}) {
    TerminalChild chat(restore(savedAt(other_.address()), {}));
    chat.waitFor(kPromptEnd);
    if (*answer == '\0') {
      chat.typeEnd();
    } else {
      chat.type(answer);
    }
    EXPECT_EQ(chat.finish(), 64) << answer;
    EXPECT_THAT(chat.waitFor("the end"), HasSubstr("The conversation is not restored"));
    expectNothingSent();
  }
}

TEST_F(Restoring, AtAnotherPathOfTheHostInUseAsksToo) {
  const std::string saved = inUse_.address() + "/another-account";
  const ProgramRun outcome = runCommand(restore(savedAt(saved)));
  EXPECT_EQ(outcome.code, 64);
  EXPECT_THAT(outcome.err, AllOf(HasSubstr("goes on at " + saved + ", not at " + origin(inUse_) + ","),
                                 HasSubstr("nobody is here to agree")));
  TerminalChild chat(restore(savedAt(saved)));
  const std::string inUse = "in use: " + origin(inUse_);
  EXPECT_THAT(chat.waitFor(kPromptEnd),
              AllOf(AnyOf(HasSubstr(inUse + "\r\n"), HasSubstr(inUse + "\n")), HasSubstr("saved: " + saved),
                    HasSubstr("the key of OpenAI to " + saved + "?")));
  chat.type("n\n");
  EXPECT_EQ(chat.finish(), 64);
  expectNothingSent();
}

TEST_F(Restoring, AtThePathInUseGoesOnWithoutAWord) {
  for (const char* slash : {"", "/"}) {
    const std::string file = savedAt(inUse_.address() + "/account" + slash);
    const ProgramRun outcome = runCommand(chat({"--host", inUse_.address() + "/account", "--restore", file, shop_, "q"},
                                               {std::string("OPENAI_API_KEY=") + kKey}));
    EXPECT_EQ(outcome.code, 69) << "the stand-in serves no such path: " << outcome.err;
    EXPECT_EQ(inUse_.requests().back().path, "/account/v1/chat/completions");
  }
}

TEST_F(Restoring, RestoresTheTextThatWasAgreedTo) {
  const standin::Server swapped;
  TerminalChild chat(restore(savedAt(other_.address())));
  chat.waitFor(kPromptEnd);
  savedAt(swapped.address());  // the same file
  chat.type("y\n");
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_EQ(other_.requests().size(), 1U);
  EXPECT_EQ(swapped.connectionCount(), 0U);
}

TEST_F(Restoring, AtAHostThatCannotBeToldForSureIsRefusedAtATerminalToo) {
  const std::string port = std::to_string(other_.port());
  for (const std::string& host : {"http://127.1:" + port, "http://0x7f000001:" + port, "http://127.0.0.1:" + port + "?",
                                  "http://localhost.:" + port, "http://api.openai.com@127.0.0.1:" + port,
                                  "http://127.0.0.1:0" + port, "http:///127.0.0.1:" + port}) {
    TerminalChild chat(restore(savedAt(host)));
    EXPECT_EQ(chat.finish(), 64) << host;
    EXPECT_THAT(chat.waitFor("the end"), HasSubstr("can't be told for sure")) << host;
  }
  expectNothingSent();
}

TEST_F(Restoring, UnencryptedAtAnotherMachineIsRefusedUnlessToldAndAskedThen) {
  const std::string file = savedAt("http://192.0.2.1");  // which is nobody's (RFC 5737)
  {
    TerminalChild chat(restore(file));
    EXPECT_EQ(chat.finish(), 64);
    EXPECT_THAT(chat.waitFor("the end"), AllOf(HasSubstr("unencrypted"), HasSubstr("--allow-http")));
  }
  TerminalChild chat(restore(file, {"--allow-http", kQuestion}));
  EXPECT_THAT(chat.waitFor(kPromptEnd), HasSubstr("http://192.0.2.1:80?"));
  chat.type("n\n");
  EXPECT_EQ(chat.finish(), 64);
  expectNothingSent();
}

TEST_F(Restoring, WithTheStandInInsideTakesTheTurnsAlone) {
  const ProgramRun outcome =
      runCommand(chat({"--restore", savedAt(other_.address()), shop_, "What did I ask before?"}));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("earlier question"));
  expectNothingSent();
}

TEST_F(Restoring, OfAConversationWithTheStandInInsideGoesOnAnywhere) {
  EXPECT_EQ(runCommand(chat({"--save", path("kept.json"), shop_, kQuestion})).code, 0);
  const ProgramRun outcome = runCommand(restore(path("kept.json")));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(inUse_.requests().back().body, HasSubstr(kQuestion));
}

TEST_F(Restoring, OfWhatIsNoConversationHasItsExitCode) {
  struct Row {
    std::string file;
    int code;
    const char* part;
  };
  for (const Row& row : {Row{path("none.json"), 66, "can't be read"}, Row{toText(folder_.path()), 66, "can't be read"},
                         Row{write("notes.txt", "nothing of that kind"), 65, "no saved conversation"},
                         Row{write("empty.json", ""), 65, "no saved conversation"}}) {
    const ProgramRun outcome = runCommand(restore(row.file));
    EXPECT_EQ(outcome.code, row.code) << row.file;
    EXPECT_THAT(outcome.err, HasSubstr(row.part));
    EXPECT_EQ(countLines(outcome.err), 1U) << outcome.err;
  }
  expectNothingSent();
}

TEST_F(Restoring, OfMoreThanAConversationCanHoldIsRefusedAsItIsRead) {
  std::string values;
  for (int i = 0; i < 1'100'000; ++i) values += "0,";
  const std::string begin = R"({"api_host":")" + inUse_.address() + R"(","model":"standin-small","messages":[)";
  for (const std::string& text :
       {begin + values + "0]}", begin + R"(],"further":")" + std::string(65U << 20U, ',') + "\"}"}) {
    const ProgramRun outcome = runCommand(restore(write("large.json", text)));
    EXPECT_EQ(outcome.code, 65);
    EXPECT_THAT(outcome.err, HasSubstr("large.json is too large for a conversation"));
  }
  expectNothingSent();
}

TEST_F(Restoring, OfATextOfManyCommasTakesThemForText) {
  const std::string text = R"({"api_host":")" + inUse_.address() + R"(","model":"standin-small","messages":[)" +
                           R"({"role":"user","content":"\")" + std::string(2'000'000, ',') + "\"}]}";
  const ProgramRun outcome = runCommand(restore(write("commas.json", text)));
  EXPECT_EQ(outcome.code, 0) << outcome.err;
}

TEST_F(Restoring, IsNotForAServiceThatKeepsConversationsItself) {
  for (const char* option : {"--save", "--restore"}) {
    const ProgramRun outcome =
        runCommand(chatWith(inUse_, {"--provider", "openai-assistants", option, path("kept.json"), shop_, kQuestion}));
    EXPECT_EQ(outcome.code, 64);
    EXPECT_THAT(outcome.err, HasSubstr("keeps conversations itself"));
  }
  expectNothingSent();
}

/// Conversations about the sample database that are gone on with elsewhere.
class RestoringOver : public Restoring {
 protected:
  RestoringOver() { runCommand(chatWith(inUse_, {"--model", kModel, "--save", file_, shop_, kQuestion})); }

  /// The end of a restored conversation, and what was sent for it.
  std::size_t countSent() const { return inUse_.requests().size() - 1; }

  std::string file_ = path("kept.json");
  std::string other_ = makeDatabase("other.db", "CREATE TABLE t (a)");
};

TEST_F(RestoringOver, AnotherDatabaseSendsNothingWhenNobodyIsThereToAgree) {
  const ProgramRun outcome = runCommand(chatWith(inUse_, {"--restore", file_, other_, kQuestion}));
  EXPECT_EQ(outcome.code, 64);
  EXPECT_EQ(outcome.err,
            "qai-chat: The saved conversation is about shop.db, not about other.db, and nobody is here to agree; "
            "--other-database permits that\n");
  EXPECT_EQ(countSent(), 0U);
}

TEST_F(RestoringOver, AnotherDatabaseIsPermittedByAnOption) {
  const ProgramRun outcome = runCommand(chatWith(inUse_, {"--other-database", "--restore", file_, other_, "q?"}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(inUse_.requests().back().body, AllOf(HasSubstr(kQuestion), HasSubstr("CREATE TABLE `t`")));
}

TEST_F(RestoringOver, AnotherDatabaseIsAskedAboutAtATerminal) {
  struct Row {
    const char* answer;
    int code;
    std::size_t sent;
  };
  for (const Row& row : {Row{"n\n", 64, 0}, Row{"y\n", 0, 1}}) {
    TerminalChild chat(chatWith(inUse_, {"--restore", file_, other_, kQuestion}));
    EXPECT_THAT(chat.waitFor(kPromptEnd), AllOf(HasSubstr("in use: other.db"), HasSubstr("saved: shop.db"),
                                                HasSubstr("Go on with it over other.db?")));
    EXPECT_EQ(countSent(), 0U);
    chat.type(row.answer);
    EXPECT_EQ(chat.finish(), row.code);
    EXPECT_EQ(countSent(), row.sent);
  }
}

TEST_F(RestoringOver, TheSameDatabaseSavesItsStructureAnewWhenThatHasChanged) {
  makeDatabase("shop.db", "CREATE TABLE returns (id)");
  const std::vector<std::string> arguments{"--restore", file_, "--save", file_, shop_, kQuestion};
  ProgramRun outcome = runCommand(chatWith(inUse_, arguments));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "qai-chat: The structure of shop.db is not what it was when the conversation was saved\n");
  EXPECT_THAT(inUse_.requests().back().body, HasSubstr("CREATE TABLE `returns`"));
  outcome = runCommand(chatWith(inUse_, arguments));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "");
}

TEST_F(RestoringOver, TheSameDatabaseInAnotherFolderGoesOnWithoutAWord) {
  std::filesystem::create_directory(toPath(path("copies")));
  std::filesystem::copy_file(toPath(shop_), toPath(path("copies/shop.db")));
  const ProgramRun outcome = runCommand(chatWith(inUse_, {"--restore", file_, path("copies/shop.db"), kQuestion}));
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "");
}

TEST_F(RestoringOver, AnotherDatabaseKeepsNoFolderInTheFile) {
  EXPECT_THAT(read("kept.json"), AllOf(HasSubstr(R"("database":"shop.db")"), Not(HasSubstr(toText(folder_.path())))));
}

class Saving : public Restoring {};

TEST_F(Saving, ThatCannotBeIsToldBeforeAnythingIsSent) {
  for (const std::string& file : {toText(folder_.path()), path("none/kept.json")}) {
    const ProgramRun outcome = runCommand(chatWith(inUse_, {"--save", file, shop_}, kQuestion));
    EXPECT_EQ(outcome.code, 74);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr("The conversation can't be saved in " + file + ": "));
    EXPECT_EQ(countLines(outcome.err), 1U) << outcome.err;
  }
  expectNothingSent();
}

TEST_F(Saving, ThatFailsLaterIsToldOnceAndShowsInTheExitCode) {
  TerminalChild chat(chatWith(inUse_, {"--model", kModel, "--save", path("kept.json"), shop_}));
  chat.waitFor("> ");
  std::filesystem::create_directory(toPath(path("kept.json")));
  EXPECT_THAT(enter(chat, kQuestion), AllOf(HasSubstr("customers"), HasSubstr("The conversation is not saved in ")));
  EXPECT_THAT(enter(chat, kQuestion), Not(HasSubstr("not saved")));
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 74);
}

TEST_F(Saving, IsTriedWithoutATraceInTheFileAndBesideIt) {
  write("kept.json", "before");
  TerminalChild chat(chatWith(inUse_, {"--model", kModel, "--save", path("kept.json"), shop_}));
  chat.waitFor("> ");
  EXPECT_EQ(read("kept.json"), "before");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 2);
  chat.type("/quit\n");
  EXPECT_EQ(chat.finish(), 0);
  EXPECT_EQ(read("kept.json"), "before") << "nothing was asked";
}

TEST_F(Saving, LeavesTheFileOfAFailedTurnAsItWas) {
  const std::string file = write("kept.json", "before");
  inUse_.script({.status = 500, .body = "{}", .headers = {}});
  EXPECT_EQ(runCommand(chatWith(inUse_, {"--model", kModel, "--save", file, shop_, kQuestion})).code, 69);
  EXPECT_EQ(read("kept.json"), "before");
}

}  // namespace
