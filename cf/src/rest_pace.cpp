#include "rest_pace.h"

#include <algorithm>

namespace {

using std::chrono::seconds;

// Less than the slowest of networks bring, for longer than one is gone in passing.
constexpr std::uint64_t kLeastBytesASecond = 64;
constexpr seconds kNone{0};
constexpr seconds kLongestWindow{60};
constexpr seconds kLongestSilence = std::chrono::hours(24);

seconds obtainWindow(const CMRestGlobalSettings& settings, bool isStreaming) noexcept {
  if (settings.lowSpeedBytes == 0) return kNone;
  return std::clamp(settings.lowSpeedTime, kNone, isStreaming ? kLongestSilence : kLongestWindow);
}

}  // namespace

RestPace::RestPace(const CMRestGlobalSettings& settings, bool isStreaming) noexcept
    : isStreaming_(isStreaming),
      window_(obtainWindow(settings, isStreaming)),
      least_(isStreaming ? 1
                         : std::max<std::uint64_t>(settings.lowSpeedBytes, kLeastBytesASecond) *
                               static_cast<std::uint64_t>(window_.count())) {}

bool RestPace::isTooSlow(bool isComing, std::uint64_t bytes, Time now) noexcept {
  const bool isWaited = !isStreaming_ && !isComing;
  if (isWaited || (isStreaming_ && bytes != before_)) isMeasuring_ = false;
  if (isWaited || window_ == kNone) return false;
  if (isMeasuring_ && now - begin_ < window_) return false;
  const bool tooSlow = isMeasuring_ && bytes - before_ < least_;
  isMeasuring_ = true;
  begin_ = now;
  before_ = bytes;
  return tooSlow;
}
