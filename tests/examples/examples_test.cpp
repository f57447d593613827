// The examples, run against the stand-in with every service.
#include "support/platform.h"
#include "support/services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <standin.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using testing::HasSubstr;

const std::string kKey = "sk-example";
constexpr const char* kAnswer = "two parts";  // of the services' table

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// `text` as a document shows it: each line moved in, without blank lines at the end.
std::string asShown(const std::string& text) {
  std::istringstream lines(text.substr(0, text.find_last_not_of('\n') + 1));
  std::string shown;
  for (std::string line; std::getline(lines, line);) shown += "    " + line + "\n";
  return shown;
}

/// What a program with `arguments` prints, errors included.
std::string outputOf(const char* program, std::vector<std::string> arguments) {
  setEnvironment("QAI_API_KEY", kKey);
  arguments.insert(arguments.begin(), program);
  return ::outputOf(arguments);
}

class Example : public testing::TestWithParam<TestedService> {
 protected:
  /// The arguments that all examples begin with.
  std::vector<std::string> arguments(std::vector<std::string> further) const {
    std::vector<std::string> all{std::to_string(GetParam().type), server_.address(), GetParam().model};
    all.insert(all.end(), further.begin(), further.end());
    return all;
  }

  /// The service's next reply is kAnswer.
  void answer() {
    if (GetParam().keepsConversations) {
      server_.scriptRun({.contents = {{R"([{"type":"text","text":{"value":"two parts","annotations":[]}}])"}}});
    } else {
      standin::Script script;
      script.status = 200;
      script.body = GetParam().replyBody;
      server_.script(script);
    }
  }

  /// All that was sent.
  std::string sentBodies() const {
    std::string bodies;
    for (const standin::Request& request : server_.requests()) bodies += request.body + "\n";
    return bodies;
  }

  standin::Server server_{{.apiKey = kKey}};
};

std::string nameOf(const testing::TestParamInfo<TestedService>& row) { return row.param.name; }

class MinimalHost : public Example {
 protected:
  void expectQuestionAndAnswer(const char* program) {
    answer();
    EXPECT_EQ(outputOf(program, arguments({"How high?"})), std::string(kAnswer) + "\n");
    EXPECT_THAT(sentBodies(), HasSubstr("CREATE TABLE `glacier` (`id` INTEGER, `height` REAL, PRIMARY KEY(`id`))"));
    EXPECT_THAT(sentBodies(), HasSubstr("How high?"));
    const auto requests = server_.requests();
    ASSERT_FALSE(requests.empty());
    if (GetParam().keepsConversations) {
      EXPECT_EQ(requests.back().method, "DELETE");
    }
  }
  void expectError(const char* program) {
    standin::Script closed;
    closed.status = 503;
    closed.body = R"({"error":{"message":"closed for today"}})";
    server_.script(closed);
    EXPECT_EQ(outputOf(program, arguments({"How high?"})), "closed for today\n");
    EXPECT_EQ(outputOf(program, {"99", server_.address(), "m", "How high?"}), "There is no service of this number.\n");
    EXPECT_THAT(outputOf(program, {}), testing::StartsWith("usage: "));
  }
};
INSTANTIATE_TEST_SUITE_P(All, MinimalHost, testing::ValuesIn(allServices()), nameOf);

TEST_P(MinimalHost, OnThePlainHeaderPrintsTheReply) { expectQuestionAndAnswer(minimal_host_PATH); }
TEST_P(MinimalHost, OnThePlainHeaderPrintsErrors) { expectError(minimal_host_PATH); }
TEST_P(MinimalHost, InConvenientCppPrintsTheReply) { expectQuestionAndAnswer(minimal_host_hpp_PATH); }
TEST_P(MinimalHost, InConvenientCppPrintsErrors) { expectError(minimal_host_hpp_PATH); }

TEST(TenLines, PrintWhatTheReadmeShows) {
  const standin::Server server;
  const std::string output = outputOf(ten_lines_PATH, {server.address()});
  EXPECT_THAT(output, HasSubstr("SELECT"));
  EXPECT_THAT(contentOf(README_PATH), HasSubstr("\n\n" + asShown(output) + "\n"));
}

TEST(TenLines, PrintTheErrorOfTheService) {
  standin::Server server;
  standin::Script closed;
  closed.status = 503;
  closed.body = R"({"error":{"message":"closed for today"}})";
  server.script(closed);
  EXPECT_EQ(outputOf(ten_lines_PATH, {server.address()}), "closed for today\n");
}

class AsItComes : public Example {};
INSTANTIATE_TEST_SUITE_P(All, AsItComes, testing::ValuesIn(allServices()), nameOf);

