// Every request of the Assistants service that fails: the text that the host gets, and what stays as it was.
#include "assistants_fixture.h"

#include <functional>

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// The state before a request that is to fail.
struct Scene {
  IQAIAssistant& assistant;
  IQAISession* session;
};

/// A request, and how a host comes to send it.
struct Step {
  const char* name;
  const char* line;  // on the wire
  int earlier;       // requests of the same operation that come before it
  const char* label;
  const char* noJsonText;
  const char* wrongFormat;  // JSON that the operation can't use
  bool needsAssistant;
  std::function<std::string(const Scene&)> run;  // gives the error text
};
void PrintTo(const Step& step, std::ostream* out) { *out << step.name; }

std::string addMessage(const Scene& scene) {
  const auto [message, error] = scene.assistant.addMessage(scene.session, "question");
  EXPECT_EQ(Owned<IQAIMessage>(message) == nullptr, !error.empty());
  return error;
}

std::string setInstructions(const Scene& scene) {
  return assign(scene.assistant, {{"model", "standin-small"}, {"user_instructions", "changed"}});
}

const std::vector<Step>& steps() {
  static const std::vector<Step> kSteps{
      {"models", "GET /v1/models", 0, ": g/v1/models", "Unsupported data format", R"({"data":{}})", false,
       [](const Scene& scene) { return scene.assistant.obtainAvailableModels().second; }},
      {"create", "POST /v1/assistants", 0, ": p/v1/assistants", "Invalid response", R"({"id":7})", false,
       setInstructions},
      {"modify", "POST /v1/assistants/id", 0, ": p/v1/assistants/id", "Invalid response", R"({"id":null})", true,
       setInstructions},
      {"thread", "POST /v1/threads", 0, ": p/v1/threads", "Invalid response", R"({"id":["x"]})", true,
       [](const Scene& scene) {
         const auto [session, error] = scene.assistant.createSession();
         EXPECT_EQ(Owned<IQAISession>(session) == nullptr, !error.empty());
         return error;
       }},
      {"message", "POST /v1/threads/id/messages", 0, ": p/v1/threads/id/messages", "Invalid response", R"({"ID":"x"})",
       true, addMessage},
      {"run_start", "POST /v1/threads/id/runs", 1, ": p/v1/threads/id/runs", "Invalid response", R"({"id":""})", true,
       addMessage},
      // Asked for by GET; hosts know the label so.
      {"run_state", "GET /v1/threads/id/runs/id", 2, ": p/v1/threads/id/runs/id", "Invalid response",
       R"({"status":{}})", true, addMessage},
      {"run_messages", "GET /v1/threads/id/messages?run_id=id", 3, ": g/v1/threads/id/messages", "Invalid response",
       R"({"data":"x"})", true, addMessage},
  };
  return kSteps;
}

class AssistantsFailure : public Assistants, public testing::WithParamInterface<Step> {
 protected:
  struct Case {
    standin::Script script;
    testing::Matcher<std::string> error;
  };

  /// Runs the step up to the request that `script` answers, and expects `error` and that nothing has changed.
  void expectFailure(const standin::Script& script, const testing::Matcher<std::string>& error, int times = 1) {
    const Step& step = GetParam();
    const auto assistant = step.needsAssistant ? assistantWith() : bareAssistant(CF::createHTTPPoolCenter());
    const auto session = step.needsAssistant ? newSession(*assistant) : nullptr;
    const auto save = [&session] { return session == nullptr ? "" : session->obtainSessionData(); };
    const std::string saved = save();
    const Scene scene{*assistant, session.get()};
    letPass(step.earlier);
    for (int i = 0; i < times; ++i) standin_.script(script);
    const std::string text = step.run(scene);
    EXPECT_THAT(text, error);
    EXPECT_THAT(text, Not(HasSubstr(kKey)));
    EXPECT_EQ(wire().back(), step.line);
    EXPECT_EQ(property(*assistant, "user_instructions").stringValue(), "");
    EXPECT_EQ(save(), saved);
    EXPECT_EQ(step.run(scene), "") << "the same again must succeed";
  }

