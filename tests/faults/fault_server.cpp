#include "fault_server.h"

#include <chrono>
#include <utility>

namespace {

using raw::Call;
using raw::Close;
using raw::Reset;
using raw::Script;
using raw::Send;

constexpr auto kPatience = std::chrono::seconds(10);
constexpr const char* kUnasked = "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nunasked!!";

}  // namespace

FaultServer::FaultServer(const Cell& cell, TLSContext tls, int portElsewhere)
    : cell_(cell),
      portElsewhere_(portElsewhere),
      server_([this](const std::string& request, std::size_t /*number*/) { return answer(request); }, std::move(tls)) {}

bool FaultServer::endPreparation() {
  std::unique_lock lock(mutex_);
  mayGoOn_ = true;
  changed_.notify_all();
  if (cell_.fault.between == Between::BytesLater) return changed_.wait_for(lock, kPatience, [this] { return wentOn_; });
  lock.unlock();
  const bool ends = cell_.fault.between == Between::Close || cell_.fault.between == Between::Reset;
  return !ends || server_.waitForEnds(1);
}

void FaultServer::beginFault(std::function<void()> cancel) {
  const std::lock_guard lock(mutex_);
  cancel_ = std::move(cancel);
  isFaulty_ = true;
}

void FaultServer::endFault() {
  const std::lock_guard lock(mutex_);
  isFaulty_ = false;
  isHealed_ = true;
}

std::vector<std::string> FaultServer::getFaulted() const {
  const std::lock_guard lock(mutex_);
  return faulted_;
}

Script FaultServer::answer(const std::string& request) {
  const char* body = findHealthyBody(request);
  if (body == nullptr) return {Send{raw::reply(404, "The test's server does not know this address")}};
  const std::lock_guard lock(mutex_);
  if (isFaulty_ && cell_.fault.play && request.starts_with(cell_.operation.request)) {
    const Exchange exchange{.request = request,
                            .body = body,
                            .reading = cell_.operation.reading,
                            .played = static_cast<int>(faulted_.size()),
                            .portElsewhere = portElsewhere_,
                            .cancel = cancel_};
    faulted_.push_back(request);
    return cell_.fault.play(exchange);
  }
  if (!isHealed_ && isFaulty_ == cell_.operation.isWithin && request.starts_with(cell_.operation.before)) {
    return answerBefore(body);
  }
  return {Send{raw::reply(200, body)}};
}

/// Decides whether the request that meets the fault finds a connection, and in what state.
Script FaultServer::answerBefore(const std::string& body) {
  if (!cell_.warm) return {Send{raw::reply(200, body, "Connection: close\r\n")}, Close{}};
  const auto wait = [this] {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, kPatience, [this] { return mayGoOn_; });
  };
  const auto tell = [this] {
    const std::lock_guard lock(mutex_);
    wentOn_ = true;
    changed_.notify_all();
  };
  switch (cell_.fault.between) {
    case Between::Nothing:
      break;
    case Between::Close:
      return {Send{raw::reply(200, body)}, Call{wait}, Close{}};
    case Between::Reset:
      return {Send{raw::reply(200, body)}, Call{wait}, Reset{}};
    case Between::BytesWithTheReply:
      return {Send{raw::reply(200, body) + kUnasked}};
    case Between::BytesLater:
      return {Send{raw::reply(200, body)}, Call{wait}, Send{kUnasked}, Call{tell}};
  }
  return {Send{raw::reply(200, body)}};
}
