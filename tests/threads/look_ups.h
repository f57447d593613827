// Name look-ups in the test's hands: every library of the process looks names up here. libcurl does it on a thread of
// its own.
#pragma once

#include <functional>
#include <string>
#include <string_view>

/// The end of the names that are looked up here; the system's own look-up gets the others.
inline constexpr std::string_view kTestNames = ".look-up.test";

/// While it lives, names that end with kTestNames are 127.0.0.1, once `during` has returned, which runs on the
/// thread that looks up. One at a time; every look-up is over when it goes.
class LookUps {
 public:
  explicit LookUps(std::function<void(const std::string& name)> during);
  ~LookUps();
  LookUps(const LookUps&) = delete;
  LookUps& operator=(const LookUps&) = delete;
};
