// Streamed turns: each reply that comes whole gives the same when it comes piece by piece.
#include "fixture.h"
#include "support/raw_server.h"
#include "support/streams.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

/// What a host gets of a turn.
struct Turned {
  std::string text;   // of the message, or "error: " and why there is none
  std::string saved;  // the session afterwards
  std::vector<std::string> pieces;
  bool operator==(const Turned& other) const { return text == other.text && saved == other.saved; }
};
void PrintTo(const Turned& turned, std::ostream* out) { *out << turned.text << " | " << turned.saved; }

std::string streamReply(const std::string& body, std::string_view type) {
  return raw::reply(200, body, "Content-Type: " + std::string(type) + "\r\n");
}

class Streaming : public testing::TestWithParam<TestedService> {
 protected:
  /// A turn at a server that answers with `reply`.
  Turned turn(const std::string& reply, bool isStreamed, QAIStreamOptions options = {}) {
    RawServer server(reply);
    const Owned<IQAIAssistant> assistant(
        QAICreateAssistant(GetParam().type, CF::createHTTPPoolCenter(), kKey, server.getURL()));
    assign(*assistant, {{"model", GetParam().model}});
    const auto session = newSession(*assistant);
    Turned turned;
    if (isStreamed) {
      StreamedTurn streamed = askStreaming(*assistant, session.get(), "question", options);
      turned.text = std::move(streamed.told);
      turned.pieces = std::move(streamed.pieces);
    } else {
      turned.text = ask(*assistant, session.get(), "question");
    }
    turned.saved = session->obtainSessionData();
    // The address differs from server to server.
    turned.saved.replace(turned.saved.find(server.getURL()), server.getURL().size(), "HOST");
    requests_ = server.getRequests();
    return turned;
  }
  Turned streamed(const std::string& body) { return turn(streamReply(body, streamTypeOf(GetParam().form)), true); }

  std::vector<std::string> requests_;
};
INSTANTIATE_TEST_SUITE_P(Chat, Streaming, testing::ValuesIn(chatServices()), serviceName);

TEST_P(Streaming, GivesWhatTheWholeReplyGives) {
  for (const char* body : {GetParam().replyBody, GetParam().emptyReplyBody, GetParam().wrongFormatBody}) {
    const Turned whole = turn(streamReply(body, "application/json"), false);
    const Turned inPieces = streamed(streamOf(GetParam().form, body));
    EXPECT_EQ(inPieces, whole) << body;
    if (whole.text.starts_with("error: ")) continue;
    std::string joined;
    for (const std::string& piece : inPieces.pieces) joined += piece;
    EXPECT_EQ(joined, whole.text) << body;
  }
}

TEST_P(Streaming, AsksForAStreamWithTheSameQuestion) {
  turn(streamReply(GetParam().replyBody, "application/json"), false);
  const std::string whole = requests_.at(0).substr(requests_.at(0).find("\r\n\r\n") + 4);
  streamed("");
  const std::string& request = requests_.at(0);
  EXPECT_THAT(request, HasSubstr("\r\nAccept: " + std::string(streamTypeOf(GetParam().form)) + "\r\n"));
  EXPECT_THAT(request, Not(HasSubstr("Accept-Encoding")));
  const std::string body = request.substr(request.find("\r\n\r\n") + 4);
  switch (GetParam().form) {
    case BodyForm::Gemini:
      EXPECT_THAT(request, HasSubstr(":streamGenerateContent?key=" + kKey + "&alt=sse HTTP/1.1\r\n"));
      EXPECT_EQ(body, whole);
      break;
    case BodyForm::Ollama:
      EXPECT_THAT(body, HasSubstr(R"("stream":true,)"));
      break;
    default:
      EXPECT_THAT(body, EndsWith(R"(,"stream":true,"stream_options":{"include_usage":true}})"));
  }
}

TEST_P(Streaming, UnderstandsAWholeReplyAsWell) {
  const Turned whole = turn(streamReply(GetParam().replyBody, "application/json"), false);
  const Turned inOne = turn(streamReply(GetParam().replyBody, "Application/JSON; charset=utf-8"), true);
  EXPECT_EQ(inOne, whole);
  EXPECT_THAT(inOne.pieces, ElementsAre("two parts"));
}

TEST_P(Streaming, FailureBeforeTheStreamIsToldAsEver) {
  const std::string body = R"({"error":{"message":"no such thing"}})";
  const Turned whole = turn(raw::reply(404, body), false);
  EXPECT_EQ(turn(raw::reply(404, body), true), whole);
  EXPECT_THAT(whole.text, testing::StartsWith("error: "));
}

