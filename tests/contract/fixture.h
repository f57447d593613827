// A host, an assistant of one service and its stand-in, over real sockets.
#pragma once

#include "support/host.h"
#include "support/services.h"

#include <gtest/gtest.h>
#include <standin.h>

#include <string>

/// The key that the stand-in accepts and that no text may ever show.
inline const std::string kKey = "sk-canary-7f3a9c";

class Contract : public testing::Test {
 protected:
  Contract(const TestedService& service, standin::Options options);
  ~Contract() override;

  /// An assistant of the service at the stand-in, with a pool and a model.
  Owned<IQAIAssistant> assistantWith(const std::string& key = kKey);
  /// As it is created: without a model.
  Owned<IQAIAssistant> bareAssistant(ICSHTTPPoolCenter* pool, const std::string& key = kKey);

  /// The next request is answered with `status` and `body`.
  void answerNext(int status, const std::string& body);
  std::string lastBody() const;
  std::size_t requestCount() const { return standin_.requests().size(); }

  const TestedService& service_;
  standin::Server standin_;
};

/// One case for each chat service.
class EachService : public Contract, public testing::WithParamInterface<TestedService> {
 protected:
  EachService() : Contract(GetParam(), {.apiKey = kKey}) {}
};

/// A host callback that translates every text to "X".
void translateToX(const char* name, void* data);

std::string serviceName(const testing::TestParamInfo<TestedService>& row);
