// What streams of events and of lines are read as, however they are cut.
#include "qai_event_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kEnough = 1'000'000;

enum class When { InTime, AtTheEnd };

struct Seen {
  std::string type;
  std::string data;
  bool isError = false;
  When when = When::InTime;
  bool operator==(const Seen&) const = default;
};
void PrintTo(const Seen& seen, std::ostream* out) {
  *out << (seen.when == When::AtTheEnd ? "at the end " : "") << (seen.isError ? "error " : "") << '"' << seen.type
       << "\": " << testing::PrintToString(seen.data);
}

Seen data(std::string_view text) { return {"", std::string(text)}; }
Seen atTheEnd(Seen seen) {
  seen.when = When::AtTheEnd;
  return seen;
}
Seen error(std::string_view text) { return {"", std::string(text), true}; }

Seen copyOf(const StreamEvent& event, When when) {
  return {std::string(event.type), std::string(event.data), event.isError, when};
}

/// What comes of a part, which is overwritten when nothing more does.
template <typename Stream>
void readPart(Stream& stream, std::string part, std::vector<Seen>& seen) {
  stream.add(part);
  while (const auto event = stream.next()) seen.push_back(copyOf(*event, When::InTime));
  std::fill(part.begin(), part.end(), 'x');
}

struct Reading {
  std::vector<Seen> events;
  bool isTooLong = false;
  bool operator==(const Reading&) const = default;
};
void PrintTo(const Reading& reading, std::ostream* out) {
  *out << (reading.isTooLong ? "too long behind " : "") << testing::PrintToString(reading.events);
}

/// The whole stream, in these parts.
template <typename Stream>
Reading readParts(const std::vector<std::string>& parts, std::size_t most) {
  Stream stream(most);
  Reading reading;
  for (const std::string& part : parts) readPart(stream, part, reading.events);
  if (const auto last = stream.finish()) reading.events.push_back(copyOf(*last, When::AtTheEnd));
  EXPECT_FALSE(stream.finish().has_value());
  reading.isTooLong = stream.isTooLong();
  return reading;
}

/// The whole stream in one part, in two for each place where it may be cut, and in parts of a byte with empty ones.
template <typename Stream>
void expectHoweverCut(std::string_view body, std::size_t most, const Reading& expected) {
  EXPECT_EQ(readParts<Stream>({std::string(body)}, most), expected);
  std::vector<std::string> bytes;
  for (std::size_t place = 0; place < body.size(); ++place) {
    const std::vector<std::string> two{std::string(body.substr(0, place)), std::string(body.substr(place))};
    EXPECT_EQ(readParts<Stream>(two, most), expected) << "cut at " << place;
    bytes.insert(bytes.end(), {std::string(body.substr(place, 1)), ""});
  }
  EXPECT_EQ(readParts<Stream>(bytes, most), expected) << "byte by byte";
}

struct StreamCase {
  const char* name;
  std::string_view body;
  std::vector<Seen> events;
};
void PrintTo(const StreamCase& row, std::ostream* out) { *out << row.name; }

const auto nameOf = [](const auto& row) { return std::string(row.param.name); };

class EventStream : public testing::TestWithParam<StreamCase> {};

TEST_P(EventStream, IsReadTheSameHoweverItIsCut) {
  expectHoweverCut<QAIEventStream>(GetParam().body, kEnough, {GetParam().events});
}

