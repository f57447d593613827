// A row of a service's table of errors.
#pragma once

#include "client.h"

#include <gtest/gtest.h>
#include <standin.h>

#include <ostream>
#include <string>
#include <vector>

inline constexpr const char* kRightKey = "sk-right-key-0123456789";
inline constexpr const char* kWrongKey = "sk-wrong-key-abcdefghijk";

struct ErrorCase {
  const char* name;
  std::string method;
  std::string target;  // path and query
  std::vector<std::string> headers;
  std::string body;
  long status;
  std::string message;  // a part of it
  std::string label;    // the service's own, beside the message
};

inline void PrintTo(const ErrorCase& row, std::ostream* out) { *out << row.name; }

/// Sends a row's request to a stand-in of its own, which takes kRightKey.
class ErrorTest : public testing::TestWithParam<ErrorCase> {
 protected:
  Client::Answer answer() {
    const ErrorCase& row = GetParam();
    return Client(server_.address()).send(row.method, row.target, row.headers, &row.body);
  }

 private:
  standin::Server server_{{.apiKey = kRightKey}};
};

inline std::string errorName(const testing::TestParamInfo<ErrorCase>& row) { return row.param.name; }
