// That a reply which has begun comes to its end.
#pragma once

#include <cf/rest.h>

#include <chrono>
#include <cstdint>

/// Looks for replies that drip. libcurl's own limit on speed counts the wait for a reply as well, in which a model may
/// think for minutes, so it is too patient with a reply that comes. One that is received as it comes may drip: it is
/// looked at for silence alone, from the beginning.
class RestPace {
 public:
  using Time = std::chrono::steady_clock::time_point;

  explicit RestPace(const CMRestGlobalSettings& settings, bool isStreaming = false) noexcept;

  /// Called again and again. `isComing` says whether a part of the reply is under way now, `bytes` how much has come.
  /// @return whether fewer bytes came than must in getWindow(), or none while streaming.
  bool isTooSlow(bool isComing, std::uint64_t bytes, Time now) noexcept;

  std::chrono::seconds getWindow() const noexcept { return window_; }

 private:
  bool isStreaming_;
  std::chrono::seconds window_;  // 0: no limit
  std::uint64_t least_;          // bytes in it
  bool isMeasuring_ = false;
  Time begin_{};
  std::uint64_t before_ = 0;  // bytes that had come then
};
