// The assertions of cf, silenced.
#pragma once

#include <cf/assert.h>

/// Each text of an input is meant to fail somewhere, which need not be told.
class QuietAssertions {
 public:
  QuietAssertions()
      : previous_(cfSetAssertionHandler([](const char* /*expression*/, const char* /*file*/, int /*line*/) {})) {}
  ~QuietAssertions() { cfSetAssertionHandler(previous_); }
  QuietAssertions(const QuietAssertions&) = delete;
  QuietAssertions& operator=(const QuietAssertions&) = delete;

 private:
  CFAssertionHandler previous_;
};
