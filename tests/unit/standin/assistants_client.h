// A client of the Assistants protocol for the tests: every call comes with the key and the header that it asks for.
#pragma once

#include "client.h"

#include <cf/json.h>

#include <gtest/gtest.h>
#include <standin.h>

#include <string>
#include <string_view>
#include <vector>

inline const std::vector<std::string> kAssistantsHeaders{"Authorization: Bearer k", "OpenAI-Beta: assistants=v2"};

/// The text of member `key` of an answer's object; "" when there is none.
inline std::string memberText(const Client::Answer& answer, std::string_view key) {
  const COJson document(answer.body);
  const COJsonValue* value = document.obtainJsonValue(key);
  return value == nullptr ? std::string() : std::string(value->obtainString());
}

/// The JSON of member `key` of an answer's object; "" when there is none.
inline std::string memberJson(const Client::Answer& answer, std::string_view key) {
  const COJson document(answer.body);
  const COJsonValue* value = document.obtainJsonValue(key);
  return value == nullptr ? std::string() : value->obtainJsonString();
}

/// An answer's body with 1 in place of every time.
inline std::string withoutTimes(const Client::Answer& answer) {
  constexpr std::string_view kMark = "_at\":";
  std::string text = answer.body;
  for (std::size_t at = text.find(kMark); at != std::string::npos; at = text.find(kMark, at)) {
    at += kMark.size();
    const std::size_t end = text.find_first_not_of("0123456789", at);
    if (end != at) text.replace(at, end - at, "1");
  }
  return text;
}

class AssistantsClient {
 public:
  explicit AssistantsClient(const standin::Server& server) : client_(server.address()) {}

  Client::Answer get(const std::string& path) { return client_.get(path, kAssistantsHeaders); }
  Client::Answer post(const std::string& path, const std::string& body) {
    return client_.post(path, body, kAssistantsHeaders);
  }
  Client::Answer remove(const std::string& path) { return client_.send("DELETE", path, kAssistantsHeaders, nullptr); }

  /// The identifier of a new object.
  std::string create(const std::string& path, const std::string& body) {
    const Client::Answer answer = post(path, body);
    EXPECT_EQ(answer.status, 200) << path << answer.body;
    return memberText(answer, "id");
  }

  std::string createAssistant(const std::string& body = R"({"model":"standin-small"})") {
    return create("/v1/assistants", body);
  }
  /// The path of a new thread.
  std::string createThread() { return "/v1/threads/" + create("/v1/threads", ""); }
  std::string say(const std::string& thread, const std::string& text) {
    return create(thread + "/messages", R"({"role":"user","content":")" + text + "\"}");
  }
  /// The path of a new run.
  std::string run(const std::string& thread, const std::string& assistant) {
    return thread + "/runs/" + create(thread + "/runs", R"({"assistant_id":")" + assistant + "\"}");
  }

  /// The texts of a thread's messages; a message of several parts counts as several.
  std::vector<std::string> texts(const std::string& thread, const std::string& query = "?order=asc") {
    const COJson document(get(thread + "/messages" + query).body);
    std::vector<std::string> found;
    const COJsonValue* data = document.obtainJsonValue("data");
    if (data == nullptr) return found;
    for (std::size_t i = 0; i < data->obtainArraySize(); ++i) {
      const COJsonValue* content = data->obtainArrayItem(i)->obtainJsonValue("content");
      for (std::size_t j = 0; j < content->obtainArraySize(); ++j) {
        found.emplace_back(
            content->obtainArrayItem(j)->obtainJsonValue("text")->obtainJsonValue("value")->obtainString());
      }
    }
    return found;
  }

 private:
  Client client_;
};
