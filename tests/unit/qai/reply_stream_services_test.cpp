// The same of Gemini, of Ollama and of an assistant's runs.
#include "reply_stream_rows.h"

namespace {

std::string candidates(std::string_view list, std::string_view further = "") {
  return R"({"candidates": [)" + std::string(list) + "]" + std::string(further) + R"(,"modelVersion": "g-1"})";
}

INSTANTIATE_TEST_SUITE_P(
    Gemini, ReplyStream,
    testing::Values(
        Row{"without_an_index",
            kGemini,
            events(
                {candidates(R"({"content": {"parts": [{"text": "It is"}],"role": "model"}})",
                            R"(,"usageMetadata": {"promptTokenCount": 169,"totalTokenCount": 169})"),
                 candidates(R"({"content": {"parts": [{"text": " 30 °C.\n"}],"role": "model"},"finishReason": "STOP"})",
                            R"(,"usageMetadata": {"promptTokenCount": 79,"candidatesTokenCount": 12,)"
                            R"("cachedContentTokenCount": 5},"responseId": "r-1")")}),
            {"It is", " 30 °C.\n"},
            "STOP||g-1|r-1|79/12/5"},
        Row{"thoughts_are_texts_and_tokens_too",
            kGemini,
            events({candidates(
                        R"({"content": {"parts": [{"text": "Hm.\n","thought": true}],"role": "model"},"index": 0})"),
                    candidates(R"({"content": {"parts": [{"text": "A, "},{"text": "B","thoughtSignature": "QQ"}],)"
                               R"("role": "model"},"finishReason": "STOP","index": 0})",
                               R"(,"usageMetadata": {"promptTokenCount": 6,"candidatesTokenCount": 1,)"
                               R"("thoughtsTokenCount": 35})")}),
            {"Hm.\n", "A, B"},
            "STOP||g-1||6/36/-1"},
        Row{"two_candidates_without_an_index",
            kGemini,
            events({candidates(R"({"content": {"parts": [{"text": "a"}],"role": "model"}},)"
                               R"({"content": {"parts": [{"text": "x"}],"role": "model"}})"),
                    candidates(R"({"content": {"parts": [{"text": "b"}],"role": "model"},"finishReason": "STOP"},)"
                               R"({"content": {"parts": [{"text": "y"}],"role": "model"},"finishReason": "SAFETY"})")}),
            {"a", "b", "xy"},
            "STOP||g-1||-1/-1/-1"},
        Row{"another_candidates_end_is_not_the_first_ones",
            kGemini,
            events({candidates(R"({"content": {"parts": [{"text": "a"}],"role": "model"},"index": 0},)"
                               R"({"content": {"parts": [{"text": "x"}],"role": "model"},"index": 1})"),
                    candidates(R"({"finishReason": "MAX_TOKENS","index": 0})"),
                    candidates(R"({"finishReason": "SAFETY","index": 1})")}),
            {"a", "x"},
            "MAX_TOKENS||g-1||-1/-1/-1"},
        Row{"role_of_the_user_is_no_reply",
            kGemini,
            events({candidates(R"({"content": {"parts": [{"text": "a"}],"role": "user"},"finishReason": "STOP"})")}),
            {},
            "STOP||g-1||-1/-1/-1"},
        Row{"stopped_without_content",
            kGemini,
            events({candidates(R"({"finishReason": "SAFETY","index": 0,"safetyRatings": [{"blocked": true}]})")}),
            {},
            "SAFETY||g-1||-1/-1/-1"},
        Row{"blocked_prompt",
            kGemini,
            events({R"({"promptFeedback": {"blockReason": "OTHER"},"usageMetadata": {"promptTokenCount": 4}})"}),
            {},
            "||||4/-1/-1",
            Failure::NotInFormat}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Lines, ReplyStream,
    testing::Values(
        Row{"a_reply_in_pieces",
            kLines,
            lines(
                {R"({"model":"l:1","created_at":"2026-01-01T00:00:00Z","message":{"role":"assistant","content":"{\""},)"
                 R"("done":false})",
                 R"({"model":"l:1","message":{"role":"assistant","content":"été"},"done":false})",
                 R"({"model":"l:1","message":{"role":"assistant","content":""},"done_reason":"stop","done":true,)"
                 R"("total_duration":246,"prompt_eval_count":25,"eval_count":9})"}),
            {"{\"", "été"},
            "stop||l:1||25/9/-1"},
        Row{"thinking_is_not_the_reply",
            kLines,
            lines(
                {R"({"model":"l:1","message":{"role":"assistant","content":"","thinking":"Hm"},"done":false})",
                 R"({"model":"l:1","message":{"role":"assistant","content":"4"},"done":false})",
                 R"({"model":"l:1","message":{"role":"assistant","content":""},"done":true,"done_reason":"length"})"}),
            {"4"},
            "length||l:1||-1/-1/-1"},
        Row{"last_line_without_a_message",
            kLines,
            lines({R"({"message":{"role":"assistant","content":"4"},"done":false})", R"({"done":true})"}),
            {"4"}},
        Row{"last_line_without_an_end", kLines, R"({"message":{"role":"assistant","content":"4"},"done":true})", {"4"}},
        Row{"by_another_is_no_reply", kLines, lines({R"({"message":{"role":"tool","content":"4"},"done":true})"}), {}},
        Row{"without_content",
            kLines,
            lines({R"({"message":{"role":"assistant","content":null},"done":true})"}),
            {},
            kUntold,
            Failure::NotInFormat}),
    nameOf);

std::string run(std::string_view state, std::string_view further = "") {
  return named("thread.run." + std::string(state), R"({"id":"run_1","object":"thread.run","model":"m-1","status":")" +
                                                       std::string(state) + '"' + std::string(further) + "}");
}
std::string step(std::string_view state) {
  return named("thread.run.step." + std::string(state),
               R"({"id":"step_1","object":"thread.run.step","model":"x","type":"message_creation"})");
}
std::string created(std::string_view id) {
  return named("thread.message.created", R"({"id":")" + std::string(id) + R"(","created_at":1714255666,"content":[]})");
}
std::string delta(std::string_view id, int part, std::string_view value) {
  return named("thread.message.delta", R"({"id":")" + std::string(id) + R"(","delta":{"content":[{"index":)" +
                                           std::to_string(part) + R"(,"type":"text","text":{"value":")" +
                                           std::string(value) + R"("}}]}})");
}
std::string completed(std::string_view id, std::string_view value) {
  return named("thread.message.completed",
               R"({"id":")" + std::string(id) +
                   R"(","created_at":1714255666,"content":[{"type":"text","text":{"value":")" + std::string(value) +
                   R"(","annotations":[]}}]})");
}
const std::string kRunStarts = run("created") + run("queued") + run("in_progress") + step("created");
const std::string kRunEnds =
    step("completed") +
    run("completed",
        R"(,"usage":{"prompt_tokens":6,"completion_tokens":16,"prompt_token_details":{"cached_tokens":2}})") +
    named("done", "[DONE]");