TEST_P(Streaming, ErrorInTheStreamIsTold) {
  const std::string end = GetParam().form == BodyForm::Ollama ? "\n" : "\n\n";
  const std::string start = GetParam().form == BodyForm::Ollama ? "" : "data: ";
  EXPECT_EQ(streamed(start + R"({"error":{"message":"overloaded"}})" + end).text, "error: overloaded");
  EXPECT_EQ(streamed(start + R"({"error":"overloaded"})" + end).text, "error: overloaded");
  EXPECT_EQ(streamed(start + R"({"error":{"code":7}})" + end).text, R"(error: {"error":{"code":7}})");
}

TEST_P(Streaming, ThatEndsTooEarlyIsAFailureThatSaysSo) {
  const std::string whole = streamOf(GetParam().form, GetParam().replyBody);
  const Turned turned = streamed(whole.substr(0, whole.size() / 2));
  EXPECT_THAT(turned.text, testing::StartsWith("error: The reply ended before it was complete: p/"));
  EXPECT_THAT(turned.saved, HasSubstr(R"("messages":[])"));
  EXPECT_FALSE(turned.pieces.empty());
}

TEST_P(Streaming, StopsWhenTheSinkHasEnough) {
  RawServer server(streamReply(streamOf(GetParam().form, GetParam().replyBody), streamTypeOf(GetParam().form)));
  const Owned<IQAIAssistant> assistant(
      QAICreateAssistant(GetParam().type, CF::createHTTPPoolCenter(), kKey, server.getURL()));
  assign(*assistant, {{"model", GetParam().model}});
  const auto session = newSession(*assistant);
  const std::string before = session->obtainSessionData();
  auto* streaming = qaiExtension<IQAIStreaming>(assistant.get());
  const auto stop = [](std::string_view) { return false; };
  EXPECT_EQ(toldBy(streaming->addMessageStreaming(session.get(), "question", {}, stop)), "error: Stopped");
  EXPECT_EQ(session->obtainSessionData(), before);
  const auto fail = [](std::string_view) -> bool { throw std::out_of_range("the host's"); };
  EXPECT_THROW(streaming->addMessageStreaming(session.get(), "question", {}, fail), std::out_of_range);
  EXPECT_EQ(session->obtainSessionData(), before);
  const auto goOn = [](std::string_view) { return true; };
  EXPECT_EQ(toldBy(streaming->addMessageStreaming(session.get(), "question", {}, goOn)), "two parts");
}

TEST_P(Streaming, DoesNotBeginWhenTheHostHasStopped) {
  const std::atomic<bool> stop{true};
  QAIStreamOptions options;
  options.stop = &stop;
  EXPECT_EQ(turn(streamReply("", streamTypeOf(GetParam().form)), true, options).text, "error: Stopped");
  EXPECT_TRUE(requests_.empty());
}

TEST_P(Streaming, HasALimitOnItsText) {
  QAIStreamOptions options;
  options.mostTextBytes = 8;
  const std::string reply = streamReply(streamOf(GetParam().form, GetParam().replyBody), streamTypeOf(GetParam().form));
  EXPECT_THAT(turn(reply, true, options).text, testing::StartsWith("error: The reply is too long: p/"));
  options.mostTextBytes = 9;
  EXPECT_EQ(turn(reply, true, options).text, "two parts");
}

TEST_P(Streaming, HasTheLimitOnTextThatCameWholeAsWell) {
  QAIStreamOptions options;
  options.mostTextBytes = 8;
  const std::string reply = streamReply(GetParam().replyBody, "application/json");
  const Turned turned = turn(reply, true, options);
  EXPECT_THAT(turned.text, testing::StartsWith("error: The reply is too long: p/"));
  EXPECT_THAT(turned.pieces, testing::IsEmpty());
  options.mostTextBytes = 9;
  EXPECT_EQ(turn(reply, true, options).text, "two parts");
}

TEST_P(Streaming, TakesAnOlderHostsShorterOptions) {
  const std::atomic<bool> stop{true};
  QAIStreamOptions options;
  options.stop = &stop;
  options.size = offsetof(QAIStreamOptions, stop);
  const std::string reply = streamReply(streamOf(GetParam().form, GetParam().replyBody), streamTypeOf(GetParam().form));
  EXPECT_EQ(turn(reply, true, options).text, "two parts");
}

}  // namespace
