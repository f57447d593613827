// What streamed replies come to, in the shapes in which the services and the servers that are like them send them: chat
// completions, and what holds for all.
#include "reply_stream_rows.h"

#include <gmock/gmock.h>

namespace {

using testing::AnyOf;

/// An event of a chat completion with one choice.
std::string chunk(int index, std::string_view delta, std::string_view finishReason = "null") {
  return R"({"model":"m-1","choices":[{"index":)" + std::to_string(index) + R"(,"delta":)" + std::string(delta) +
         R"(,"logprobs":null,"finish_reason":)" + std::string(finishReason) + "}]}";
}
std::string text(int index, std::string_view content) {
  return chunk(index, R"({"content":")" + std::string(content) + "\"}");
}
const std::string kRole = R"({"role":"assistant","content":""})";
const std::string kStart = chunk(0, kRole);
const std::string kStop = chunk(0, "{}", R"("stop")");
const std::string kDone = "[DONE]";
const std::string kStopped = "stop||m-1||-1/-1/-1";
const std::string kUnended = "||m-1||-1/-1/-1";

Streamed expectedOf(const Row& row) {
  const bool isReply = row.failure == Failure::None;
  return {row.pieces, row.failure, row.error, isReply ? join(row.pieces) : "", row.details};
}

TEST_P(ReplyStream, GivesTheSameHoweverItIsCut) {
  const Row& row = GetParam();
  const std::string_view body = row.body;
  const Streamed expected = expectedOf(row);
  ASSERT_EQ(feed(*row.form, {body}), expected);
  for (std::size_t place = 0; place <= body.size(); ++place) {
    ASSERT_EQ(feed(*row.form, {body.substr(0, place), body.substr(place)}), expected) << "cut at " << place;
  }
  EXPECT_EQ(feed(*row.form, byteByByte(body)), expected) << "byte by byte";
}

TEST_P(ReplyStream, GivesTheSameWithOtherEndsOfLines) {
  const Row& row = GetParam();
  for (const std::string_view end : {"\r\n", "\r"}) {
    if (row.form == kLines && end == "\r") continue;  // there it is white space
    std::string body;
    for (const char c : row.body) body.append(c == '\n' ? end : std::string_view(&c, 1));
    EXPECT_EQ(feed(*row.form, {body}), expectedOf(row)) << testing::PrintToString(end);
    EXPECT_EQ(feed(*row.form, byteByByte(body)), expectedOf(row)) << testing::PrintToString(end);
  }
}

