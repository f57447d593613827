// A row of a table of errors in the form that OpenAI's protocols share.
#pragma once

#include "client.h"

#include <cf/json.h>

#include <gtest/gtest.h>
#include <standin.h>

#include <ostream>
#include <string>
#include <vector>

struct OpenaiErrorCase {
  const char* name;
  std::string method;
  std::string target;  // path and query
  std::vector<std::string> headers;
  std::string body;
  long status;
  std::string message;  // a part of it
  std::string param;    // "": null
  std::string code;     // "": null
};

inline void PrintTo(const OpenaiErrorCase& row, std::ostream* out) { *out << row.name; }

inline std::string openaiErrorName(const testing::TestParamInfo<OpenaiErrorCase>& row) { return row.param.name; }

inline void expectTextOrNull(const COJsonValue* value, const std::string& text) {
  ASSERT_NE(value, nullptr);
  EXPECT_EQ(value->obtainType(), text.empty() ? JsonType::Null : JsonType::String);
  EXPECT_EQ(value->obtainString(), text);
}

inline void expectOpenaiError(const Client::Answer& answer, long status, const std::string& message,
                              const std::string& param, const std::string& code) {
  EXPECT_EQ(answer.status, status);
  EXPECT_EQ(answer.contentType, "application/json");
  const COJson document(answer.body);
  const COJsonValue* error = document.obtainJsonValue("error");
  ASSERT_NE(error, nullptr) << answer.body;
  EXPECT_NE(error->obtainJsonValue("message")->obtainString().find(message), std::string_view::npos) << answer.body;
  EXPECT_EQ(error->obtainJsonValue("type")->obtainString(), "invalid_request_error");
  expectTextOrNull(error->obtainJsonValue("param"), param);
  expectTextOrNull(error->obtainJsonValue("code"), code);
}
