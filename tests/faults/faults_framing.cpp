// Faults of HTTP itself: lengths, chunks, header fields, interim replies, redirects, compression.
#include "faults.h"

#include <zlib.h>

#include <stdexcept>

namespace {

using namespace std::string_literals;
using raw::Close;
using raw::Script;
using raw::Send;
using raw::SendForever;
using raw::Stall;

constexpr const char* kTooLarge = "The reply from {} is larger than 2 MiB";
constexpr const char* kManyHeaders = "The header fields of the reply from {} are larger than 256 KiB";
constexpr const char* kChunks = "The chunks of the reply from {} can't be read: ";
constexpr const char* kCompression = "The compressed reply from {} can't be read";

std::string repeat(std::string_view text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

std::string toHex(std::size_t number) {
  std::string digits;
  for (; number != 0; number /= 16) digits.insert(digits.begin(), "0123456789abcdef"[number % 16]);
  return digits;
}

std::string chunk(const std::string& data) { return toHex(data.size()) + "\r\n" + data + "\r\n"; }

/// The healthy body under these fields, on a connection that then ends.
Play underFields(const std::string& fields) {
  return [fields](const Exchange& exchange) {
    return Script{Send{head(200, kClosing + fields) + exchange.body}, Close{}};
  };
}

/// A chunked reply: `change` makes the chunks of the body.
Play chunked(std::function<std::string(const std::string& body)> change) {
  return [change = std::move(change)](const Exchange& exchange) {
    return Script{Send{head(200, kClosing + "Transfer-Encoding: chunked\r\n"s) + change(exchange.body)}, Close{}};
  };
}

/// `text` in gzip's format; `flush` is how zlib leaves it.
std::string compress(const std::string& text, int flush) {
  z_stream stream{};
  constexpr int kGzip = 15 + 16;
  if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, kGzip, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("zlib does not start");
  }
  std::string result(deflateBound(&stream, text.size()) + 64, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data());
  stream.avail_out = static_cast<uInt>(result.size());
  deflate(&stream, flush);
  result.resize(result.size() - stream.avail_out);
  deflateEnd(&stream);
  return result;
}

/// A gibibyte of blanks: the same compressed block, over and over.
const std::string& bomb() {
  static const std::string kBomb = [] {
    constexpr std::size_t kHeader = 10;  // of gzip
    const std::string block = compress(std::string(std::size_t{1} << 20, ' '), Z_FULL_FLUSH);
    return block.substr(0, kHeader) + repeat(std::string_view(block).substr(kHeader), 1024);
  }();
  return kBomb;
}

Play compressed(std::function<std::string(std::string body)> change) {
  return [change = std::move(change)](const Exchange& exchange) {
    return Script{Send{raw::reply(200, change(exchange.body), kClosing + "Content-Encoding: gzip\r\n"s)}, Close{}};
  };
}

std::string cutGzip(const std::string& body) {
  const std::string whole = compress(body, Z_FINISH);
  return whole.substr(0, whole.size() / 2);
}

std::string damagedGzip(const std::string& body) {
  std::string whole = compress(body, Z_FINISH);
  whole[12] = static_cast<char>(~whole[12]);
  return whole;
}

std::vector<Fault> lengthFaults() {
  return {
      {.name = "length_too_large",
       .play =
           [](const Exchange& exchange) {
             const std::string length = std::to_string(exchange.body.size() + 10);
             return Script{Send{head(200, "Content-Length: " + length + "\r\n") + exchange.body}, Close{}};
           },
       .verdict = Verdict::Transport,
       .texts = {kLost}},
      {.name = "length_too_small",
       .play =
           [](const Exchange& exchange) {
             return Script{Send{head(200, kClosing + "Content-Length: 10\r\n"s) + exchange.body}, Close{}};
           },
       .verdict = Verdict::NoJson},
      {.name = "length_zero", .play = underFields("Content-Length: 0\r\n"), .verdict = Verdict::NoJson},
      {.name = "two_lengths",
       .play = underFields("Content-Length: 10\r\nContent-Length: 12\r\n"),
       .verdict = Verdict::Either},
      {.name = "negative_length",
       .play = underFields("Content-Length: -5\r\n"),
       .verdict = Verdict::Transport,
       .texts = {kNotHTTP}},
      {.name = "length_of_23_digits",
       .play = underFields("Content-Length: 99999999999999999999999\r\n"),
       .verdict = Verdict::Either},
      {.name = "length_that_is_no_number", .play = underFields("Content-Length: many\r\n"), .verdict = Verdict::Either},
      {.name = "length_of_10_gib",
       .play = sends(head(200, "Content-Length: 10737418240\r\n"), Stall{}),
       .verdict = Verdict::Transport,
       .texts = {kTooLarge},
       .isOfWholeReply = true},
      {.name = "one_byte_beyond_the_limit",
       .play = sends(raw::reply(200, std::string(kReplyLimit + 1, ' '))),
       .verdict = Verdict::Transport,
       .texts = {kTooLarge}},
      {.name = "no_length", .play = underFields("")},
      {.name = "no_length_and_cut",
       .play =
           [](const Exchange& exchange) {
             return Script{Send{head(200) + exchange.body.substr(0, exchange.body.size() / 2)}, Close{}};
           },
       .verdict = Verdict::NoJson},
      {.name = "endless",
       .play =
           [](const Exchange&) {
             return Script{Send{head(200)}, SendForever{std::string(65536, ' ')}};
           },
       .verdict = Verdict::Transport,
       .texts = {kTooLarge}},
  };
}

std::vector<Fault> chunkFaults() {
  return {
      {.name = "chunks", .play = chunked([](const std::string& body) { return chunk(body) + "0\r\n\r\n"; })},
      {.name = "length_and_chunks",
       .play =
           [](const Exchange& exchange) {
             return Script{Send{head(200, kClosing + "Content-Length: 3\r\nTransfer-Encoding: chunked\r\n"s) +
                                chunk(exchange.body) + "0\r\n\r\n"},
                           Close{}};
           },
       .verdict = Verdict::Either},
      {.name = "cut_in_a_chunk",
       .play = chunked([](const std::string& body) { return "ffff\r\n" + body.substr(0, body.size() / 2); }),
       .verdict = Verdict::Transport,
       .texts = {kLost}},
      {.name = "cut_behind_a_chunk",
       .play = chunked([](const std::string& body) { return chunk(body); }),
       .verdict = Verdict::Transport,
       .texts = {kLost}},
      {.name = "chunk_size_that_is_no_number",
       .play = chunked([](const std::string& body) { return "zz\r\n" + body + "\r\n0\r\n\r\n"; }),
       .verdict = Verdict::Transport,
       .texts = {kChunks + "illegal or missing hexadecimal sequence"s}},
      {.name = "huge_chunk_size",
       .play = chunked([](const std::string& body) { return "ffffffffffffffffff\r\n" + body + "\r\n0\r\n\r\n"; }),
       .verdict = Verdict::Transport,
       .texts = {kChunks + "too long hexadecimal number"s}},
      {.name = "negative_chunk_size",
       .play = chunked([](const std::string& body) { return "-5\r\n" + body + "\r\n0\r\n\r\n"; }),
       .verdict = Verdict::Transport,
       .texts = {kChunks + "illegal or missing hexadecimal sequence"s}},
      {.name = "chunk_longer_than_its_size",
       .play = chunked([](const std::string& body) { return "3\r\n" + body + "\r\n0\r\n\r\n"; }),
       .verdict = Verdict::Transport,
       .texts = {kChunks + "malformed encoding found"s}},
  };
}

std::vector<Fault> headerFaults() {
  const std::string length = "Content-Length: 2\r\n\r\n{}";
  const auto noHTTP = [](const char* name, const std::string& bytes) {
    return Fault{.name = name, .play = sends(bytes, Close{}), .verdict = Verdict::Transport, .texts = {kNotHTTP}};
  };
  static const std::string kLongLine = "HTTP/1.1 200 OK\r\nX: " + std::string(1 << 20, 'x') + "\r\n\r\n";
  static const std::string kManyFields = "HTTP/1.1 200 OK\r\n" + repeat("X: y\r\n", 200'000) + "\r\n";
  static const std::string kManyInterims = repeat("HTTP/1.1 103 Early Hints\r\n\r\n", 20'000);
  return {
      noHTTP("nul_in_a_header", "HTTP/1.1 200 OK\r\nX: a\0b\r\n"s + length),
      noHTTP("http_0_9", R"({"id":"x"})"),
      noHTTP("tls_bytes", "\x15\x03\x03\x00\x02\x02\x28"s),
      noHTTP("http_7_0", "HTTP/7.0 200 OK\r\n" + length),
      noHTTP("status_9999", "HTTP/1.1 9999 X\r\n" + length),
      noHTTP("status_000", "HTTP/1.1 000 X\r\n" + length),
      noHTTP("greeting_of_another_protocol", "220 mail.example ESMTP\r\n"),
      {.name = "header_line_of_a_mebibyte",
       .play =
           [](const Exchange&) {
             return Script{Send{kLongLine}, Close{}};
           },
       .verdict = Verdict::Transport,
       .texts = {"A header field of the reply from {} is too long"}},
      {.name = "header_that_begins_with_a_folded_field",
       .play = sends("HTTP/1.1 200 OK\r\n\tX: y\r\n" + length, Close{}),
       .verdict = Verdict::Transport,
       .texts = {"A header field of the reply from {} can't be read"}},
      {.name = "header_of_200_000_fields",
       .play =
           [](const Exchange&) {
             return Script{Send{kManyFields}, Close{}};
           },
       .verdict = Verdict::Transport,
       .texts = {kManyHeaders}},
      {.name = "interim_replies_20_000",
       .play =
           [](const Exchange&) {
             return Script{Send{kManyInterims}, Close{}};
           },
       .verdict = Verdict::Transport,
       .texts = {kManyHeaders}},
      {.name = "trailers_without_end",
       .play =
           [](const Exchange& exchange) {
             static const std::string kTrailers = repeat("X: y\r\n", 10'000);
             return Script{Send{head(200, "Transfer-Encoding: chunked\r\n") + chunk(exchange.body) + "0\r\n"},
                           SendForever{kTrailers}};
           },
       .verdict = Verdict::Transport,
       .texts = {kManyHeaders}},
      {.name = "interim_reply_100",
       .play =
           [](const Exchange& exchange) {
             return Script{Send{"HTTP/1.1 100 Continue\r\n\r\n" + raw::reply(200, exchange.body)}};
           }},
      {.name = "interim_reply_103",
       .play =
           [](const Exchange& exchange) {
             return Script{Send{"HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n" + raw::reply(200, exchange.body)}};
           }},
      {.name = "key_in_a_header",
       .play =
           [](const Exchange& exchange) {
             return Script{
                 Send{raw::reply(200, exchange.body, "X-Key: " + kKey + "\r\nSet-Cookie: k=" + kKey + "\r\n")}};
           }},
  };
}

std::vector<Fault> compressionFaults() {
  return {
      {.name = "gzip", .play = compressed([](const std::string& body) { return compress(body, Z_FINISH); })},
      {.name = "gzip_cut", .play = compressed(cutGzip), .verdict = Verdict::NoJson},
      {.name = "gzip_twice",
       .play = compressed([](const std::string& body) { return compress(body, Z_FINISH) + compress(body, Z_FINISH); }),
       .verdict = Verdict::Transport,
       .texts = {"The compressed reply from {} goes on behind its end"}},
      {.name = "gzip_damaged",
       .play = compressed(damagedGzip),
       .verdict = Verdict::Transport,
       .texts = {kCompression, kLost}},
      {.name = "gzip_that_is_none",
       .play = compressed([](std::string body) { return body; }),
       .verdict = Verdict::Transport,
       .texts = {kCompression}},
      {.name = "unknown_compression",
       .play =
           [](const Exchange& exchange) {
             return Script{Send{raw::reply(200, exchange.body, "Content-Encoding: x-unknown\r\n")}, Close{}};
           },
       .verdict = Verdict::Transport,
       .texts = {kCompression}},
      {.name = "gzip_of_a_gibibyte",
       .play =
           [](const Exchange&) {
             return Script{Send{raw::reply(200, bomb(), "Content-Encoding: gzip\r\n")}, Close{}};
           },
       .verdict = Verdict::Transport,
       .texts = {kTooLarge}},
  };
}

/// A redirect; "{}" in the address is the port of a server that must not be asked.
Fault redirect(const std::string& name, int status, const std::string& location) {
  return {.name = name,
          .play =
              [status, location](const Exchange& exchange) {
                std::string address = location;
                if (const auto place = address.find("{}"); place != std::string::npos) {
                  address.replace(place, 2, std::to_string(exchange.portElsewhere));
                }
                return Script{Send{raw::reply(status, "", "Location: " + address + "\r\n")}};
              },
          .verdict = Verdict::Status,
          .texts = {"HTTP " + std::to_string(status) + " *"}};
}

}  // namespace

std::vector<Fault> framingFaults() {
  std::vector<Fault> faults;
  for (auto* part : {lengthFaults, chunkFaults, headerFaults}) {
    for (Fault& fault : part()) faults.push_back(std::move(fault));
  }
  for (Fault& fault : compressionFaults()) {
    fault.isOfWholeReply = true;  // a stream is asked for uncompressed
    faults.push_back(std::move(fault));
  }
  return faults;
}

std::vector<Fault> redirectFaults() {
  return {redirect("redirect_301_to_another_port", 301, "http://127.0.0.1:{}/"),
          redirect("redirect_302_to_another_host", 302, "http://localhost:{}/"),
          redirect("redirect_303_to_another_host", 303, "http://localhost:{}/"),
          redirect("redirect_307_to_another_port", 307, "http://127.0.0.1:{}/"),
          redirect("redirect_307_to_another_host", 307, "http://localhost:{}/"),
          redirect("redirect_308_to_another_host", 308, "http://localhost:{}/"),
          redirect("redirect_307_to_itself", 307, "/v1/models"),
          redirect("redirect_307_to_a_file", 307, "file:///etc/passwd"),
          redirect("redirect_307_to_ftp", 307, "ftp://127.0.0.1:{}/x"),
          redirect("redirect_307_to_gopher", 307, "gopher://127.0.0.1:{}/x"),
          {.name = "not_modified_304",
           .play = sends(head(304)),
           .verdict = Verdict::Status,
           .texts = {"HTTP 304 Not Modified"}},
          {.name = "switching_protocols_101",
           .play = sends(head(101, "Connection: Upgrade\r\nUpgrade: websocket\r\n"), Close{}),
           .verdict = Verdict::Transport,
           .texts = {kUnanswered}},
          {.name = "no_content_204", .play = sends(head(204)), .verdict = Verdict::NoJson},
          {.name = "reset_content_205", .play = sends(head(205, "Content-Length: 0\r\n")), .verdict = Verdict::NoJson},
          {.name = "accepted_202_without_a_body",
           .play = sends(head(202, "Content-Length: 0\r\n")),
           .verdict = Verdict::NoJson}};
}