TEST_P(AsItComes, PrintsAStreamedReplyAndWhatItTook) {
  const std::string output = outputOf(as_it_comes_PATH, arguments({"How high?"}));
  EXPECT_THAT(output, testing::Not(testing::StartsWith("\n")));
  EXPECT_THAT(output, HasSubstr("\n("));
  EXPECT_THAT(output, testing::EndsWith(" tokens)\n"));
  std::string accepted;
  for (const standin::Request& request : server_.requests()) accepted += request.header("Accept") + "\n";
  EXPECT_THAT(accepted, testing::AnyOf(HasSubstr("text/event-stream\n"), HasSubstr("application/x-ndjson\n")));
}

TEST_P(AsItComes, PrintsErrors) {
  standin::Script closed;
  closed.status = 503;
  closed.body = R"({"error":{"message":"closed for today"}})";
  server_.script(closed);
  EXPECT_THAT(outputOf(as_it_comes_PATH, arguments({"How high?"})), testing::EndsWith("closed for today\n"));
  EXPECT_THAT(outputOf(as_it_comes_PATH, {}), testing::StartsWith("usage: "));
}

class RestoreSession : public Example {
 protected:
  RestoreSession()
      : file_(std::filesystem::temp_directory_path() /
              ("qai_restore_" + std::to_string(server_.port()) + "_" + GetParam().name)) {
    std::filesystem::remove(file_);
  }
  ~RestoreSession() override { std::filesystem::remove(file_); }

  const std::filesystem::path file_;
};
INSTANTIATE_TEST_SUITE_P(All, RestoreSession, testing::ValuesIn(allServices()), nameOf);

TEST_P(RestoreSession, GoesOnWithTheConversationOfTheRunBefore) {
  answer();
  EXPECT_EQ(outputOf(restore_session_PATH, arguments({file_.string(), "the first question"})),
            "A new conversation\ntwo parts\n");
  const std::size_t before = server_.requests().size();
  answer();
  EXPECT_EQ(outputOf(restore_session_PATH, arguments({file_.string(), "the second question"})),
            "The conversation goes on\ntwo parts\n");
  const auto requests = server_.requests();
  ASSERT_GT(requests.size(), before);
  if (GetParam().keepsConversations) {  // the service keeps it: the same thread gets the second message
    EXPECT_EQ(requests[before].path, requests[2].path);
  } else {
    EXPECT_THAT(requests[before].body, HasSubstr("the first question"));
    EXPECT_THAT(requests[before].body, HasSubstr(kAnswer));
  }
  EXPECT_THAT(requests[before].body, HasSubstr("the second question"));
}

TEST_P(RestoreSession, RefusesAFileThatIsNoConversation) {
  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(file_.string().c_str(), "w"), &std::fclose);
  std::fputs("no JSON", file.get());
  file.reset();
  EXPECT_EQ(outputOf(restore_session_PATH, arguments({file_.string(), "question"})), "Cannot load session data\n");
}

TEST_P(RestoreSession, SendsNothingToAnotherHostThanTheOneOnTheCommandLine) {
  const standin::Server other;
  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(file_.string().c_str(), "w"), &std::fclose);
  std::fputs((R"({"assistant_id":"a","thread_id":"t","api_host":")" + other.address() + "\"}").c_str(), file.get());
  file.reset();
  EXPECT_EQ(outputOf(restore_session_PATH, arguments({file_.string(), "question"})),
            "The conversation was held with " + other.address() + "\n");
  EXPECT_EQ(other.connectionCount() + server_.connectionCount(), 0U);
}

class WorkerThread : public Example {};
INSTANTIATE_TEST_SUITE_P(All, WorkerThread, testing::ValuesIn(allServices()), nameOf);

TEST_P(WorkerThread, PrintsTheReply) {
  answer();
  EXPECT_EQ(outputOf(worker_thread_PATH, arguments({"60", "question"})), std::string(kAnswer) + "\n");
}

class ImpatientWorker : public Example {};
INSTANTIATE_TEST_SUITE_P(Pooled, ImpatientWorker, testing::ValuesIn(cancellableServices()), nameOf);

TEST_P(ImpatientWorker, GivesUpWhenTheServiceDoesNotAnswer) {
  const int earlier = GetParam().keepsConversations ? 2 : 0;  // for the assistant and the conversation
  for (int i = 0; i < earlier; ++i) server_.script({});
  standin::Script noReply;
  noReply.fault = standin::Fault::NoReply;
  server_.script(noReply);
  EXPECT_EQ(outputOf(worker_thread_PATH, arguments({"0.05", "question"})),
            "That takes too long.\nThe request was cancelled\n");
}

}  // namespace