INSTANTIATE_TEST_SUITE_P(
    OfTheStandard, EventStream,
    testing::Values(
        StreamCase{"lines_of_data_are_joined", "data: north\ndata: +2\ndata: 10\n\n", {data("north\n+2\n10")}},
        StreamCase{"comment_identifiers_and_one_blank_taken",
                   ": hello\n\ndata: one\nid: 1\n\ndata:two\nid\n\ndata:  three\n\n",
                   {data("one"), data("two"), data(" three")}},
        StreamCase{"data_may_be_empty", "data\n\ndata\ndata\n\n", {data(""), data("\n")}},
        StreamCase{"blank_behind_the_colon_is_optional", "data:a\n\ndata: a\n\n", {data("a"), data("a")}},
        StreamCase{"a_tab_is_no_blank", "data:\ta\n\n", {data("\ta")}},
        StreamCase{"types",
                   "event: add\ndata: 7\n\nevent:remove\ndata: 2\n\ndata: 1\n\n",
                   {{"add", "7"}, {"remove", "2"}, data("1")}},
        StreamCase{"type_behind_the_data", "data: 7\nevent: add\n\n", {{"add", "7"}}},
        StreamCase{"last_type_counts", "event: a\nevent: b\ndata: 1\n\n", {{"b", "1"}}},
        StreamCase{"type_without_a_colon_is_none", "event: a\nevent\ndata: 1\n\n", {data("1")}},
        StreamCase{"type_without_data_is_forgotten", "event: a\n\ndata: 1\n\n", {data("1")}},
        StreamCase{"other_fields_are_passed_over", "retry: 10\nid: 1\nmood: good\ndata: 1\n\n", {data("1")}},
        StreamCase{"names_are_exact", "Data: 1\n\n data: 2\n\ndata : 3\n\ndat: 4\n\ndatab: 5\n\n", {}},
        StreamCase{"only_the_first_colon_counts", "data: a: b\n\n", {data("a: b")}},
        StreamCase{"comments_anywhere",
                   ": keep-alive\n\n: keep-alive\n\n:\ndata: a\n: data: b\ndata: c\n\n:\n",
                   {data("a\nc")}},
        StreamCase{"many_blank_lines", "\n\n\ndata: a\n\n\n\ndata: b\n\n", {data("a"), data("b")}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Ends, EventStream,
    testing::Values(
        StreamCase{"of_lines_are_CR", "data: a\rdata: b\r\rdata: c\r\r", {data("a\nb"), data("c")}},
        StreamCase{"of_lines_are_CRLF", "data: a\r\ndata: b\r\n\r\ndata: c\r\n\r\n", {data("a\nb"), data("c")}},
        StreamCase{"of_lines_are_mixed",
                   "data: a\r\n\ndata: b\n\rdata: c\r\r\ndata: d\n\r\ndata: e\n\n",
                   {data("a"), data("b"), data("c"), data("d"), data("e")}},
        StreamCase{"of_a_line_is_CR_and_then_LF_CR", "data: a\r\n\rdata: b\n\n", {data("a"), data("b")}},
        StreamCase{"without_a_blank_line", "data: a\n\ndata: [DONE]", {data("a"), atTheEnd(data("[DONE]"))}},
        StreamCase{"behind_the_line", "data: [DONE]\n", {atTheEnd(data("[DONE]"))}},
        StreamCase{"behind_its_CR", "data: [DONE]\r", {atTheEnd(data("[DONE]"))}},
        StreamCase{"behind_its_CRLF", "event: done\r\ndata: [DONE]\r\n", {atTheEnd({"done", "[DONE]"})}},
        StreamCase{"behind_two_lines", "data: a\ndata: b", {atTheEnd(data("a\nb"))}},
        StreamCase{"behind_no_data", "data:", {atTheEnd(data(""))}},
        StreamCase{"within_a_name", "data: a\nda", {atTheEnd(data("a"))}},
        StreamCase{"behind_a_type", "data: a\n\nevent: done\n", {data("a")}},
        StreamCase{"behind_a_comment", "data: a\n\n: bye", {data("a")}}, StreamCase{"at_once", "", {}},
        StreamCase{"behind_blank_lines", "\n\r\n\r", {}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Bytes, EventStream,
    testing::Values(StreamCase{"of_the_mark_are_skipped",
                               "\xEF\xBB\xBF"
                               "data: a\n\n",
                               {data("a")}},
                    StreamCase{"of_the_mark_before_a_blank_line", "\xEF\xBB\xBF\ndata: a\n\n", {data("a")}},
                    StreamCase{"of_a_second_mark_are_a_name",
                               "\xEF\xBB\xBF\xEF\xBB\xBF"
                               "data: a\n\n",
                               {}},
                    StreamCase{"of_a_later_mark_are_a_name",
                               "data: a\n\xEF\xBB\xBF"
                               "data: b\n\n",
                               {data("a")}},
                    StreamCase{"of_a_mark_in_data_stay", "data: \xEF\xBB\xBF\n\n", {data("\xEF\xBB\xBF")}},
                    StreamCase{"of_the_mark_alone", "\xEF\xBB\xBF", {}}, StreamCase{"of_half_a_mark", "\xEF\xBB", {}},
                    StreamCase{"of_any_value_pass", "data: \0\xff\xc3\x0b\x1a\n\n"sv, {data("\0\xff\xc3\x0b\x1a"sv)}},
                    StreamCase{"of_any_value_in_a_type", "event: \0\xff\ndata\n\n"sv, {{std::string("\0\xff"sv), ""}}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Failures, EventStream,
    testing::Values(StreamCase{"in_a_field",
                               "data: a\n\nerror: {\"code\":500}\n\ndata: [DONE]\n\n",
                               {data("a"), error("{\"code\":500}"), data("[DONE]")}},
                    StreamCase{"of_a_type", "event: error\ndata: lost\n\n", {{"error", "lost"}}},
                    StreamCase{"of_several_lines", "error: {\nerror: }\n\n", {error("{\n}")}},
                    StreamCase{
                        "hide_data_behind_them", "error: {}\ndata: [DONE]\n\ndata: a\n\n", {error("{}"), data("a")}},
                    StreamCase{"hide_data_before_them", "data: a\ndata: b\nerror: {}\n\n", {error("{}")}},
                    StreamCase{"without_a_text", "error\n\n", {error("")}},
                    StreamCase{"at_the_end", "error: {}", {atTheEnd(error("{}"))}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    OfServices, EventStream,
    testing::Values(
        StreamCase{"chat_completions",
                   ": PROCESSING\n\ndata: {\"choices\":[{\"delta\":{\"content\":\"É\"}}]}\n\ndata: [DONE]\n\n",
                   {data("{\"choices\":[{\"delta\":{\"content\":\"É\"}}]}"), data("[DONE]")}},
        StreamCase{"gemini",
                   "data: {\"candidates\": [{\"index\": 0}]}\r\n\r\ndata: {\"usageMetadata\": {}}\r\n\r\n",
                   {data("{\"candidates\": [{\"index\": 0}]}"), data("{\"usageMetadata\": {}}")}},
        StreamCase{"assistants",
                   "event: thread.run.created\ndata: {\"id\":\"run_1\"}\n\nevent: done\ndata: [DONE]\n\n",
                   {{"thread.run.created", "{\"id\":\"run_1\"}"}, {"done", "[DONE]"}}}),
    nameOf);

class LineStream : public testing::TestWithParam<StreamCase> {};

TEST_P(LineStream, IsReadTheSameHoweverItIsCut) {
  expectHoweverCut<QAILineStream>(GetParam().body, kEnough, {GetParam().events});
}

INSTANTIATE_TEST_SUITE_P(
    Forms, LineStream,
    testing::Values(StreamCase{"an_event_a_line",
                               "{\"message\":{\"content\":\"É\"},\"done\":false}\n{\"done\":true}\n",
                               {data("{\"message\":{\"content\":\"É\"},\"done\":false}"), data("{\"done\":true}")}},
                    StreamCase{"CRLF", "{}\r\n[]\r\n", {data("{}"), data("[]")}},
                    StreamCase{"one_CR_belongs_to_the_end", "{}\r\r\n", {data("{}\r")}},
                    StreamCase{"CR_alone_ends_no_line", "{\r}\n", {data("{\r}")}},
                    StreamCase{"blank_lines", "\n\r\n \t\r\n{}\n\n  \n[]\n", {data("{}"), data("[]")}},
                    StreamCase{"white_space_around", " {} \n", {data(" {} ")}},
                    StreamCase{"last_line_without_an_end", "{}\n[]", {data("{}"), atTheEnd(data("[]"))}},
                    StreamCase{"last_line_with_a_CR", "{}\r", {atTheEnd(data("{}"))}},
                    StreamCase{"last_line_is_blank", "{}\n \r", {data("{}")}}, StreamCase{"nothing", "", {}},
                    StreamCase{"mark_is_skipped", "\xEF\xBB\xBF{}\n", {data("{}")}},
                    StreamCase{"mark_alone", "\xEF\xBB\xBF", {}},
                    StreamCase{"later_mark_stays", "{}\n\xEF\xBB\xBF[]\n", {data("{}"), data("\xEF\xBB\xBF[]")}},
                    StreamCase{"fields_and_comments_are_lines", "data: a\n: b\n", {data("data: a"), data(": b")}},
                    StreamCase{"any_bytes", "\0\xff\x0b\n"sv, {data("\0\xff\x0b"sv)}}),
    nameOf);

struct LimitCase {
  const char* name;
  std::size_t most;
  std::string_view body;
  std::vector<Seen> events;
  bool isTooLong;
};
void PrintTo(const LimitCase& row, std::ostream* out) { *out << row.name; }

class EventLimit : public testing::TestWithParam<LimitCase> {};
class LineLimit : public testing::TestWithParam<LimitCase> {};

TEST_P(EventLimit, IsKeptHoweverTheStreamIsCut) {
  const LimitCase& row = GetParam();
  expectHoweverCut<QAIEventStream>(row.body, row.most, {row.events, row.isTooLong});
}

TEST_P(LineLimit, IsKeptHoweverTheStreamIsCut) {
  const LimitCase& row = GetParam();
  expectHoweverCut<QAILineStream>(row.body, row.most, {row.events, row.isTooLong});
}

INSTANTIATE_TEST_SUITE_P(
    Lengths, EventLimit,
    testing::Values(LimitCase{"as_long_as_may_be", 7, "data: a\n\ndata: b\n\n", {data("a"), data("b")}, false},
                    LimitCase{"longer", 7, "data: a\n\ndata: bc\n\ndata: d\n\n", {data("a")}, true},
                    LimitCase{"longer_without_an_end", 7, "data: a\n\ndata: bc", {data("a")}, true},
                    LimitCase{"lines_up_to_it", 9, "data: a\ndata: b\n\n", {data("a\nb")}, false},
                    LimitCase{"lines_beyond_it", 9, "data: a\ndata: b\ndata: c\n\n", {}, true},
                    LimitCase{"type_up_to_it", 10, "event: abc\ndata: a\n\n", {{"abc", "a"}}, false},
                    LimitCase{"type_beyond_it", 9, "event: abc\ndata: a\n\n", {}, true},
                    LimitCase{"with_a_type_beyond_it", 10, "event: abc\ndata: ab\n\n", {}, true},
                    LimitCase{"long_comment", 7, ": hurry up\n\ndata: a\n\n", {}, true},
                    LimitCase{"many_comments", 7, ":a\n:b\n:c\n:d\n:e\ndata: a\n\n", {data("a")}, false},
                    LimitCase{"what_an_error_hides", 9, "data: ab\nerror: a\n\n", {}, true},
                    LimitCase{"none", 0, "\n\ndata: a\n\n", {}, true},
                    LimitCase{"none_needed", 0, "\n\r\n\r", {}, false}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Lengths, LineLimit,
    testing::Values(
        LimitCase{"as_long_as_may_be", 2, "{}\n[]\n11", {data("{}"), data("[]"), atTheEnd(data("11"))}, false},
        LimitCase{"with_its_CR", 3, "{}\r\n", {data("{}")}, false},
        LimitCase{"longer", 2, "{}\n111\n{}\n", {data("{}")}, true},
        LimitCase{"longer_without_an_end", 2, "{}\n111", {data("{}")}, true},
        LimitCase{"blank_and_longer", 2, "{}\n   \n{}\n", {data("{}")}, true}),
    nameOf);

struct LongCase {
  const char* name;
  std::string_view start;
  std::string_view unit;       // many of them
  std::size_t part;            // 0: the whole stream at once
  std::string_view then = "";  // and as many of them
};
void PrintTo(const LongCase& row, std::ostream* out) { *out << row.name; }

class LongStream : public testing::TestWithParam<LongCase> {};

/// Processor time for a stream of so many units.
std::clock_t timeOf(const LongCase& row, std::size_t units) {
  std::string body(row.start);
  for (std::size_t unit = 0; unit < units; ++unit) body += row.unit;
  for (std::size_t unit = 0; unit < units; ++unit) body += row.then;
  const std::size_t size = row.part == 0 ? body.size() : row.part;
  QAIEventStream stream(body.size());
  const std::clock_t before = std::clock();
  for (std::size_t place = 0; place < body.size(); place += size) {
    stream.add(std::string_view(body).substr(place, size));
    while (stream.next()) continue;
  }
  const std::clock_t taken = std::clock() - before;
  EXPECT_FALSE(stream.isTooLong());
  return taken;
}

// What looked at or moved all bytes again for each line or part would take a thousand times as long.
TEST_P(LongStream, TakesTimeInProportionToItsBytes) {
  constexpr std::size_t kUnits = 8'192;
  const std::clock_t few = timeOf(GetParam(), kUnits);
  EXPECT_LT(timeOf(GetParam(), 32 * kUnits), 256 * std::max<std::clock_t>(few, CLOCKS_PER_SEC / 1000));
}

INSTANTIATE_TEST_SUITE_P(Cuts, LongStream,
                         testing::Values(LongCase{"one_line_byte_by_byte", "data: ", "a", 1},
                                         LongCase{"lines_of_one_event_byte_by_byte", "", "data\n", 1},
                                         LongCase{"lines_of_one_event_at_once", "", "data\n", 0},
                                         LongCase{"comments_behind_data_byte_by_byte", "data: ", "a", 1, "\n:"},
                                         LongCase{"events_byte_by_byte", "", "data\n\n", 1},
                                         LongCase{"events_at_once", "", "data\n\n", 0},
                                         LongCase{"LF_alone_at_once", "", "\n", 0},
                                         LongCase{"CR_alone_at_once", "", "\r", 0},
                                         LongCase{"CRLF_at_once", "", "\r\n", 0}),
                         nameOf);

}  // namespace
