// When a streamed reply is taken for one, and what ends it early.
#include "reply_stream_rows.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <cstddef>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

constexpr std::size_t kMiB = std::size_t{1} << 20;

bool takeAll(std::string_view) { return true; }

struct BeginRow {
  const char* name;
  const StreamForm* form;
  std::int32_t status;
  const char* contentType;
  const char* beginning;
  bool isStream;
};
void PrintTo(const BeginRow& row, std::ostream* out) { *out << row.name; }

class ReplyStreamBegin : public testing::TestWithParam<BeginRow> {};

TEST_P(ReplyStreamBegin, TellsAStreamFromAWholeReply) {
  const BeginRow& row = GetParam();
  const QAIStreamOptions options;
  const IQAIStreaming::Sink sink = takeAll;
  QAIReplyStream stream(*row.form, options, sink);
  EXPECT_FALSE(stream.hasBegun());
  EXPECT_EQ(stream.begin(row.status, row.contentType, row.beginning), row.isStream);
  EXPECT_EQ(stream.hasBegun(), row.isStream);
}

INSTANTIATE_TEST_SUITE_P(
    Replies, ReplyStreamBegin,
    testing::Values(BeginRow{"events", kChat, 200, "text/event-stream", "data: {}", true},
                    BeginRow{"another_success", kChat, 299, "text/event-stream; charset=utf-8", ": hello", true},
                    BeginRow{"events_of_no_type", kChat, 200, "", "data: {}", true},
                    BeginRow{"an_interim_status", kChat, 199, "text/event-stream", "data: {}", false},
                    BeginRow{"a_redirect", kChat, 300, "text/event-stream", "data: {}", false},
                    BeginRow{"a_failure", kChat, 404, "text/event-stream", "data: {}", false},
                    BeginRow{"a_failure_in_lines", kLines, 500, "application/x-ndjson", "{", false},
                    BeginRow{"JSON_by_its_type", kChat, 200, "application/json", "[", false},
                    BeginRow{"JSON_by_its_type_in_capitals", kChat, 200, "Application/JSON;charset=utf-8", "[", false},
                    BeginRow{"JSON_by_its_type_in_lines", kLines, 200, "application/json ; x=y", "{", false},
                    BeginRow{"a_type_that_begins_like_it", kLines, 200, "application/json-seq", "{", true},
                    BeginRow{"JSON_by_its_look", kGemini, 200, "text/plain", "{", false},
                    BeginRow{"lines_look_like_JSON", kLines, 200, "text/plain", "{", true}),
    [](const auto& row) { return std::string(row.param.name); });

const std::string kText = R"({"choices":[{"delta":{"role":"assistant","content":"four"},"finish_reason":null}]})";
const std::string kEnd = R"({"choices":[{"delta":{},"finish_reason":"stop"}]})";

TEST(ReplyStreamLimits, TextHasAMost) {
  const std::string body = events({kText, kText, kEnd, "[DONE]"});
  QAIStreamOptions options;
  options.mostTextBytes = 8;
  EXPECT_EQ(feed(*kChat, {body}, options).text, "fourfour");
  options.mostTextBytes = 7;
  const Streamed streamed = feed(*kChat, {body}, options);
  EXPECT_EQ(streamed.failure, Failure::TooLong);
  EXPECT_THAT(streamed.pieces, ElementsAre("four"));
  options.mostTextBytes = 0;
  EXPECT_EQ(feed(*kChat, {events({kEnd, "[DONE]"})}, options).failure, Failure::None);
}

TEST(ReplyStreamLimits, TextOfEveryChoiceCounts) {
  const std::string other = R"({"choices":[{"index":1,"delta":{"role":"user","content":"fives"}}]})";
  QAIStreamOptions options;
  options.mostTextBytes = 8;
  EXPECT_EQ(feed(*kChat, {events({kText, other})}, options).failure, Failure::TooLong);
}

TEST(ReplyStreamLimits, EventHasSixteenMebibytes) {
  const std::string start = "data: ";
  for (const std::size_t beyond : {0U, 1U}) {
    std::string json = R"({"choices":[{"delta":{"role":"assistant","content":"a"},"finish_reason":"stop"}],"x":")";
    json.append(16 * kMiB - start.size() - json.size() - 2 + beyond, 'x').append("\"}");
    const std::string body = start + json + "\n\n";
    EXPECT_EQ(feed(*kChat, {body}).failure, beyond == 0 ? Failure::Incomplete : Failure::TooLong);
    const auto parts = {std::string_view(body).substr(0, kMiB), std::string_view(body).substr(kMiB)};
    EXPECT_EQ(feed(*kChat, parts).failure, beyond == 0 ? Failure::Incomplete : Failure::TooLong);
  }
}

TEST(ReplyStreamLimits, BytesWithoutTextHaveSixtyFourMebibytesFromTextToText) {
  const std::string silence = ":" + std::string(kMiB - 2, 'x') + "\n";
  const std::string text = events({kText});
  std::vector<std::string_view> parts(64, silence);
  parts.push_back(text);
  parts.insert(parts.end(), 64, silence);
  EXPECT_EQ(feed(*kChat, parts).failure, Failure::Incomplete);
  const std::string_view more = ":";
  parts.push_back(more);
  const Streamed streamed = feed(*kChat, parts);
  EXPECT_EQ(streamed.failure, Failure::TooLong);
  EXPECT_THAT(streamed.pieces, ElementsAre("four"));
}

