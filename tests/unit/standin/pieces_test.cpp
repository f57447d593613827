// Replies in pieces: each goes out as it is made.
#include "client.h"
#include "raw_client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <http_server.h>
#include <standin.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using standin::HttpReply;
using standin::Piece;
using standin::PieceSource;
using std::chrono::milliseconds;
using testing::HasSubstr;

const std::string kGet = "GET / HTTP/1.1\r\nHost: x\r\n\r\n";

TEST(Pieces, ArriveOneByOne) {
  std::array<std::promise<void>, 3> permits;
  const auto answer = [&](const standin::Request&, standin::Connection&) {
    const PieceSource numbers = [&, number = std::size_t{0}]() mutable -> std::optional<Piece> {
      if (number == permits.size()) return std::nullopt;
      permits[number].get_future().wait();
      return Piece{.bytes = "piece " + std::to_string(number++)};
    };
    return HttpReply{.body = numbers, .size = std::nullopt};
  };
  standin::HttpServer server("127.0.0.1", 0, nullptr, answer);
  RawClient client(server.port());
  client.send(kGet);
  permits[0].set_value();
  EXPECT_THAT(client.readHead(), HasSubstr("\r\nTransfer-Encoding: chunked\r\n"));
  EXPECT_EQ(client.readTo("piece 0\r\n"), "7\r\npiece 0\r\n");
  permits[1].set_value();  // the next one is not made before
  EXPECT_EQ(client.readTo("piece 1\r\n"), "7\r\npiece 1\r\n");
  permits[2].set_value();
  EXPECT_EQ(client.readTo("piece 2\r\n"), "7\r\npiece 2\r\n");
  EXPECT_EQ(client.readTo("\r\n\r\n"), "0\r\n\r\n");
}

PieceSource list(std::vector<Piece> pieces) {
  std::reverse(pieces.begin(), pieces.end());
  return [pieces = std::move(pieces)]() mutable -> std::optional<Piece> {
    if (pieces.empty()) return std::nullopt;
    Piece next = std::move(pieces.back());
    pieces.pop_back();
    return next;
  };
}

/// How pieces are framed.
struct FramingCase {
  const char* name;
  std::string request;
  std::optional<std::size_t> size;
  bool cut;
  std::string header;  // of the reply
  std::string body;    // as it stands on the line, up to the end of the connection
};
class Framing : public testing::TestWithParam<FramingCase> {};

TEST_P(Framing, FitsSizeAndVersion) {
  const auto answer = [](const standin::Request&, standin::Connection&) {
    return HttpReply{.body = list({{.bytes = "one"}, {.bytes = ""}, {.bytes = "and two"}}),
                     .size = GetParam().size,
                     .cut = GetParam().cut};
  };
  standin::HttpServer server("127.0.0.1", 0, nullptr, answer);
  RawClient client(server.port());
  client.send(GetParam().request);
  EXPECT_THAT(client.readHead(), HasSubstr("\r\n" + GetParam().header + "\r\n"));
  EXPECT_EQ(client.readToEnd(), GetParam().body);
}

const std::string kLast = "GET / HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n";

INSTANTIATE_TEST_SUITE_P(
    Ways, Framing,
    testing::Values(FramingCase{"size_told", kLast, 10, false, "Content-Length: 10", "oneand two"},
                    FramingCase{"size_told_and_cut", kGet, 20, true, "Content-Length: 20", "oneand two"},
                    FramingCase{"chunks", kLast, std::nullopt, false, "Transfer-Encoding: chunked",
                                "3\r\none\r\n7\r\nand two\r\n0\r\n\r\n"},
                    FramingCase{"chunks_cut", kGet, std::nullopt, true, "Transfer-Encoding: chunked",
                                "3\r\none\r\n7\r\nand two\r\n"},
                    FramingCase{"end_of_connection", "GET / HTTP/1.0\r\nConnection: keep-alive\r\n\r\n", std::nullopt,
                                false, "Connection: close", "oneand two"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Pieces, ComeAfterTheirPauses) {
  const auto answer = [](const standin::Request&, standin::Connection&) {
    return HttpReply{.body = list({{"one", milliseconds(30)}, {"two", milliseconds(0)}, {"three", milliseconds(30)}}),
                     .size = std::nullopt};
  };
  standin::HttpServer server("127.0.0.1", 0, nullptr, answer);
  Client client("http://127.0.0.1:" + std::to_string(server.port()));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(client.get("/").body, "onetwothree");
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(60));
}

TEST(Pieces, OfStreamsAloneComeAtThePaceThatTheServerWasGiven) {
  auto server = std::make_unique<standin::Server>(standin::Options{.pace = std::chrono::hours(1)});
  const auto ask = [](const std::string& members) {
    const std::string body = R"({"model":"standin-small","messages":[{"role":"user","content":"q"}])" + members + "}";
    return "POST /v1/chat/completions HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer k\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
  };
  RawClient client(server->port());
  client.send(ask(""));
  EXPECT_THAT(client.readTo("\"usage\""), HasSubstr("chat.completion"));
  client.send(ask(R"(,"stream":true)"));
  client.readTo("text/event-stream");
  client.readHead();
  server.reset();
  EXPECT_EQ(client.readToEnd(), "");
}

}  // namespace