const std::string kRunDetails = "||m-1||6/16/2";

INSTANTIATE_TEST_SUITE_P(
    Runs, ReplyStream,
    testing::Values(Row{"with_steps",
                        kRun,
                        kRunStarts + created("a") + delta("a", 0, "C") + delta("a", 0, "été ") + delta("a", 1, "x") +
                            completed("a", "Cété x") + kRunEnds,
                        {"C", "été ", "x"},
                        kRunDetails},
                    Row{"without_deltas",
                        kRun,
                        kRunStarts + created("a") + completed("a", "whole") + kRunEnds,
                        {"whole"},
                        kRunDetails},
                    Row{"of_two_messages",
                        kRun,
                        kRunStarts + created("a") + delta("a", 0, "one") + completed("a", "one") + created("b") +
                            delta("b", 0, "two") + completed("b", "two") + kRunEnds,
                        {"one", "two"},
                        kRunDetails},
                    Row{"of_two_messages_at_once",
                        kRun,
                        kRunStarts + created("a") + created("b") + delta("a", 0, "one") + delta("b", 0, "two") +
                            completed("a", "one") + completed("b", "two") + kRunEnds,
                        {"one", "two"},
                        kRunDetails},
                    Row{"that_wrote_nothing", kRun, kRunStarts + kRunEnds, {}, kRunDetails},
                    Row{"that_failed",
                        kRun,
                        kRunStarts + delta("a", 0, "one") +
                            run("failed", R"(,"last_error":{"code":"rate_limit_exceeded","message":"Slow down"})") +
                            named("done", "[DONE]"),
                        {"one"},
                        "||m-1||-1/-1/-1",
                        Failure::Told,
                        "rate_limit_exceeded: Slow down"},
                    Row{"of_which_an_unknown_event_tells",
                        kRun,
                        named("thread.created", R"({"id":"thread_1","object":"thread"})") + kRunStarts +
                            delta("a", 0, "one") + named("thread.news", R"({"id":"n","status":"completed"})") +
                            kRunEnds,
                        {"one"},
                        kRunDetails}),
    nameOf);

}  // namespace
