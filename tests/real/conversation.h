// A host's whole use of a service, and what no text of it may show.
#pragma once

#include "support/host.h"
#include "support/services.h"
#include "support/test_ca.h"

#include <cf/url.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <chrono>
#include <string>

/// The key of these tests; it looks different in an address, in a header and as itself.
inline const std::string kKey = "sk/can+ary 7f3a9c";

/// An assistant at `host`, with a pool centre and without a model.
inline Owned<IQAIAssistant> makeAssistant(const TestedService& service, const std::string& host) {
  return Owned<IQAIAssistant>(QAICreateAssistant(service.type, CF::createHTTPPoolCenter(), kKey, host));
}

/// Settings that trust `authority`, and with which a server that falls silent fails a test rather than the whole
/// program.
inline CMRestGlobalSettings settingsFor(const TestCA& authority, const std::string& proxyURL = "") {
  CMRestGlobalSettings settings;
  settings.caFile = authority.getFile();
  settings.proxyURL = proxyURL;
  settings.totalTimeout = std::chrono::seconds(60);
  return settings;
}

/// Lists the models, asks twice and destroys the session. "" when all went well, else the first error.
inline std::string converse(IQAIAssistant& assistant, const TestedService& service) {
  if (const auto listed = assistant.obtainAvailableModels(); !listed.second.empty()) return listed.second;
  if (std::string error = assign(assistant, {{"model", service.model}}); !error.empty()) return error;
  const auto [made, error] = assistant.createSession();
  const Owned<IQAISession> session(made);
  if (session == nullptr) return error;
  for (const char* question : {"first", "second"}) {
    const std::string answer = ask(assistant, session.get(), question);
    if (answer.starts_with("error: ")) return answer.substr(7);
    if (answer.empty()) return "There is no answer";
  }
  return assistant.destroySession(session.get());
}

inline std::string toBase64(const std::string& bytes) {
  std::string text(4 * ((bytes.size() + 2) / 3) + 1, '\0');
  const int size =
      EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                      reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
  text.resize(static_cast<std::size_t>(size));
  return text;
}

/// Fails when `text` shows `secret`, in whatever dress it travels.
inline void expectHidden(const std::string& secret, const std::string& text) {
  using testing::HasSubstr;
  using testing::Not;
  EXPECT_THAT(text, Not(HasSubstr(secret)));
  EXPECT_THAT(text, Not(HasSubstr(cfEncodeQueryText(secret))));
  EXPECT_THAT(text, Not(HasSubstr(toBase64(secret))));
}
