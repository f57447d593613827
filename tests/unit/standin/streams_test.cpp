// Streams: what holds for every service that sends the whole conversation with each request.
#include "error_case.h"
#include "raw_client.h"
#include "stream_events.h"
#include "support/platform.h"

#include <cf/text.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <ostream>
#include <set>

namespace {

using standin::Fault;
using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

struct StreamedService {
  const char* name;
  std::string wholeTarget;
  std::string streamTarget;
  std::string members;        // of every body, ahead of the conversation
  std::string wholeMembers;   // of a request without a stream
  std::string streamMembers;  // of one with
  bool hasContents;           // the conversation is "contents", else "messages"
  std::string contentType;
  std::string wholeText;  // paths, as are the next
  std::string pieceText;
  std::string reason;  // why the answer ended, in the stream
  std::vector<std::string> usage;
  std::vector<std::string> ending;  // what the last events hold
};

void PrintTo(const StreamedService& row, std::ostream* out) { *out << row.name; }

const std::string kBearer = std::string("Authorization: Bearer ") + kRightKey;
const std::string kQuery = std::string("key=") + kRightKey;

const StreamedService kOpenai{.name = "openai",
                              .wholeTarget = "/v1/chat/completions",
                              .streamTarget = "/v1/chat/completions",
                              .members = R"("model":"standin-small")",
                              .wholeMembers = "",
                              .streamMembers = R"(,"stream":true,"stream_options":{"include_usage":true})",
                              .hasContents = false,
                              .contentType = "text/event-stream; charset=utf-8",
                              .wholeText = "choices/0/message/content",
                              .pieceText = "choices/0/delta/content",
                              .reason = "choices/0/finish_reason",
                              .usage = {"usage"},
                              .ending = {R"("finish_reason":"stop")", R"("choices":[],"usage":{)", "[DONE]"}};

StreamedService likeOpenai(const char* name, const std::string& model) {
  StreamedService row = kOpenai;
  row.name = name;
  row.members = R"("model":")" + model + "\"";
  row.wholeTarget = row.streamTarget = "/chat/completions";
  return row;
}

const StreamedService kOllama{.name = "ollama",
                              .wholeTarget = "/api/chat",
                              .streamTarget = "/api/chat",
                              .members = R"("model":"standin")",
                              .wholeMembers = R"(,"stream":false)",
                              .streamMembers = R"(,"stream":true)",
                              .hasContents = false,
                              .contentType = "application/x-ndjson",
                              .wholeText = "message/content",
                              .pieceText = "message/content",
                              .reason = "done_reason",
                              .usage = {"prompt_eval_count", "eval_count"},
                              .ending = {R"("content":""},"done_reason":"stop","done":true)"}};

const StreamedService kGemini{.name = "gemini",
                              .wholeTarget = "/v1beta/models/gemini-standin:generateContent?" + kQuery,
                              .streamTarget = "/v1beta/models/gemini-standin:streamGenerateContent?alt=sse&" + kQuery,
                              .members = R"("generationConfig":{})",
                              .wholeMembers = "",
                              .streamMembers = "",
                              .hasContents = true,
                              .contentType = "text/event-stream",
                              .wholeText = "candidates/0/content/parts/0/text",
                              .pieceText = "candidates/0/content/parts/0/text",
                              .reason = "candidates/0/finishReason",
                              .usage = {"usageMetadata", "modelVersion"},
                              .ending = {R"("finishReason":"STOP")"}};

/// Characters of one to four bytes, and what JSON writes in another way.
std::string oddText() {
  std::string text = "\\\"line\\n\\t";
  for (int i = 0; i < 100; ++i) text += "é€😀z";
  return text;
}

/// A conversation whose answer repeats what was answered before.
std::string writeBody(const StreamedService& service, const std::string& streamMembers) {
  const auto turn = [&](const std::string& role, const std::string& text) {
    const std::string content =
        service.hasContents ? R"("parts":[{"text":")" + text + "\"}]" : R"("content":")" + text + "\"";
    return R"({"role":")" + role + "\"," + content + "}";
  };
  return "{" + service.members + streamMembers + (service.hasContents ? R"(,"contents":[)" : R"(,"messages":[)") +
         turn("user", "one two three") + "," + turn(service.hasContents ? "model" : "assistant", oddText()) + "," +
         turn("user", "What did you answer?") + "]}";
}

class Streamed : public testing::TestWithParam<StreamedService> {
 protected:
  Client::Answer askWhole() {
    return client.post(GetParam().wholeTarget, writeBody(GetParam(), GetParam().wholeMembers), {kBearer});
  }
  Client::Answer askStream() {
    return client.post(GetParam().streamTarget, writeBody(GetParam(), GetParam().streamMembers), {kBearer});
  }

