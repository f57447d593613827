// A request goes out once, whatever becomes of its connection: a service may have acted on what it has read.
#include "rest_caller.h"
#include "support/test_ca.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <ostream>
#include <string_view>
#include <thread>

namespace {

using namespace std::chrono_literals;
using raw::Call;
using raw::Close;
using raw::Reset;
using raw::Script;
using raw::Send;

const std::string kOk = raw::reply(200, "{}");
const std::string kTunnel = "HTTP/1.1 200 Connection established\r\n\r\n";

std::string lostTo(const std::string& peer) {
  return "The connection to " + peer + " was lost before a reply; the service may have acted";
}

/// How the service is reached.
enum class Way { Plain, Secure, Proxy, SecureProxy, Tunnel };

struct SendingCase {
  const char* name;
  Way way;
  const char* method;
};
void PrintTo(const SendingCase& row, std::ostream* out) { *out << row.name; }

/// A server that answers two requests on a connection and then does what it is told to with the third.
class Sending : public testing::TestWithParam<SendingCase> {
 protected:
  Sending() { caller_.session.httpPoolCenter = pool_.get(); }

  bool isTunnel() const { return GetParam().way == Way::Tunnel; }
  bool isProxied() const { return isTunnel() || GetParam().way == Way::Proxy || GetParam().way == Way::SecureProxy; }

  /// The requests that are none for a tunnel are answered, but for the third.
  raw::Answer answer(Script third) const {
    return [third = std::move(third), count = std::make_shared<std::atomic<int>>(0)](const std::string& request,
                                                                                     std::size_t /*number*/) {
      if (request.starts_with("CONNECT ")) return Script{Send{kTunnel}, raw::StartTLS{}};
      return ++*count == 3 ? third : Script{Send{kOk}};
    };
  }

  TLSContext makeTLS() const {
    if (GetParam().way == Way::Plain || GetParam().way == Way::Proxy) return nullptr;
    return makeTLSContext(ca_.issue(isTunnel() ? "api.example" : "localhost"));
  }
  RawServer::Greeting greeting() const { return isTunnel() ? RawServer::Greeting::None : RawServer::Greeting::TLS; }

  RestResult ask(const RawServer& server) {
    caller_.settings.caFile = ca_.getFile();
    if (isProxied()) caller_.settings.proxyURL = server.getURL();
    const std::string url = isTunnel() ? "https://api.example" : isProxied() ? "http://api.example" : server.getURL();
    const std::string_view method = GetParam().method;
    if (method == "GET") return caller_.get(url + "/v1");
    if (method == "DELETE") return caller_.remove(url + "/v1");
    COJson body;
    body.addKeyValue("text")->setString(std::string(method == "LARGE POST" ? 3'000'000 : 10, 'x'));
    return caller_.post(url + "/v1", &body);
  }

  std::string peer(const RawServer& server) const {
    return isTunnel() ? "api.example:443" : isProxied() ? "api.example:80" : nameOf(server);
  }

  void expectSentOnce(const Script& third) {
    RawServer server(answer(third), makeTLS(), greeting());
    EXPECT_EQ(ask(server).code, 0);
    EXPECT_EQ(ask(server).code, 0);
    expectFailure(ask(server), CFRestError::ConnectionLost, lostTo(peer(server)));
    EXPECT_EQ(server.getConnections(), 1U);
    EXPECT_EQ(server.getRequests().size(), isTunnel() ? 4U : 3U);
    EXPECT_EQ(ask(server).code, 0) << "the next request";
  }

  const TestCA ca_;
  const std::unique_ptr<ICSHTTPPoolCenter> pool_{CF::createHTTPPoolCenter()};
  RestCaller caller_;
};

TEST_P(Sending, IsNotRepeatedWhenTheServerClosesWithoutAWord) { expectSentOnce({Close{}}); }

TEST_P(Sending, IsNotRepeatedWhenTheServerResetsTheConnection) { expectSentOnce({Reset{}}); }

TEST_P(Sending, IsNotRepeatedWhenTheServerHasWorkedOnIt) {
  expectSentOnce({Call{[] { std::this_thread::sleep_for(100ms); }}, Close{}});
}

TEST_P(Sending, TakesAnotherConnectionWhenTheKeptOneWasClosedBefore) {
  RawServer server(
      [](const std::string& request, std::size_t /*number*/) {
        if (request.starts_with("CONNECT ")) return Script{Send{kTunnel}, raw::StartTLS{}};
        return Script{Send{kOk}, Close{}};
      },
      makeTLS(), greeting());
  for (std::size_t i = 1; i <= 7; ++i) {  // libcurl gives up at the sixth dead connection of a handle
    const RestResult outcome = ask(server);
    EXPECT_EQ(outcome.code, 0) << outcome.text;
    EXPECT_TRUE(server.waitForEnds(i));
  }
  EXPECT_EQ(server.getConnections(), 7U);
  EXPECT_EQ(server.getRequests().size(), isTunnel() ? 14U : 7U);
}

INSTANTIATE_TEST_SUITE_P(Ways, Sending,
                         testing::Values(SendingCase{"get", Way::Plain, "GET"}, SendingCase{"post", Way::Plain, "POST"},
                                         SendingCase{"large_post", Way::Plain, "LARGE POST"},
                                         SendingCase{"delete", Way::Plain, "DELETE"},
                                         SendingCase{"get_over_tls", Way::Secure, "GET"},
                                         SendingCase{"post_over_tls", Way::Secure, "POST"},
                                         SendingCase{"large_post_over_tls", Way::Secure, "LARGE POST"},
                                         SendingCase{"delete_over_tls", Way::Secure, "DELETE"},
                                         SendingCase{"get_through_a_proxy", Way::Proxy, "GET"},
                                         SendingCase{"post_through_a_proxy", Way::Proxy, "POST"},
                                         SendingCase{"post_through_a_secure_proxy", Way::SecureProxy, "POST"},
                                         SendingCase{"get_through_a_tunnel", Way::Tunnel, "GET"},
                                         SendingCase{"post_through_a_tunnel", Way::Tunnel, "POST"},
                                         SendingCase{"delete_through_a_tunnel", Way::Tunnel, "DELETE"}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
