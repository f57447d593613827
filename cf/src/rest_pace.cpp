#include "rest_pace.h"

#include <algorithm>

namespace {

using namespace std::chrono_literals;

// Less than the slowest of networks bring, for longer than one is gone in passing.
constexpr std::uint64_t kLeastBytesASecond = 64;
constexpr auto kLongestWindow = 60s;

std::chrono::seconds obtainWindow(const CMRestGlobalSettings& settings) noexcept {
  return settings.lowSpeedBytes == 0 ? 0s : std::clamp<std::chrono::seconds>(settings.lowSpeedTime, 0s, kLongestWindow);
}

}  // namespace

RestPace::RestPace(const CMRestGlobalSettings& settings) noexcept
    : window_(obtainWindow(settings)),
      least_(std::max<std::uint64_t>(settings.lowSpeedBytes, kLeastBytesASecond) *
             static_cast<std::uint64_t>(window_.count())) {}

bool RestPace::isTooSlow(bool isComing, std::uint64_t bytes, Time now) noexcept {
  if (!isComing || window_ == 0s) {
    isMeasuring_ = false;
    return false;
  }
  if (isMeasuring_ && now - begin_ < window_) return false;
  const bool tooSlow = isMeasuring_ && bytes - before_ < least_;
  isMeasuring_ = true;
  begin_ = now;
  before_ = bytes;
  return tooSlow;
}