  static standin::Script reply(int status, const std::string& body) {
    standin::Script script;
    script.status = status;
    script.body = body;
    return script;
  }
};
INSTANTIATE_TEST_SUITE_P(Requests, AssistantsFailure, testing::ValuesIn(steps()),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(AssistantsFailure, OfTheServiceIsToldInItsOwnWordsWithoutALabel) {
  expectFailure(reply(401, R"({"error":{"message":"Incorrect API key","code":"invalid_api_key"}})"),
                "Incorrect API key");
  expectFailure(reply(429, R"({"error":{"message":"quota exceeded"}})"), "quota exceeded");
  expectFailure(reply(400, R"({"error":"bad"})"), R"({"error":"bad"})");
  expectFailure(reply(502, "<html>Bad Gateway</html>"), "<html>Bad Gateway</html>");
  expectFailure(reply(500, ""), "HTTP 500 Internal Server Error");
  expectFailure(reply(404, R"({"error":{"message":""}})"), "HTTP 404 Not Found");
}

TEST_P(AssistantsFailure, OfTheReplysContentCarriesTheRequestsLabel) {
  const std::string label = GetParam().label;
  const std::string noJson = GetParam().noJsonText + label;
  const std::string wrongFormat = "Unsupported data format" + label;
  for (const char* body : {"", "no json", R"({"id":"x")"}) expectFailure(reply(200, body), noJson);
  for (const char* body : {"{}", "[]", "null", GetParam().wrongFormat}) expectFailure(reply(200, body), wrongFormat);
}

TEST_P(AssistantsFailure, OfTheReplysContentIsTranslatedAndTheLabelIsNot) {
  QAIRegisterCallback(translateToX);
  const std::string error = "X" + std::string(GetParam().label);
  expectFailure(reply(200, "no json"), error);
  expectFailure(reply(200, "{}"), error);
}

TEST_P(AssistantsFailure, OfTheServiceIsNotTranslated) {
  QAIRegisterCallback(translateToX);
  expectFailure(reply(500, R"({"error":{"message":"theirs"}})"), "theirs");
}

TEST_P(AssistantsFailure, OfTheTransportNamesTheServer) {
  const std::string lost =
      "The connection to 127.0.0.1:" + std::to_string(standin_.port()) + " was lost before the reply was complete";
  standin::Script script;
  script.fault = standin::Fault::CutBody;
  expectFailure(script, lost);
}

TEST_P(AssistantsFailure, AnyStatusFrom200To299Succeeds) {
  const auto assistant = GetParam().needsAssistant ? assistantWith() : bareAssistant(nullptr);
  const auto session = GetParam().needsAssistant ? newSession(*assistant) : nullptr;
  letPass(GetParam().earlier);
  standin::Script created;
  created.status = 201;
  standin_.script(created);
  EXPECT_EQ(GetParam().run({*assistant, session.get()}), "");
}

TEST_F(Assistants, ModelListThatHoldsAnErrorIsOneWhateverTheStatus) {
  const auto assistant = bareAssistant(nullptr);
  for (const int status : {200, 403}) {
    answerNext(status, R"({"error":{"message":"no models for you"},"data":[]})");
    const auto [models, error] = assistant->obtainAvailableModels();
    EXPECT_THAT(models, testing::IsEmpty());
    EXPECT_EQ(error, "no models for you") << status;
  }
}

struct RunErrorRow {
  const char* name;
  const char* lastError;  // as JSON
  std::string told;
};
void PrintTo(const RunErrorRow& row, std::ostream* out) { *out << row.name; }

class AssistantsRunError : public Assistants, public testing::WithParamInterface<RunErrorRow> {};

TEST_P(AssistantsRunError, IsToldAsTheServiceHasIt) {
  const auto assistant = assistantWith();
  const auto session = newSession(*assistant);
  QAIRegisterCallback(translateToX);
  standin::RunScript run;
  run.statuses = {"failed"};
  run.lastError = GetParam().lastError;
  standin_.scriptRun(run);
  EXPECT_EQ(ask(*assistant, session.get(), "question"), "error: " + GetParam().told);
  EXPECT_EQ(wire().back(), "GET /v1/threads/id/runs/id");
  EXPECT_THAT(ask(*assistant, session.get(), "again"), Not(StartsWith("error: ")));
}

const char* const kRunFormatError = "X: p/v1/threads/id/runs/id";

INSTANTIATE_TEST_SUITE_P(
    LastError, AssistantsRunError,
    testing::Values(RunErrorRow{"whole", R"({"code":"rate_limit_exceeded","message":"Slow down."})",
                                "rate_limit_exceeded: Slow down."},
                    RunErrorRow{"empty_texts", R"({"code":"","message":""})", ": "},
                    RunErrorRow{"null", "null", kRunFormatError}, RunErrorRow{"empty", "{}", kRunFormatError},
                    RunErrorRow{"no_object", R"("server_error")", kRunFormatError},
                    RunErrorRow{"no_message", R"({"code":"server_error"})", kRunFormatError},
                    RunErrorRow{"no_code", R"({"message":"Sorry"})", kRunFormatError},
                    RunErrorRow{"code_no_text", R"({"code":500,"message":"Sorry"})", kRunFormatError},
                    RunErrorRow{"message_null", R"({"code":"server_error","message":null})", kRunFormatError}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
