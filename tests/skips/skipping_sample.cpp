// Cases that are skipped, for count_skips_falls.
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(Sample, Passes) {}
TEST(Sample, SaysWhy) { GTEST_SKIP() << "the moon is full"; }
TEST(Sample, SaysWhyAtLength) { GTEST_SKIP() << "the moon is full: it shines\non and on"; }
TEST(Sample, SaysNothing) { GTEST_SKIP(); }

class BrokenSuite : public testing::Test {
 protected:
  static void SetUpTestSuite() { throw std::runtime_error("the moon has set"); }
};
TEST_F(BrokenSuite, IsNotRun) {}

}  // namespace