// What is missing may be details; what is there is never taken for a whole reply that it is not.
TEST_P(ReplyStream, IsWholeOrAFailureWhereverItEnds) {
  const Row& row = GetParam();
  const std::string whole = join(row.pieces);
  for (std::size_t size = 0; size < row.body.size(); ++size) {
    const Streamed streamed = feed(*row.form, {std::string_view(row.body).substr(0, size)});
    ASSERT_THAT(streamed.failure, AnyOf(Failure::None, Failure::Incomplete, row.failure)) << size;
    ASSERT_TRUE(whole.starts_with(join(streamed.pieces))) << size;
    ASSERT_TRUE(streamed.failure != Failure::None || streamed.text == whole) << size;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Completions, ReplyStream,
    testing::Values(
        Row{"role_first_and_usage_last",
            kChat,
            events(
                {R"({"id":"c1","object":"chat.completion.chunk","created":1,"model":"m-1","service_tier":"default",)"
                 R"("choices":[{"index":0,"delta":{"role":"assistant","content":"","refusal":null},"logprobs":null,)"
                 R"("finish_reason":null}],"usage":null,"obfuscation":"8TE0"})",
                 text(0, "Größe"), text(0, " 😊"), text(0, ""), text(0, R"(\n\"\ud83d\ude0a)"), kStop,
                 R"({"model":"m-1","choices":[],"usage":{"prompt_tokens":45,"completion_tokens":2,"total_tokens":47,)"
                 R"("prompt_tokens_details":{"cached_tokens":7,"audio_tokens":0}},"obfuscation":"3Y"})",
                 kDone}),
            {"Größe", " 😊", "\n\"😊"},
            "stop||m-1||45/2/7"},
        Row{"tool_call_without_text",
            kChat,
            events({chunk(0,
                          R"({"role":"assistant","content":null,"tool_calls":[{"index":0,"id":"c","type":"function",)"
                          R"("function":{"name":"f","arguments":""}}],"refusal":null})"),
                    chunk(0, R"({"tool_calls":[{"index":0,"function":{"arguments":"{}"}}]})"),
                    chunk(0, "{}", R"("tool_calls")"), kDone}),
            {},
            "tool_calls||m-1||-1/-1/-1"},
        Row{"refusal_in_pieces",
            kChat,
            events({chunk(0, R"({"role":"assistant","content":null,"refusal":""})"),
                    chunk(0, R"({"refusal":"I can't "})"), chunk(0, R"({"refusal":"do that."})"), kStop, kDone}),
            {},
            "stop|I can't do that.|m-1||-1/-1/-1"},
        Row{"like_azure_with_empty_choices_first",
            kChat,
            events(
                {R"({"choices":[],"created":0,"id":"","model":"","object":"","prompt_filter_results":[{"prompt_index":)"
                 R"(0,"content_filter_results":{"hate":{"filtered":false,"severity":"safe"}}}]})",
                 chunk(0, R"({"content":"1","role":"assistant"})"), text(0, ", 2"),
                 chunk(0, "{}", R"("content_filter")"),
                 R"({"model":"m-1","choices":[],"usage":{"prompt_tokens":7,"completion_tokens":8}})", kDone}),
            {"1", ", 2"},
            "content_filter||m-1||7/8/-1"},
        Row{"like_groq_with_a_member_of_its_own",
            kChat,
            events(
                {R"({"model":"m-1","choices":[{"index":0,"delta":{"role":"assistant","content":""},"finish_reason":)"
                 R"(null}],"x_groq":{"id":"req_1"}})",
                 text(0, "Hi!"),
                 R"({"model":"m-1","choices":[{"index":0,"delta":{},"finish_reason":"stop"}],"x_groq":{"id":"req_1",)"
                 R"("usage":{"prompt_tokens":12,"completion_tokens":24}}})",
                 kDone}),
            {"Hi!"},
            kStopped},
        Row{"like_mistral_with_the_end_beside_text",
            kChat,
            events(
                {R"({"model":"m-1","choices":[{"index":0,"delta":{"role":"assistant","content":""},"finish_reason":)"
                 R"(null}]})",
                 R"({"model":"m-1","choices":[{"index":0,"delta":{"content":"1, 2"},"finish_reason":null}],"p":"abc"})",
                 R"({"model":"m-1","choices":[{"index":0,"delta":{"content":", 3"},"finish_reason":"length"}],"usage":)"
                 R"({"prompt_tokens":22,"total_tokens":30,"completion_tokens":8,"prompt_tokens_details":)"
                 R"({"cached_tokens":0}},"p":"ab"})",
                 kDone}),
            {"1, 2", ", 3"},
            "length||m-1||22/8/0"},
        Row{"like_openrouter_with_comments_and_the_role_everywhere",
            kChat,
            ": PROCESSING\n\n: PROCESSING\n\n" +
                events({chunk(0, R"({"content":"Hel","role":"assistant"})"),
                        chunk(0, R"({"content":"lo","role":"assistant"})")}) +
                ": PROCESSING\n\n" +
                events({chunk(0, R"({"content":"","role":"assistant"})", R"("stop")"),
                        R"({"choices":[],"usage":{"prompt_tokens":254,"completion_tokens":5,"cost":0.0008}})", kDone}),
            {"Hel", "lo"},
            "stop||m-1||254/5/-1"},
        Row{"like_deepseek_with_reasoning_that_is_not_the_reply",
            kDeep,
            ": keep-alive\n\n" +
                events({chunk(0, R"({"role":"assistant","content":null,"reasoning_content":""})"),
                        chunk(0, R"({"content":null,"reasoning_content":"We"})")}) +
                ": keep-alive\n\n" +
                events({chunk(0, R"({"content":null,"reasoning_content":" are"})"),
                        chunk(0, R"({"content":"391","reasoning_content":null})"),
                        chunk(0, R"({"content":".","reasoning_content":null})"),
                        R"({"model":"m-1","choices":[{"index":0,"delta":{"content":"","reasoning_content":null},)"
                        R"("finish_reason":"stop"}],"usage":{"prompt_tokens":17,"completion_tokens":47,)"
                        R"("prompt_tokens_details":{"cached_tokens":3},"prompt_cache_hit_tokens":3}})",
                        kDone}),
            {"391", "."},
            "stop||m-1||17/47/3"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Choices, ReplyStream,
    testing::Values(
        Row{"the_first_at_once_and_the_others_at_the_end",
            kChat,
            events({chunk(1, kRole), text(1, "B"), chunk(2, kRole), kStart, text(2, "C"), text(0, "A"), text(1, "b"),
                    text(0, "a"), chunk(2, "{}", R"("length")"), kStop, chunk(1, "{}", R"("content_filter")"), kDone}),
            {"A", "a", "Bb", "C"},
            kStopped},
        Row{"several_in_one_event",
            kChat,
            events({R"({"choices":[{"index":1,"delta":{"role":"assistant","content":"b"},"finish_reason":"length"},)"
                    R"({"index":0,"delta":{"role":"assistant","content":"a"},"finish_reason":"stop"}]})",
                    kDone}),
            {"a", "b"},
            "stop||||-1/-1/-1"},
        Row{"without_an_index_by_their_place",
            kChat,
            events({R"({"choices":[{"delta":{"role":"assistant","content":"a"},"finish_reason":"stop"},)"
                    R"({"delta":{"role":"assistant","content":"b"},"finish_reason":"length"}]})",
                    kDone}),
            {"a", "b"},
            "stop||||-1/-1/-1"},
        Row{"of_an_index_that_none_has_count_as_one",
            kChat,
            events({kStart, text(0, "a"), chunk(-1, kRole), text(-1, "b"), text(5000, "c"),
                    chunk(7000, "{}", R"("length")"), kStop, kDone}),
            {"a", "bc"},
            kStopped},
        Row{"refusal_of_another_is_not_the_first_ones",
            kChat,
            events({kStart, text(0, "a"), chunk(1, R"({"role":"assistant","refusal":"no"})"),
                    chunk(1, "{}", R"("stop")"), kStop, kDone}),
            {"a"},
            kStopped},
        Row{"role_that_comes_late",
            kChat,
            events({text(0, "a"), text(0, "b"), chunk(0, R"({"role":"assistant","content":"c"})"), text(0, "d"), kStop,
                    kDone}),
            {"abc", "d"},
            kStopped},
        Row{"role_that_comes_with_the_end",
            kChat,
            events({text(0, "a"), chunk(0, R"({"role":"assistant"})", R"("stop")"), kDone}),
            {"a"},
            kStopped},
        Row{"by_the_user_is_no_reply",
            kChat,
            events({chunk(0, R"({"role":"user","content":"a"})"), text(0, "b"), kStop, kDone}),
            {},
            kStopped},
        Row{"by_the_user_is_left_out",
            kChat,
            events({chunk(0, R"({"role":"user","content":"a"})"), chunk(1, R"({"role":"assistant","content":"b"})"),
                    chunk(1, R"({"role":"user","content":"c"})", R"("stop")"), kStop, kDone}),
            {"bc"},
            kStopped},
        Row{"by_nobody_is_no_reply", kChat, events({text(0, "a"), kStop, kDone}), {}, kStopped},
        Row{"none_at_all", kChat, events({R"({"choices":[]})", kDone}), {}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Ends, ReplyStream,
    testing::Values(
        Row{"without_a_blank_line", kChat, events({kStart, text(0, "a"), kStop}) + "data: [DONE]", {"a"}, kStopped},
        Row{"missing_for_the_choice",
            kChat,
            events({kStart, text(0, "a"), kDone}),
            {"a"},
            kUnended,
            Failure::Incomplete},
        Row{"missing_for_another_choice",
            kChat,
            events({kStart, text(0, "a"), chunk(1, R"({"role":"assistant","content":"b"})"), kStop, kDone}),
            {"a"},
            kStopped,
            Failure::Incomplete},
        Row{"without_the_mark", kChat, events({kStart, text(0, "a"), kStop}), {"a"}, kStopped, Failure::Incomplete},
        Row{"within_an_event",
            kChat,
            events({kStart, text(0, "a")}) + "data: {\"choi",
            {"a"},
            kUnended,
            Failure::Incomplete},
        Row{"at_once", kChat, "", {}, kUntold, Failure::Incomplete},
        Row{"behind_comments", kChat, ": wait\n\n: wait\n\n", {}, kUntold, Failure::Incomplete},
        Row{"with_the_mark_alone", kChat, events({kDone}), {}, kUntold, Failure::NotInFormat},
        Row{"without_choices",
            kChat,
            events({R"({"model":"m-1","object":"x"})", kDone}),
            {},
            kUnended,
            Failure::NotInFormat},
        Row{"of_gemini_missing",
            kGemini,
            events({R"({"candidates":[{"content":{"parts":[{"text":"a"}],"role":"model"}}]})"}),
            {"a"},
            kUntold,
            Failure::Incomplete},
        Row{"of_lines_missing",
            kLines,
            lines({R"({"model":"m","message":{"role":"assistant","content":"a"},"done":false})"}),
            {"a"},
            "||m||-1/-1/-1",
            Failure::Incomplete},
        Row{"of_a_run_missing",
            kRun,
            named("thread.run.created", R"({"id":"run_1"})") + named("done", "[DONE]"),
            {},
            kUntold,
            Failure::NotInFormat}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Failures, ReplyStream,
    testing::Values(
        Row{"told_in_a_field",
            kChat,
            events({kStart, text(0, "a")}) + "error: {\"code\":500,\"message\":\"no memory\"}\n\n" + events({kDone}),
            {"a"},
            kUnended,
            Failure::Told,
            "no memory"},
        Row{"told_in_a_field_as_text", kChat, "error: out of order\n\n", {}, kUntold, Failure::Told, "out of order"},
        Row{"told_in_bytes_that_are_no_text", kChat, "error: \xFF!\n\n", {}, kUntold, Failure::Told, "\xEF\xBF\xBD!"},
        Row{"told_by_an_event",
            kRun,
            named("error", R"({"error":{"message":"The server had an error","type":"server_error"}})"),
            {},
            kUntold,
            Failure::Told,
            "The server had an error"},
        Row{"told_by_an_event_without_JSON", kRun, named("error", "lost"), {}, kUntold, Failure::Told, "lost"},
        Row{"told_as_an_object",
            kChat,
            events({kStart, text(0, "a"), R"({"error":{"message":"overloaded","code":502},"choices":[]})",
                    text(0, "b")}),
            {"a"},
            kUnended,
            Failure::Told,
            "overloaded"},
        Row{"told_as_a_string",
            kLines,
            lines({R"({"message":{"role":"assistant","content":"a"},"done":false})", R"({"error":"out of memory"})",
                   R"({"message":{"role":"assistant","content":"b"},"done":true})"}),
            {"a"},
            kUntold,
            Failure::Told,
            "out of memory"},
        Row{"told_without_a_text",
            kGemini,
            events({R"({"error":{"code":503}})"}),
            {},
            kUntold,
            Failure::Told,
            R"({"error":{"code":503}})"},
        Row{"told_with_an_empty_text",
            kChat,
            events({kStart, R"({"error":{"message":""}})", kStop, kDone}),
            {},
            kUnended,
            Failure::Told,
            R"({"error":{"message":""}})"},
        Row{"told_with_an_empty_string",
            kLines,
            lines({R"({"message":{"role":"assistant","content":""},"done":true})", R"({"error":""})"}),
            {},
            kUntold,
            Failure::Told,
            R"({"error":""})"},
        Row{"told_in_an_empty_field",
            kChat,
            events({kStart, kStop}) + "error:\n\n" + events({kDone}),
            {},
            kStopped,
            Failure::NotJson},
        Row{"that_is_null_is_none",
            kLines,
            lines({R"({"error":null,"message":{"role":"assistant","content":"a"},"done":true})"}),
            {"a"}},
        Row{"event_that_is_no_JSON",
            kChat,
            events({kStart, text(0, "a"), "hello", kStop, kDone}),
            {"a"},
            kUnended,
            Failure::NotJson},
        Row{"event_without_anything", kChat, events({kStart, "", kStop, kDone}), {}, kUnended, Failure::NotJson},
        Row{"line_that_is_no_JSON", kLines, "data: {}\n", {}, kUntold, Failure::NotJson},
        Row{"half_a_character",
            kChat,
            events({kStart, text(0, "\xC3"), text(0, "\xA9"), kStop, kDone}),
            {},
            kUnended,
            Failure::NotJson},
        Row{"half_a_pair_of_escapes",
            kChat,
            events({kStart, text(0, R"(\ud83d)"), text(0, R"(\ude0a)"), kStop, kDone}),
            {},
            kUnended,
            Failure::NotJson},
        Row{"JSON_that_is_no_object", kChat, events({"7", "[]", "null", kDone}), {}, kUntold, Failure::NotInFormat}),
    nameOf);

}  // namespace
