// Replies under a status of success whose content is no JSON, or odd JSON.
#include "faults.h"

#include <cstddef>

namespace {

using namespace std::string_literals;

/// The healthy body, an object, with these members in front.
Play withMembers(const std::string& members) {
  return sendsBody([members](std::string body) { return body.insert(1, members + ","); });
}

Play withBody(const std::string& body) {
  return sendsBody([body](const std::string&) { return body; });
}

std::string nested(std::size_t depth, const std::string& open, const std::string& close) {
  std::string text;
  for (std::size_t i = 0; i < depth; ++i) text += open;
  for (std::size_t i = 0; i < depth; ++i) text += close;
  return text;
}

Play withNested(std::size_t depth, const std::string& open, const std::string& close) {
  return withBody(nested(depth, open, close));
}

std::string repeat(std::string_view text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

std::string toUTF16(const std::string& text) {
  std::string result = "\xff\xfe";
  for (const char c : text) result += {c, '\0'};
  return result;
}

std::vector<Fault> brokenTexts() {
  const auto noJson = [](const char* name, Play play) {
    return Fault{.name = name, .play = std::move(play), .verdict = Verdict::NoJson};
  };
  return {
      noJson("empty", withBody("")),
      noJson("blank", withBody(" \r\n\t ")),
      noJson("html", withBody("<!DOCTYPE html><html><body>Sign in to this network</body></html>")),
      noJson("half_a_document", sendsBody([](std::string body) { return body.substr(0, body.size() / 2); })),
      noJson("invalid_utf8", withMembers("\"x\":\"\xff\xfe\"")),
      noJson("overlong_utf8", withMembers("\"x\":\"\xc0\xaf\"")),
      noJson("surrogate_in_utf8", withMembers("\"x\":\"\xed\xa0\x80\"")),
      noJson("lone_surrogate", withMembers(R"("x":"\ud800")")),
      noJson("nul_in_a_string", withMembers("\"x\":\"\0\""s)),
      noJson("nul_behind_the_document", sendsBody([](std::string body) { return body + '\0'; })),
      noJson("utf16", sendsBody(toUTF16)),
      noJson("trailing_garbage", sendsBody([](std::string body) { return body + "x"; })),
      noJson("two_documents", sendsBody([](std::string body) { return body + "\n" + body; })),
      noJson("event_stream", sendsBody([](std::string body) { return "data: " + body + "\n\ndata: [DONE]\n\n"; })),
      noJson("comment", sendsBody([](std::string body) { return body + "// ok"; })),
      noJson("not_a_number", withMembers(R"("x":NaN)")),
      noJson("arrays_100_000_deep", withNested(100'000, "[", "]")),
      noJson("arrays_1_000_000_deep", withNested(1'000'000, "[", "]")),
      noJson("objects_100_000_deep", withNested(100'000, R"({"a":)", "}")),
      noJson("too_many_values", withMembers("\"x\":[" + repeat("0,", 900'000) + "0]")),
      noJson("too_many_containers", withMembers("\"x\":[" + repeat("[],", 600'000) + "0]")),
      noJson("deep_member", withMembers("\"x\":" + nested(100'000, "[", "]"))),
  };
}

std::vector<Fault> oddTexts() {
  const auto wellFormed = [](const char* name, Play play) {
    return Fault{.name = name, .play = std::move(play), .verdict = Verdict::Success};
  };
  return {
      wellFormed("byte_order_mark", sendsBody([](std::string body) { return "\xef\xbb\xbf" + body; })),
      wellFormed("blanks_around", sendsBody([](std::string body) { return "\r\n\t " + body + "\r\n\r\n"; })),
      wellFormed("escaped_nul", withMembers(R"("x":"\u0000")")),
      wellFormed("duplicate_keys", withMembers(R"("x":1,"x":"2","x":[])")),
      wellFormed("minus_zero", withMembers(R"("x":-0)")),
      wellFormed("number_beyond_a_double", withMembers(R"("x":1e400,"y":-1e400)")),
      wellFormed("integer_beyond_64_bits", withMembers(R"("x":18446744073709551616)")),
      wellFormed("number_with_a_huge_exponent", withMembers(R"("x":1.23456789012345678e-2147483639)")),
      wellFormed("number_of_64_kib", withMembers("\"x\":" + std::string(std::size_t{64} << 10, '9'))),
      wellFormed("string_of_a_mebibyte", withMembers("\"x\":\"" + std::string(std::size_t{1} << 20, 'x') + '"')),
      wellFormed("key_of_a_mebibyte", withMembers('"' + std::string(std::size_t{1} << 20, 'x') + "\":1")),
  };
}

/// JSON, but never the object that is asked for.
std::vector<Fault> otherDocuments() {
  const auto other = [](const char* name, const std::string& body) {
    return Fault{.name = name, .play = withBody(body), .verdict = Verdict::Format};
  };
  return {
      other("null", "null"),        other("true", "true"),
      other("number", "1e400"),     other("string", R"("two parts")"),
      other("empty_object", "{}"),  other("empty_array", "[]"),
      other("array_of_it", "[{}]"), other("nested_as_deep_as_allowed", nested(256, "[", "]")),
  };
}

}  // namespace

std::vector<Fault> contentFaults() {
  std::vector<Fault> faults;
  for (auto* part : {brokenTexts, oddTexts, otherDocuments}) {
    for (Fault& fault : part()) {
      fault.isOfWholeReply = true;
      faults.push_back(std::move(fault));
    }
  }
  return faults;
}