  standin::Server server{{.apiKey = kRightKey}};
  Client client{server.address()};
};

std::size_t countCharacters(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](unsigned char byte) { return (byte & 0xC0U) != 0x80U; }));
}

TEST_P(Streamed, BringsTheTextOfTheWholeReplyInPiecesOfManySizes) {
  const auto answer = askStream();
  ASSERT_EQ(answer.status, 200) << answer.body;
  EXPECT_EQ(answer.contentType, GetParam().contentType);
  EXPECT_THAT(answer.head, HasSubstr("\r\nTransfer-Encoding: chunked\r\n"));
  const std::vector<std::string> pieces = textsAt(readEvents(answer.body), GetParam().pieceText);
  const std::string text = textAt(askWhole().body, GetParam().wholeText);
  EXPECT_THAT(text, HasSubstr("é€😀zé€😀z"));
  EXPECT_EQ(joined(pieces), text);
  std::set<std::size_t> sizes;
  for (const std::string& piece : pieces) {
    EXPECT_TRUE(cfIsUTF8(piece)) << piece;
    sizes.insert(countCharacters(piece));
  }
  EXPECT_GE(sizes.size(), 7U);
}

TEST_P(Streamed, EndsInTheServicesWay) {
  const std::vector<StreamEvent> events = readEvents(askStream().body);
  const std::vector<std::string>& ending = GetParam().ending;
  ASSERT_GT(events.size(), ending.size());
  for (std::size_t i = 0; i < ending.size(); ++i) {
    EXPECT_THAT(events[events.size() - ending.size() + i].data, HasSubstr(ending[i]));
  }
  EXPECT_EQ(textsAt(events, GetParam().reason).size(), 1U);
}

TEST_P(Streamed, TellsTheUsageOfTheWholeReply) {
  std::string last;
  for (const StreamEvent& event : readEvents(askStream().body)) {
    if (event.data != "[DONE]") last = event.data;
  }
  const std::string whole = askWhole().body;
  for (const std::string& path : GetParam().usage) {
    EXPECT_EQ(jsonAt(last, path), jsonAt(whole, path)) << path;
    EXPECT_NE(jsonAt(last, path), "") << path;
  }
}

/// The chunks of a body, as they are on the line.
std::vector<std::string> readChunks(RawClient& client) {
  std::vector<std::string> chunks;
  while (true) {
    const std::size_t size = std::stoul("0" + client.readTo("\r\n"), nullptr, 16);
    if (size == 0) return chunks;
    std::string chunk;
    while (chunk.size() < size + 2) {  // the chunk itself may hold a line's end
      const std::string read = client.readTo("\r\n");
      if (read.empty()) return chunks;
      chunk += read;
    }
    chunks.push_back(chunk.substr(0, size));
  }
}

