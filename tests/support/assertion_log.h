// Records failed assertions in place of the default handler.
#pragma once

#include <cf/assert.h>

#include <string>
#include <utility>
#include <vector>

/// Records while it lives; one at a time.
class AssertionLog {
 public:
  AssertionLog() : previous_(cfSetAssertionHandler(&AssertionLog::record)) {
    entries().clear();
    linesSeen().clear();
  }
  ~AssertionLog() { cfSetAssertionHandler(previous_); }
  AssertionLog(const AssertionLog&) = delete;
  AssertionLog& operator=(const AssertionLog&) = delete;

  /// "file: condition" of each failed assertion, oldest first.
  const std::vector<std::string>& all() const { return entries(); }
  /// Their lines.
  const std::vector<int>& lines() const { return linesSeen(); }
  int lastLine() const { return linesSeen().empty() ? 0 : linesSeen().back(); }

 private:
  static std::vector<std::string>& entries() {
    static std::vector<std::string> log;
    return log;
  }
  static std::vector<int>& linesSeen() {
    static std::vector<int> lines;
    return lines;
  }
  static void record(const char* expression, const char* file, int line) {
    entries().push_back(std::string(file) + ": " + expression);
    linesSeen().push_back(line);
  }

  CFAssertionHandler previous_;
};
