// A host in C++ and its assistant of one service, over real sockets.
#pragma once

#include "fixture.h"

#include <qai.hpp>

#include <string>
#include <utility>

/// One case for each service, the Assistants service included.
class EachHost : public Contract, public testing::WithParamInterface<TestedService> {
 protected:
  EachHost() : Contract(GetParam(), {.apiKey = kKey}) {}

  /// An assistant of the service at the stand-in, as it is created.
  qai::Assistant bareHost() const { return qai::Assistant(service_.type, kKey, standin_.address()); }

  /// The same with a model.
  qai::Assistant host() const {
    qai::Assistant assistant = bareHost();
    EXPECT_TRUE(assistant.configure([this](qai::Fill& fill) { fill.model(service_.model); }));
    return assistant;
  }

  bool keepsConversations() const { return service_.keepsConversations; }
};

/// The reply's text, or the error text behind "error: ".
inline std::string ask(qai::Session& session, std::string text) {
  const auto reply = session.ask(std::move(text));
  return reply ? reply->text() : "error: " + reply.error();
}
