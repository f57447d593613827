// What replies tell beside their text, of all services, streamed and whole.
#include "fixture.h"
#include "support/streams.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;
using testing::Not;

struct Details {
  std::string finishReason = {};
  std::string refusal = {};
  std::int64_t input = -1;
  std::int64_t output = -1;
  std::int64_t cached = -1;
  std::string model = {};
  std::string request = {};
  bool operator==(const Details&) const = default;
};
void PrintTo(const Details& details, std::ostream* out) {
  *out << '"' << details.finishReason << "\", refusal \"" << details.refusal << "\", " << details.input << "/"
       << details.output << "/" << details.cached << " tokens, \"" << details.model << "\", request \""
       << details.request << '"';
}

/// Takes the reply over.
Details detailsOf(const std::pair<IQAIMessage*, std::string>& result) {
  const Owned<IQAIMessage> reply(result.first);
  EXPECT_EQ(result.second, "");
  const auto* details = qaiExtension<IQAIMessageDetails>(reply.get());
  if (details == nullptr) {
    ADD_FAILURE() << "a reply without details";
    return {};
  }
  return {std::string(details->obtainFinishReason()),
          std::string(details->obtainRefusal()),
          details->obtainInputTokens(),
          details->obtainOutputTokens(),
          details->obtainCachedTokens(),
          std::string(details->obtainModel()),
          std::string(details->obtainRequestIdentifier())};
}

Details ask(IQAIAssistant& assistant, IQAISession& session) {
  return detailsOf(assistant.addMessage(&session, "question"));
}
Details askStreamed(IQAIAssistant& assistant, IQAISession& session, const QAIStreamOptions& options = {}) {
  const auto sink = [](std::string_view) { return true; };
  return detailsOf(qaiExtension<IQAIStreaming>(&assistant)->addMessageStreaming(&session, "question", options, sink));
}

class DetailsOf : public EachService {
 protected:
  /// The identifier that the stand-in gives a request, of the newest as 0.
  std::string requestBefore(std::size_t count) const { return "req_standin_" + std::to_string(requestCount() - count); }

  Owned<IQAIAssistant> assistant_ = assistantWith();
  Owned<IQAISession> session_ = newSession(*assistant_);
};
INSTANTIATE_TEST_SUITE_P(All, DetailsOf, testing::ValuesIn(allServices()), serviceName);

TEST_P(DetailsOf, ServiceAreTheSameStreamedAndWhole) {
  Details whole = ask(*assistant_, *session_);
  EXPECT_EQ(whole.finishReason.empty(), service_.keepsConversations);  // a run that is whole tells none
  EXPECT_EQ(whole.refusal, "");
  EXPECT_GT(whole.input, 0);
  EXPECT_GT(whole.output, 0);
  EXPECT_NE(whole.model, "");
  EXPECT_NE(whole.request, "");
  const auto again = newSession(*assistant_);
  Details streamed = askStreamed(*assistant_, *again);
  EXPECT_NE(streamed.request, "");
  EXPECT_NE(streamed.request, whole.request);
  streamed.request = whole.request;
  EXPECT_EQ(streamed, whole);
}

TEST_P(DetailsOf, CostIsToldInAStreamWhereItTakesARequestOnlyWhenAsked) {
  const Details asked = askStreamed(*assistant_, *session_);
  const auto again = newSession(*assistant_);
  QAIStreamOptions options;
  options.asksForUsage = false;
  Details unasked = askStreamed(*assistant_, *again, options);
  EXPECT_THAT(lastBody(), Not(HasSubstr("stream_options")));
  EXPECT_EQ(unasked.output, service_.type == OPENAI_v1 ? -1 : asked.output);  // the others tell unasked
  EXPECT_EQ(unasked.finishReason, asked.finishReason);
  EXPECT_EQ(unasked.model, asked.model);
}

TEST_P(DetailsOf, RequestAreItsIdentifierUnlessTheBodyHasOne) {
  const std::size_t behind = service_.keepsConversations ? 2 : 0;  // the run's own, before its state and its messages
  const bool isInBody = service_.form == BodyForm::Gemini;
  const Details whole = ask(*assistant_, *session_);
  EXPECT_EQ(whole.request != requestBefore(behind), isInBody) << whole.request;
  const Details streamed = askStreamed(*assistant_, *session_);
  EXPECT_EQ(streamed.request != requestBefore(0), isInBody) << streamed.request;
}

struct BodyRow {
  const char* name;
  QAIAssistantType type;
  const char* body;
  Details details;
};
void PrintTo(const BodyRow& row, std::ostream* out) { *out << row.name; }

class DetailsIn : public testing::TestWithParam<BodyRow> {};