TEST_P(Streamed, IsCutInsideEventsAndCharacters) {
  const std::string body = writeBody(GetParam(), GetParam().streamMembers);
  RawClient raw(server.port());
  raw.send("POST " + GetParam().streamTarget + " HTTP/1.1\r\nHost: x\r\n" + kBearer +
           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
  EXPECT_THAT(raw.readHead(), HasSubstr("\r\nTransfer-Encoding: chunked\r\n"));
  const std::vector<std::string> chunks = readChunks(raw);
  EXPECT_EQ(joined(textsAt(readEvents(joined(chunks)), GetParam().pieceText)),
            textAt(askWhole().body, GetParam().wholeText));
  std::set<std::size_t> sizes;
  for (const std::string& chunk : chunks) sizes.insert(chunk.size());
  EXPECT_GE(sizes.size(), 11U);
  const auto isCut = [](const std::string& chunk) { return !chunk.ends_with('\n'); };
  EXPECT_GT(std::count_if(chunks.begin(), chunks.end(), isCut), 20);
  const auto hasPart = [](const std::string& chunk) { return !cfIsUTF8(chunk); };
  EXPECT_GT(std::count_if(chunks.begin(), chunks.end(), hasPart), 0);
}

TEST_P(Streamed, IsRefusedInAWholeReply) {
  const std::string unfit = R"({"stream":true})";
  const auto answer = client.post(GetParam().streamTarget, unfit, {kBearer});
  EXPECT_EQ(answer.status, 400) << answer.body;
  EXPECT_THAT(answer.body, StartsWith(R"({"error":)"));
  EXPECT_THAT(answer.head, HasSubstr("\r\nContent-Length: "));
}

TEST_P(Streamed, GivesWayToAScriptedBodyAndStatus) {
  const std::string usualType = askWhole().contentType;
  server.script({.status = 503, .body = R"({"error":"busy"})"});
  server.script({.body = "{}"});
  server.script({.status = 429});
  const auto refused = askStream();
  EXPECT_EQ(refused.status, 503);
  EXPECT_EQ(refused.body, R"({"error":"busy"})");
  EXPECT_EQ(refused.contentType, usualType);
  const auto whole = askStream();
  EXPECT_EQ(whole.body, "{}");
  EXPECT_EQ(whole.contentType, usualType);
  const auto late = askStream();
  EXPECT_EQ(late.status, 429);
  EXPECT_EQ(textAt(late.body, GetParam().wholeText), textAt(askWhole().body, GetParam().wholeText));
}

TEST_P(Streamed, StaysAStreamUnderAnotherStatus) {
  server.script({.status = 201});
  const auto answer = askStream();
  EXPECT_EQ(answer.status, 201);
  EXPECT_EQ(answer.contentType, GetParam().contentType);
}

TEST_P(Streamed, GivesWayToAScriptedStream) {
  server.script({.body = "data: whole\n\n", .contentType = "text/event-stream"});
  server.script({.pieces = {{"da"}, {"ta: x\n"}, {"\n"}}, .contentType = "text/event-stream"});
  server.script({.pieces = standin::cutBytes(oddText())});
  const auto sized = askStream();
  EXPECT_EQ(sized.body, "data: whole\n\n");
  EXPECT_EQ(sized.contentType, "text/event-stream");
  const auto chunked = askStream();
  EXPECT_EQ(chunked.body, "data: x\n\n");
  EXPECT_EQ(chunked.contentType, "text/event-stream");
  EXPECT_THAT(chunked.head, HasSubstr("\r\nTransfer-Encoding: chunked\r\n"));
  EXPECT_EQ(askWhole().body, oddText());
}

TEST_P(Streamed, IsSlowWhereScripted) {
  server.script({.fault = Fault::SlowBody, .pace = milliseconds(1)});
  const auto answer = askStream();
  EXPECT_EQ(answer.result, CURLE_OK);
  EXPECT_EQ(joined(textsAt(readEvents(answer.body), GetParam().pieceText)),
            textAt(askWhole().body, GetParam().wholeText));
}

TEST_P(Streamed, BreaksInTheMiddleWhereScripted) {
  server.script({.fault = Fault::CutBody});
  server.script({.fault = Fault::CutBody, .cutAfter = 0});
  server.script({.fault = Fault::CutBody, .cutAfter = 100});
  const auto cut = askStream();
  EXPECT_EQ(cut.result, CURLE_PARTIAL_FILE);
  EXPECT_GT(cut.body.size(), 1000U);
  EXPECT_TRUE(textsAt(readEvents(cut.body), GetParam().reason).empty());
  EXPECT_EQ(askStream().body, "");
  EXPECT_EQ(askStream().body.size(), 100U);
}

TEST_P(Streamed, IsResetInTheMiddleWhereScripted) {
  if (isWine()) GTEST_SKIP() << "Wine ends every connection in order before it resets it";
  server.script({.fault = Fault::ResetBody, .cutAfter = 100});
  const auto answer = askStream();
  EXPECT_EQ(answer.result, CURLE_RECV_ERROR);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.body.size(), 100U);
}

TEST_P(Streamed, HasANumberOfItsOwnAsTheWholeReplyHas) {
  EXPECT_THAT(askStream().head, HasSubstr("\r\nx-request-id: req_standin_1\r\n"));
  EXPECT_THAT(askWhole().head, HasSubstr("\r\nx-request-id: req_standin_2\r\n"));
  server.script({.status = 500, .headers = {{"X-Request-ID", "mine"}}});
  const auto answer = askStream();
  EXPECT_THAT(answer.head, HasSubstr("\r\nX-Request-ID: mine\r\n"));
  EXPECT_THAT(answer.head, Not(HasSubstr("req_standin")));
}

INSTANTIATE_TEST_SUITE_P(Services, Streamed,
                         testing::Values(kOpenai, likeOpenai("deepseek", "deepseek-chat"),
                                         likeOpenai("deepseek_with_reasoning", "deepseek-reasoner"), kOllama, kGemini),
                         [](const auto& row) { return std::string(row.param.name); });

