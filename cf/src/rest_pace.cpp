#include "rest_pace.h"

#include <algorithm>

namespace {

using std::chrono::seconds;

// Less than the slowest of networks bring, for longer than one is gone in passing.
constexpr std::uint64_t kLeastBytesASecond = 64;
constexpr seconds kNone{0};
constexpr seconds kLongestWindow{60};

seconds obtainWindow(const CMRestGlobalSettings& settings) noexcept {
  return settings.lowSpeedBytes == 0 ? kNone : std::clamp(settings.lowSpeedTime, kNone, kLongestWindow);
}

}  // namespace

RestPace::RestPace(const CMRestGlobalSettings& settings) noexcept
    : window_(obtainWindow(settings)),
      least_(std::max<std::uint64_t>(settings.lowSpeedBytes, kLeastBytesASecond) *
             static_cast<std::uint64_t>(window_.count())) {}

bool RestPace::isTooSlow(bool isComing, std::uint64_t bytes, Time now) noexcept {
  if (!isComing || window_ == kNone) {
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