TEST_P(DetailsIn, BodyAreToldStreamedAndWhole) {
  const BodyRow& row = GetParam();
  const BodyForm form = findService(row.type)->form;
  standin::Server server;
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(row.type, nullptr, kKey, server.address()));
  assign(*assistant, {{"model", "m"}});
  const auto session = newSession(*assistant);
  const standin::Headers identifier{{"X-Request-ID", " r-1 "}};
  server.script({.status = 200, .body = row.body, .headers = identifier});
  EXPECT_EQ(ask(*assistant, *session), row.details);
  server.script({.status = 200,
                 .body = streamOf(form, row.body),
                 .headers = identifier,
                 .contentType = std::string(streamTypeOf(form))});
  EXPECT_EQ(askStreamed(*assistant, *session), row.details);
  server.script({.status = 200, .body = row.body, .headers = identifier});
  EXPECT_EQ(askStreamed(*assistant, *session), row.details);
}

INSTANTIATE_TEST_SUITE_P(
    All, DetailsIn,
    testing::Values(
        BodyRow{
            "completions",
            OPENAI_v1,
            R"({"model":"m-2","choices":[{"index":0,"message":{"role":"assistant","content":"a"},"finish_reason":)"
            R"("length"},{"index":1,"message":{"role":"assistant","content":"b","refusal":"no"},"finish_reason":)"
            R"("stop"}],"usage":{"prompt_tokens":9,"completion_tokens":3,"prompt_tokens_details":{"cached_tokens":4}}})",
            {"length", "", 9, 3, 4, "m-2", "r-1"}},
        BodyRow{"refusal",
                OPENAI_v1,
                R"({"choices":[{"index":0,"message":{"role":"assistant","content":null,"refusal":"I can't."},)"
                R"("finish_reason":"stop"}],"usage":null})",
                {.finishReason = "stop", .refusal = "I can't.", .request = "r-1"}},
        BodyRow{"counts_that_are_none",
                DEEPSEEK,
                R"({"model":7,"choices":[{"message":{"role":"assistant","content":"a"},"finish_reason":"stop"}],)"
                R"("usage":{"prompt_tokens":-1,"completion_tokens":"3","prompt_tokens_details":7}})",
                {.finishReason = "stop", .request = "r-1"}},
        BodyRow{"as_many_tokens_as_are_counted",
                OPENAI_v1,
                R"({"choices":[{"message":{"role":"assistant","content":"a"},"finish_reason":"stop"}],"usage":)"
                R"({"prompt_tokens":9000000000000000,"completion_tokens":9000000000000002}})",
                {.finishReason = "stop", .input = 9'000'000'000'000'000, .request = "r-1"}},
        BodyRow{
            "gemini",
            GOOGLE,
            R"({"candidates":[{"content":{"parts":[{"text":"a"}],"role":"model"},"finishReason":"MAX_TOKENS"},)"
            R"({"content":{"parts":[{"text":"b"}],"role":"model"},"finishReason":"SAFETY"}],"usageMetadata":)"
            R"({"promptTokenCount":6,"candidatesTokenCount":1,"thoughtsTokenCount":35,"cachedContentTokenCount":2},)"
            R"("modelVersion":"g-2","responseId":"own"})",
            {"MAX_TOKENS", "", 6, 36, 2, "g-2", "own"}},
        BodyRow{"ollama",
                OLLAMA,
                R"({"model":"o-2","message":{"role":"assistant","content":"a"},"done":true,"done_reason":"length",)"
                R"("prompt_eval_count":25,"eval_count":9})",
                {"length", "", 25, 9, -1, "o-2", "r-1"}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(DetailsOfARun, AreItsUsageAndWhyItIsCutShort) {
  const std::string run = R"({"id":"run_standin_1","status":"completed","model":"m-2","incomplete_details":{"reason":)"
                          R"("max_prompt_tokens"},"usage":{"prompt_tokens":6,"completion_tokens":16,)"
                          R"("prompt_token_details":{"cached_tokens":5}}})";
  const std::string messages = R"({"data":[]})";
  const Details expected{"max_prompt_tokens", "", 6, 16, 5, "m-2", "r-1"};
  const standin::Headers identifier{{"x-request-id", "r-1"}};
  standin::Server server;
  const Owned<IQAIAssistant> assistant(QAICreateAssistant(OPENAI, nullptr, kKey, server.address()));
  assign(*assistant, {{"model", "standin-small"}});
  const auto session = newSession(*assistant);
  server.script({});
  server.script({.status = 200, .body = R"({"id":"run_standin_1"})", .headers = identifier});
  server.script({.status = 200, .body = run});
  server.script({.status = 200, .body = messages});
  EXPECT_EQ(ask(*assistant, *session), expected);
  const auto again = newSession(*assistant);
  server.script({});
  server.script(
      {.status = 200, .body = streamOfRun(run, messages), .headers = identifier, .contentType = "text/event-stream"});
  EXPECT_EQ(askStreamed(*assistant, *again), expected);
}

}  // namespace
