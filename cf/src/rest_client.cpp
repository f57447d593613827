#include "rest_failure.h"
#include "rest_options.h"
#include "rest_pool.h"
#include "rest_services.h"

#include <cf/app.h>
#include <cf/immortal.h>

#include <memory>
#include <new>
#include <optional>
#include <utility>

namespace {

class RestClient final : public ICSRestClient {
 public:
  RestClient(CMRestGlobalSettings settings, const CMRestSession* session)
      : settings_(std::move(settings)), session_(session) {}

  std::int32_t executeGet(const CMRestGetRequest& request, CMRestResourceResponse** response) override {
    return execute({RestMethod::Get, request, nullptr, session(), settings_, nullptr}, response);
  }
  std::int32_t executePost(const CMRestPostRequest& request, CMRestResourceResponse** response) override {
    return post(request, nullptr, response);
  }
  std::int32_t executeDelete(const CMRestDeleteRequest& request, CMRestResourceResponse** response) override {
    return execute({RestMethod::Delete, request, nullptr, session(), settings_, nullptr}, response);
  }
  std::int32_t executePostStreaming(const CMRestPostRequest& request, ICSRestReceiver& receiver,
                                    CMRestResourceResponse** response) override {
    return post(request, &receiver, response);
  }
  const std::string& obtainFailureText() const noexcept override { return failureText_; }

 private:
  /// The one that the client was made for, or one that carries nothing.
  const CMRestSession& session() const noexcept;
  std::int32_t post(const CMRestPostRequest& request, ICSRestReceiver* receiver, CMRestResourceResponse** response);
  std::int32_t execute(const RestOrder& order, CMRestResourceResponse** response);
  std::int32_t send(const RestOrder& order, RestTransfer& transfer, RestReply& reply,
                    CMRestResourceResponse** response);
  std::int32_t fail(CFRestError error, std::string text) {
    failureText_ = std::move(text);
    return static_cast<std::int32_t>(error);
  }
  std::int32_t failCancelled() { return fail(CFRestError::Cancelled, "The request was cancelled"); }

  const CMRestGlobalSettings settings_;
  const CMRestSession* session_;
  std::string failureText_;
};

const CMRestSession& RestClient::session() const noexcept {
  static CFImmortal<CMRestSession> noSession;
  return session_ == nullptr ? noSession.get() : *session_;
}

std::int32_t RestClient::post(const CMRestPostRequest& request, ICSRestReceiver* receiver,
                              CMRestResourceResponse** response) {
  RestUpload body(request.getBodyParts());
  return execute({RestMethod::Post, request, request.hasBody() ? &body : nullptr, session(), settings_, receiver},
                 response);
}

std::int32_t RestClient::execute(const RestOrder& order, CMRestResourceResponse** response) {
  *response = nullptr;
  failureText_.clear();
  // Null also for a pool centre of another make, which has no connections to lend.
  auto* pool = session_ == nullptr ? nullptr : dynamic_cast<RestPool*>(session_->httpPoolCenter);
  if (pool != nullptr) pool->setLastStatus(0);
  if (pool != nullptr && pool->takeCancel()) return failCancelled();
  RestReply reply(settings_.maxReplyBytes, order.receiver);
  RestTransfer transfer(pool);
  if (!transfer.takeKept(order)) {
    auto setup = std::make_unique<RestSetup>(order);
    if (std::string refusal = planRequest(order, setup->plan); !refusal.empty()) {
      return fail(CFRestError::BadRequest, std::move(refusal));
    }
    transfer.use(std::move(setup));
  }
  const std::int32_t error = send(order, transfer, reply, response);
  if (pool != nullptr && *response != nullptr) pool->setLastStatus((*response)->getStatus());
  return error;
}

std::int32_t RestClient::send(const RestOrder& order, RestTransfer& transfer, RestReply& reply,
                              CMRestResourceResponse** response) {
  CURL* easy = transfer.getEasy();
  std::optional<CURLcode> code = transfer.apply(order, reply);
  if (code == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
  if (code == CURLE_OK) code = transfer.run(RestPace(settings_, order.receiver != nullptr), reply, order.receiver);
  if (!code) return failCancelled();
  RestFailure failure = judgeTransfer(*code, easy, transfer.getPlan(), settings_, reply);
  if (failure.error != CFRestError::None) return fail(failure.error, std::move(failure.text));
  long status = 0;
  curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
  *response = std::make_unique<CMRestResourceResponse>(static_cast<std::int32_t>(status), std::move(reply.body),
                                                       std::move(reply.head))
                  .release();
  if (!isSuccess(status)) return static_cast<std::int32_t>(status);
  transfer.keep();
  return 0;
}

class ClientFactory final : public ICSRestClientFactory {
 public:
  ICSRestClient* createRestClient(ICSAppFactory* /*app*/, const CMRestGlobalSettings& settings,
                                  const CMRestSession* session) override {
    return new RestClient(settings, session);
  }
};

}  // namespace

ICSRestClientFactory& obtainClientFactory() {
  static CFImmortal<ClientFactory> factory;
  return factory.get();
}
