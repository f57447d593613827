#include "network.h"

#include "address_rules.h"
#include "expect.h"
#include "rest_options.h"
#include "rest_services.h"

#include <cf/app.h>
#include <cf/json_shortcuts.h>

#include <charconv>
#include <cstddef>
#include <utility>

namespace {

/// Refuses what the real client refuses, and hands out the scripted replies for the rest.
class Client final : public ICSRestClient {
 public:
  Client(CMRestGlobalSettings settings, const CMRestSession& session)
      : settings_(std::move(settings)), session_(session) {}

  std::int32_t executeGet(const CMRestGetRequest& request, CMRestResourceResponse** response) override {
    return execute({RestMethod::Get, request, nullptr, session_, settings_, nullptr}, response);
  }
  std::int32_t executePost(const CMRestPostRequest& request, CMRestResourceResponse** response) override {
    return post(request, nullptr, response);
  }
  std::int32_t executePostStreaming(const CMRestPostRequest& request, ICSRestReceiver& receiver,
                                    CMRestResourceResponse** response) override {
    return post(request, &receiver, response);
  }
  std::int32_t executeDelete(const CMRestDeleteRequest& request, CMRestResourceResponse** response) override {
    return execute({RestMethod::Delete, request, nullptr, session_, settings_, nullptr}, response);
  }
  const std::string& obtainFailureText() const noexcept override { return failureText_; }

 private:
  std::int32_t post(const CMRestPostRequest& request, ICSRestReceiver* receiver, CMRestResourceResponse** response) {
    expect(!request.hasBody() || cfIsJson(request.getBody()), "a request's body is JSON", request.getBody());
    RestUpload body(request.getBodyParts());
    return execute({RestMethod::Post, request, request.hasBody() ? &body : nullptr, session_, settings_, receiver},
                   response);
  }

  std::int32_t execute(const RestOrder& order, CMRestResourceResponse** response) {
    RestPlan plan{};
    failureText_ = planRequest(order, plan);
    if (!failureText_.empty()) return static_cast<std::int32_t>(CFRestError::BadRequest);
    expectSound(order.request, plan, network().apiHost);

    Network& net = network();
    if (net.used == net.replies.size()) return static_cast<std::int32_t>(CFRestError::ConnectionLost);
    const Reply& reply = net.replies[net.used++];
    const bool isTaken = order.receiver != nullptr && begin(*order.receiver, reply);
    *response = new CMRestResourceResponse(reply.status, isTaken ? std::string() : reply.body);
    if (isTaken && !receive(*order.receiver, reply.body)) return static_cast<std::int32_t>(CFRestError::Stopped);
    return reply.status >= 200 && reply.status <= 299 ? 0 : reply.status;
  }

  static bool begin(ICSRestReceiver& receiver, const Reply& reply) {
    const std::size_t beginning = reply.body.find_first_not_of(" \t\r\n");
    return beginning != std::string::npos &&
           receiver.begin(reply.status, "", std::string_view(reply.body).substr(beginning));
  }

  /// The body in two parts.
  static bool receive(ICSRestReceiver& receiver, std::string_view body) {
    return receiver.receive(body.substr(0, body.size() / 2)) && receiver.receive(body.substr(body.size() / 2));
  }

  const CMRestGlobalSettings settings_;
  const CMRestSession& session_;
  std::string failureText_;
};

class AppFactory final : public ICSAppFactory, public ICSRestClientFactory {
 public:
  ICSRestClientFactory* obtainRestClientFactory() override { return this; }
  ICSErrorDescriptionService* obtainErrorDescriptionService() override { return &obtainErrorDescriptions(); }
  ICSRestClient* createRestClient(ICSAppFactory* /*app*/, const CMRestGlobalSettings& settings,
                                  const CMRestSession* session) override {
    return new Client(settings, *session);
  }
};

/// Takes a status off the start of `text`; 200 when there is none that a server can send.
std::int32_t takeStatus(std::string_view& text) {
  constexpr std::size_t kDigits = 3;
  std::int32_t status = 0;
  if (text.size() <= kDigits || text[kDigits] != '\n') return 200;
  const auto [end, error] = std::from_chars(text.data(), text.data() + kDigits, status);
  if (error != std::errc() || end != text.data() + kDigits || status < 100) return 200;
  text.remove_prefix(kDigits + 1);
  return status;
}

}  // namespace

ICSAppFactory* CF::obtainAppFactory() {
  static AppFactory factory;
  return &factory;
}

Network& network() {
  static Network network;
  return network;
}

void Network::answer(std::vector<Reply> next) {
  replies = std::move(next);
  used = 0;
}

std::vector<std::string_view> cutInput(std::string_view input) {
  constexpr std::string_view kCut = "\n%%\n";
  std::vector<std::string_view> pieces;
  for (;;) {
    const std::size_t end = input.find(kCut);
    pieces.push_back(input.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    input.remove_prefix(end + kCut.size());
  }
}

std::vector<Reply> readReplies(std::string_view input) {
  std::vector<Reply> replies;
  for (std::string_view piece : cutInput(input)) {
    const std::int32_t status = takeStatus(piece);
    replies.push_back({status, std::string(piece)});
  }
  return replies;
}