TEST(ReplyStreamLimits, MillionEventsWithoutTextAreNoText) {
  std::string silence;
  for (int i = 0; i < 1000; ++i) silence += i % 2 == 0 ? "data: {}\n\n" : "data: {\"choices\":[]}\n\n";
  const std::string end = events({kText, kEnd, "[DONE]"});
  std::vector<std::string_view> parts(1000, silence);
  parts.push_back(end);
  const Streamed streamed = feed(*kChat, parts);
  EXPECT_EQ(streamed.failure, Failure::None);
  EXPECT_THAT(streamed.pieces, ElementsAre("four"));
}

/// A stream whose sink takes so many pieces and no more.
Streamed feedUntil(std::size_t wanted, const std::string& body) {
  Streamed streamed;
  const QAIStreamOptions options;
  const IQAIStreaming::Sink sink = [&](std::string_view piece) {
    streamed.pieces.emplace_back(piece);
    return streamed.pieces.size() < wanted;
  };
  QAIReplyStream stream(*kChat, options, sink);
  if (stream.receive(body)) stream.finish();
  streamed.failure = stream.failure();
  return streamed;
}

TEST(ReplyStreamLimits, SinkThatHasEnoughGetsNothingMore) {
  const std::string other =
      R"({"choices":[{"index":1,"delta":{"role":"assistant","content":"b"},"finish_reason":"stop"},)"
      R"({"index":2,"delta":{"role":"assistant","content":"c"},"finish_reason":"stop"}]})";
  const std::string body = events({kText, other, kText, kEnd, "[DONE]"});
  const std::vector<std::string> all{"four", "four", "b", "c"};
  for (std::size_t wanted = 1; wanted <= all.size(); ++wanted) {
    const Streamed streamed = feedUntil(wanted, body);
    EXPECT_EQ(streamed.failure, Failure::Stopped);
    EXPECT_EQ(streamed.pieces, std::vector(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(wanted)));
  }
  EXPECT_EQ(feedUntil(all.size() + 1, body).failure, Failure::None);
}

TEST(ReplyStreamLimits, HostsFlagStops) {
  std::atomic<bool> stop{false};
  QAIStreamOptions options;
  options.stop = &stop;
  const IQAIStreaming::Sink sink = takeAll;
  QAIReplyStream stream(*kChat, options, sink);
  EXPECT_FALSE(stream.isStopped());
  EXPECT_EQ(stream.failure(), Failure::None);
  stop = true;
  EXPECT_TRUE(stream.isStopped());
  EXPECT_EQ(stream.failure(), Failure::Stopped);
  options.stop = nullptr;
  EXPECT_FALSE(QAIReplyStream(*kChat, options, sink).isStopped());
}

struct TimeRow {
  std::chrono::milliseconds idle;
  std::chrono::milliseconds total;
  std::int64_t bytes;
  std::chrono::seconds time;
  std::chrono::milliseconds all;
};

TEST(ReplyStreamLimits, TimesAreTheSettingsUnlessTheHostNamesThem) {
  CMRestGlobalSettings settings;
  settings.lowSpeedBytes = 30;
  settings.lowSpeedTime = 7s;
  settings.totalTimeout = 9s;
  constexpr auto kSame = QAIStreamOptions::kFromSettings;
  for (const TimeRow& row :
       {TimeRow{kSame, kSame, 30, 7s, 9s}, TimeRow{kSame, 1500ms, 30, 7s, 1500ms}, TimeRow{kSame, 0ms, 30, 7s, 0ms},
        TimeRow{2s, kSame, 1, 2s, 9s}, TimeRow{1ms, kSame, 1, 1s, 9s}, TimeRow{1001ms, kSame, 1, 2s, 9s},
        TimeRow{0ms, 5s, 1, 0s, 5s}}) {
    QAIStreamOptions options;
    options.idleTimeout = row.idle;
    options.totalTimeout = row.total;
    const CMRestGlobalSettings limited = limitStream(settings, options);
    EXPECT_EQ(limited.lowSpeedBytes, row.bytes);
    EXPECT_EQ(limited.lowSpeedTime, row.time);
    EXPECT_EQ(limited.totalTimeout, row.all);
  }
}

TEST(ReplyStreamLimits, OptionsOfAnotherSizeAreReadAsFarAsBothKnowThem) {
  const std::atomic<bool> stop{true};
  QAIStreamOptions given;
  given.asksForUsage = false;
  given.totalTimeout = 5s;
  given.mostTextBytes = 3;
  given.stop = &stop;
  given.size = offsetof(QAIStreamOptions, mostTextBytes);
  QAIStreamOptions read = readStreamOptions(given);
  EXPECT_FALSE(read.asksForUsage);
  EXPECT_EQ(read.totalTimeout, 5s);
  EXPECT_EQ(read.mostTextBytes, QAIStreamOptions().mostTextBytes);
  EXPECT_EQ(read.stop, nullptr);
  given.size = 0;
  EXPECT_TRUE(readStreamOptions(given).asksForUsage);
  given.size = sizeof given + 64;  // a later host's
  read = readStreamOptions(given);
  EXPECT_EQ(read.mostTextBytes, 3U);
  EXPECT_EQ(read.stop, &stop);
}

}  // namespace
