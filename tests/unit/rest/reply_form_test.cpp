// Replies whose form is not as it must be, and what is then said of the server.
#include "rest_caller.h"

#include <zlib.h>

namespace {

using raw::Close;
using raw::Send;

struct FormCase {
  const char* name;
  std::string bytes;
  CFRestError error;
  std::string text;  // "{}" is the server
};
class ReplyOfBadForm : public testing::TestWithParam<FormCase> {};

TEST_P(ReplyOfBadForm, IsToldAsWhatTheServerDid) {
  RawServer server({{Send{GetParam().bytes}, Close{}}});
  std::string text = GetParam().text;
  text.replace(text.find("{}"), 2, nameOf(server));
  expectFailure(RestCaller{}.get(server.getURL()), GetParam().error, text);
}

const std::string kStatus = "HTTP/1.1 200 OK\r\n";
const std::string kChunks = kStatus + "Transfer-Encoding: chunked\r\n\r\n";
const std::string kLastChunk = "2\r\n{}\r\n0\r\n";
const std::string kEnd = "Content-Length: 2\r\n\r\n{}";

FormCase badChunk(const char* name, const std::string& chunks, const std::string& why) {
  return {name, kChunks + chunks, CFRestError::NotHTTP, "The chunks of the reply from {} can't be read: " + why};
}
FormCase badField(const char* name, const std::string& bytes) {
  return {name, bytes, CFRestError::NotHTTP, "A header field of the reply from {} can't be read"};
}
FormCase longField(const char* name, const std::string& bytes) {
  return {name, bytes, CFRestError::ReplyTooLarge, "A header field of the reply from {} is too long"};
}

INSTANTIATE_TEST_SUITE_P(
    Chunks, ReplyOfBadForm,
    testing::Values(badChunk("size_of_letters", "zz\r\n{}", "illegal or missing hexadecimal sequence"),
                    badChunk("size_missing", "\r\n{}", "illegal or missing hexadecimal sequence"),
                    badChunk("size_negative", "-5\r\n{}", "illegal or missing hexadecimal sequence"),
                    badChunk("size_huge", "ffffffffffffffffff\r\n{}", "too long hexadecimal number"),
                    badChunk("longer_than_its_size", "3\r\n{}{}{}\r\n0\r\n\r\n", "malformed encoding found")),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Fields, ReplyOfBadForm,
    testing::Values(longField("line_of_100_kib", kStatus + "X: " + std::string(110'000, 'y') + "\r\n" + kEnd),
                    longField("line_of_a_mebibyte", kStatus + "X: " + std::string(1 << 20, 'y') + "\r\n" + kEnd),
                    longField("status_line", "HTTP/1.1 200 " + std::string(110'000, 'y') + "\r\n" + kEnd),
                    longField("trailer", kChunks + kLastChunk + "X: " + std::string(5000, 'y') + "\r\n\r\n"),
                    badField("folded_at_the_beginning", kStatus + "\tfolded: x\r\n" + kEnd),
                    badField("trailer_without_colon", kChunks + kLastChunk + "abc\r\n\r\n")),
    [](const auto& row) { return std::string(row.param.name); });

std::string compress(const std::string& text) {
  constexpr int kGzip = 15 + 16;
  z_stream stream{};
  deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, kGzip, 9, Z_DEFAULT_STRATEGY);
  std::string packed(deflateBound(&stream, static_cast<uLong>(text.size())), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

TEST(CompressedReply, IsDecoded) {
  RawServer server(raw::reply(200, compress(R"({"a":"b"})"), "Content-Encoding: gzip\r\n"));
  const RestResult outcome = RestCaller{}.get(server.getURL());
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(bodyOf(outcome), R"({"a":"b"})");
}

TEST(CompressedReply, IsLimitedByWhatItDecodesTo) {
  RawServer server(raw::reply(200, compress(std::string(std::size_t{3} << 20, 'x')), "Content-Encoding: gzip\r\n"));
  RestCaller caller;
  caller.settings.maxReplyBytes = std::size_t{2} << 20;
  expectFailure(caller.get(server.getURL()), CFRestError::ReplyTooLarge,
                "The reply from " + nameOf(server) + " is larger than 2 MiB");
}

class CompressedReplyWithMore : public testing::TestWithParam<std::string> {};

TEST_P(CompressedReplyWithMore, IsToldAsThat) {
  RawServer server(raw::reply(200, compress("{}") + GetParam(), "Content-Encoding: gzip\r\n"));
  expectFailure(RestCaller{}.get(server.getURL()), CFRestError::NotHTTP,
                "The compressed reply from " + nameOf(server) + " goes on behind its end");
}

INSTANTIATE_TEST_SUITE_P(Parts, CompressedReplyWithMore, testing::Values(compress("[]"), "rest"));

TEST(CompressedReply, ThatIsDamagedFails) {
  RawServer server(raw::reply(200, "no gzip at all, surely", "Content-Encoding: gzip\r\n"));
  expectFailure(RestCaller{}.get(server.getURL()), CFRestError::NotHTTP,
                "The compressed reply from " + nameOf(server) + " can't be read");
}

}  // namespace
