#include <cf/defer.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(Defer, RunsOnceWhenTheScopeEnds) {
  int runs = 0;
  {
    const CODefer defer([&runs] { ++runs; });
    EXPECT_EQ(runs, 0);
  }
  EXPECT_EQ(runs, 1);
}

TEST(Defer, RunsWhenAnExceptionLeavesTheScope) {
  int runs = 0;
  EXPECT_THROW(
      {
        const CODefer defer([&runs] { ++runs; });
        throw std::runtime_error("left");
      },
      std::runtime_error);
  EXPECT_EQ(runs, 1);
}

TEST(Defer, RunsInReverseOrder) {
  std::string order;
  {
    const CODefer first([&order] { order += "first"; });
    const CODefer second([&order] { order += "second "; });
  }
  EXPECT_EQ(order, "second first");
}

TEST(Defer, AcceptsAnEmptyAction) {
  EXPECT_NO_THROW({ const CODefer defer{std::function<void()>()}; });
}

}  // namespace
