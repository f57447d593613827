// How slow a reply may come once it has begun, and the limits when none are set.
#include "rest_pace.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;

/// When a reply is given up of which `bytes` come each second; 1000 s for never.
std::chrono::seconds givenUpAfter(const CMRestGlobalSettings& settings, std::uint64_t bytes) {
  RestPace pace(settings);
  const RestPace::Time begin{};
  for (auto time = 0s; time < 1000s; ++time) {
    if (pace.isTooSlow(true, bytes * static_cast<std::uint64_t>(time.count()), begin + time)) return time;
  }
  return 1000s;
}

TEST(Pace, OfLessThan64BytesASecondIsToleratedForAMinute) {
  EXPECT_EQ(givenUpAfter({}, 0), 60s);
  EXPECT_EQ(givenUpAfter({}, 1), 60s);
  EXPECT_EQ(givenUpAfter({}, 63), 60s);
  EXPECT_EQ(givenUpAfter({}, 64), 1000s);
}

TEST(Pace, IsWhatTheSettingsSayWhenTheyAreStricter) {
  CMRestGlobalSettings settings;
  settings.lowSpeedTime = 10s;
  EXPECT_EQ(givenUpAfter(settings, 63), 10s);
  settings.lowSpeedBytes = 1000;
  EXPECT_EQ(givenUpAfter(settings, 999), 10s);
  EXPECT_EQ(givenUpAfter(settings, 1000), 1000s);
}

TEST(Pace, IsNotLookedAtWithoutALimit) {
  CMRestGlobalSettings settings;
  settings.lowSpeedBytes = 0;
  EXPECT_EQ(givenUpAfter(settings, 0), 1000s);
  settings = {};
  settings.lowSpeedTime = 0s;
  EXPECT_EQ(givenUpAfter(settings, 0), 1000s);
}

// A host that sets nothing relies on them.
TEST(Limits, AreThoseOfTheHeaderUnlessTheyAreSet) {
  const CMRestGlobalSettings settings;
  EXPECT_EQ(settings.connectTimeout, 10s);
  EXPECT_EQ(settings.totalTimeout, 600s);
  EXPECT_EQ(settings.lowSpeedBytes, 1U);
  EXPECT_EQ(settings.lowSpeedTime, 300s);
  EXPECT_EQ(settings.maxReplyBytes, 16U << 20U);
}

TEST(Pace, IsMeasuredAnewAfterEachMinuteAndAfterEachWait) {
  RestPace pace{CMRestGlobalSettings{}};
  const RestPace::Time begin{};
  EXPECT_FALSE(pace.isTooSlow(true, 0, begin));
  EXPECT_FALSE(pace.isTooSlow(true, 100'000, begin + 60s));
  EXPECT_TRUE(pace.isTooSlow(true, 100'001, begin + 120s)) << "what came before does not count";
  EXPECT_FALSE(pace.isTooSlow(false, 100'001, begin + 300s));
  EXPECT_FALSE(pace.isTooSlow(true, 100'002, begin + 310s)) << "nor does the wait";
  EXPECT_FALSE(pace.isTooSlow(true, 100'003, begin + 369s));
  EXPECT_TRUE(pace.isTooSlow(true, 100'004, begin + 370s));
}

TEST(Pace, OfAStreamMayBeAsSlowAsItLikesButNotSilent) {
  CMRestGlobalSettings settings;
  settings.lowSpeedTime = 100s;
  RestPace pace(settings, true);
  const RestPace::Time begin{};
  EXPECT_FALSE(pace.isTooSlow(false, 0, begin));
  EXPECT_FALSE(pace.isTooSlow(false, 0, begin + 99s));
  EXPECT_FALSE(pace.isTooSlow(true, 1, begin + 100s)) << "a byte in time";
  EXPECT_FALSE(pace.isTooSlow(false, 2, begin + 199s)) << "between two chunks";
  EXPECT_FALSE(pace.isTooSlow(false, 2, begin + 298s));
  EXPECT_TRUE(pace.isTooSlow(false, 2, begin + 299s));
}

TEST(Pace, OfAStreamIsNotLookedAtWithoutALimit) {
  for (const std::size_t leastBytes : {0U, 1U}) {
    CMRestGlobalSettings settings;
    settings.lowSpeedBytes = leastBytes;
    settings.lowSpeedTime = leastBytes == 0 ? 1s : 0s;
    RestPace pace(settings, true);
    const RestPace::Time begin{};
    EXPECT_FALSE(pace.isTooSlow(true, 0, begin));
    EXPECT_FALSE(pace.isTooSlow(true, 0, begin + 1000s)) << leastBytes;
  }
}

}  // namespace
