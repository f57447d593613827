// Records failed assertions in place of the default handler.
#pragma once

#include <cf/assert.h>

#include <string>
#include <utility>
#include <vector>

/// Records while it lives; one at a time.
class AssertionLog {
 public:
  AssertionLog() : previous_(cfSetAssertionHandler(&AssertionLog::record)) { entries().clear(); }
  ~AssertionLog() { cfSetAssertionHandler(previous_); }
  AssertionLog(const AssertionLog&) = delete;
  AssertionLog& operator=(const AssertionLog&) = delete;

  /// "file: condition" of each failed assertion, oldest first.
  const std::vector<std::string>& all() const { return entries(); }
  int lastLine() const { return lastLineSeen(); }

 private:
  static std::vector<std::string>& entries() {
    static std::vector<std::string> log;
    return log;
  }
  static int& lastLineSeen() {
    static int line = 0;
    return line;
  }
  static void record(const char* expression, const char* file, int line) {
    entries().push_back(std::string(file) + ": " + expression);
    lastLineSeen() = line;
  }

  CFAssertionHandler previous_;
};