/// What only one service does.
class OneService : public testing::Test {
 protected:
  std::vector<StreamEvent> ask(const std::string& target, const std::string& members) {
    body = client.post(target, "{" + members + R"(,"messages":[{"role":"user","content":"x"}]})").body;
    return readEvents(body);
  }

  standin::Server server;
  Client client{server.address()};
  std::string body;
};

TEST_F(OneService, OpenaiBeginsWithTheRoleAndTellsNoUsageUnasked) {
  const auto events = ask("/v1/chat/completions", R"("model":"standin-large","stream":true)");
  EXPECT_EQ(jsonAt(events.front().data, "choices/0/delta"), R"({"role":"assistant","content":"","refusal":null})");
  EXPECT_EQ(body.find("usage"), std::string::npos);
  for (const StreamEvent& event : events) {
    if (event.data == "[DONE]") continue;
    EXPECT_EQ(textAt(event.data, "object"), "chat.completion.chunk");
    EXPECT_EQ(textAt(event.data, "model"), "standin-large");
    EXPECT_EQ(textAt(event.data, "id"), textAt(events.front().data, "id"));
  }
}

TEST_F(OneService, DeepseekSendsACommentAndTellsUsageUnasked) {
  const auto events = ask("/chat/completions", R"("model":"deepseek-chat","stream":true)");
  EXPECT_THAT(body, StartsWith(": keep-alive\n\ndata: {"));
  const std::string& end = events[events.size() - 2].data;
  EXPECT_EQ(textAt(end, "choices/0/finish_reason"), "stop");
  EXPECT_EQ(jsonAt(end, "usage/prompt_cache_miss_tokens"), "1");
}

TEST_F(OneService, DeepseekSendsItsReasoningFirst) {
  const std::string members = R"("model":"deepseek-reasoner")";
  const auto events = ask("/chat/completions", members + R"(,"stream":true)");
  const std::string reasoning = joined(textsAt(events, "choices/0/delta/reasoning_content"));
  const auto whole =
      client.post("/chat/completions", "{" + members + R"(,"messages":[{"role":"user","content":"x"}]})");
  EXPECT_EQ(reasoning, textAt(whole.body, "choices/0/message/reasoning_content"));
  EXPECT_NE(reasoning, "");
  EXPECT_LT(body.rfind("reasoning_content"), body.find(R"("delta":{"content":")"));
}

TEST_F(OneService, GeminiSendsAnArrayWhereNoEventsAreAskedFor) {
  const auto answer = client.post("/v1beta/models/gemini-standin:streamGenerateContent?key=k",
                                  R"({"contents":[{"parts":[{"text":"x"}]}]})");
  EXPECT_EQ(answer.contentType, "application/json");
  EXPECT_EQ(textAt(answer.body, "0/candidates/0/finishReason"), "STOP");
}

TEST_F(OneService, GeminiEndsItsLinesWithTwoBytes) {
  const auto answer = client.post("/v1beta/models/gemini-standin:streamGenerateContent?alt=sse&key=k",
                                  R"({"contents":[{"parts":[{"text":"x"}]}]})");
  EXPECT_TRUE(answer.body.ends_with("}\r\n\r\n"));
}

struct OptionsCase {
  const char* name;
  std::string target;
  std::string members;
  std::string message;
};
class StreamOptions : public testing::TestWithParam<OptionsCase> {};

TEST_P(StreamOptions, AreCheckedFirst) {
  const standin::Server server;
  const auto answer =
      Client(server.address())
          .post(GetParam().target, "{" + GetParam().members + R"(,"messages":[{"role":"user","content":"x"}]})");
  EXPECT_EQ(answer.status, 400);
  EXPECT_THAT(textAt(answer.body, "error/message"), HasSubstr(GetParam().message));
}

const std::string kSmall = R"("model":"standin-small")";

INSTANTIATE_TEST_SUITE_P(
    Rows, StreamOptions,
    testing::Values(OptionsCase{"without_a_stream", kOpenai.streamTarget, kSmall + R"(,"stream_options":{})",
                                "The 'stream_options' parameter is only allowed when 'stream' is enabled."},
                    OptionsCase{"without_a_stream_at_deepseek", "/chat/completions",
                                R"("model":"deepseek-chat","stream":false,"stream_options":{})",
                                "stream_options should be set along with stream = true"},
                    OptionsCase{"stream_no_bool", kOpenai.streamTarget, kSmall + R"(,"stream":1)",
                                "Invalid type for 'stream': expected a boolean, but got a number instead."},
                    OptionsCase{"options_no_object", kOpenai.streamTarget,
                                kSmall + R"(,"stream":true,"stream_options":true)",
                                "Invalid type for 'stream_options'"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
