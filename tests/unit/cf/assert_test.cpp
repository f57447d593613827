#include <cf/assert.h>

#include <gtest/gtest.h>

#include <string>

namespace {

struct Raised {
  std::string expression;
  std::string file;
  int line = 0;
  int count = 0;
};

Raised raised;

void record(const char* expression, const char* file, int line) { raised = {expression, file, line, raised.count + 1}; }

void ignore(const char* /*expression*/, const char* /*file*/, int /*line*/) {}

class Assertion : public testing::Test {
 protected:
  void SetUp() override {
    raised = {};
    cfSetAssertionHandler(record);
  }
  void TearDown() override { cfSetAssertionHandler(nullptr); }
};

TEST_F(Assertion, ThatHoldsIsTrueAndNotReported) {
  EXPECT_TRUE(CF_ASSERT(1 + 1 == 2));
  EXPECT_EQ(raised.count, 0);
}

TEST_F(Assertion, ThatFailsIsFalseAndReportedWithItsPlace) {
  const int line = __LINE__ + 1;
  EXPECT_FALSE(CF_ASSERT(1 + 1 == 3));
  EXPECT_EQ(raised.count, 1);
  EXPECT_EQ(raised.expression, "1 + 1 == 3");
  EXPECT_EQ(raised.file, "assert_test");
  EXPECT_EQ(raised.line, line);
}

TEST_F(Assertion, EvaluatesItsConditionOnce) {
  int calls = 0;
  EXPECT_FALSE(CF_ASSERT(++calls == 2));
  EXPECT_EQ(calls, 1);
}

TEST_F(Assertion, AcceptsWhatConvertsExplicitlyToBool) {
  struct Flag {
    explicit operator bool() const { return true; }
  };
  EXPECT_TRUE(CF_ASSERT(Flag()));
}

TEST_F(Assertion, ReplacingTheHandlerReturnsTheOneBefore) {
  EXPECT_EQ(cfSetAssertionHandler(ignore), record);
  EXPECT_EQ(cfSetAssertionHandler(record), ignore);
}

TEST_F(Assertion, NullRestoresTheDefaultHandler) {
  cfSetAssertionHandler(nullptr);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(cfRaiseAssertion("broken", "file.cpp", 1));
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(raised.count, 0);
#ifdef NDEBUG
  EXPECT_EQ(printed, "");
#else
  EXPECT_EQ(printed, "Assertion failed: broken (file:1)\n");
#endif
  EXPECT_NE(cfSetAssertionHandler(record), nullptr);
}

TEST_F(Assertion, MissingTextsAreReportedAsEmpty) {
  EXPECT_FALSE(cfRaiseAssertion(nullptr, nullptr, 7));
  EXPECT_EQ(raised.expression, "");
  EXPECT_EQ(raised.file, "");
  EXPECT_EQ(raised.line, 7);
}

struct FileCase {
  const char* name;
  std::string given;
  std::string reported;
};

class AssertionFile : public testing::TestWithParam<FileCase> {
 protected:
  void SetUp() override {
    raised = {};
    cfSetAssertionHandler(record);
  }
  void TearDown() override { cfSetAssertionHandler(nullptr); }
};

TEST_P(AssertionFile, LosesFolderAndSuffix) {
  cfRaiseAssertion("broken", GetParam().given.c_str(), 1);
  EXPECT_EQ(raised.file, GetParam().reported);
}

INSTANTIATE_TEST_SUITE_P(Forms, AssertionFile,
                         testing::Values(FileCase{"plain", "text.cpp", "text"}, FileCase{"no_suffix", "text", "text"},
                                         FileCase{"slashes", "/src/cf/text.cpp", "text"},
                                         FileCase{"backslashes", "C:\\src\\cf\\text.cpp", "text"},
                                         FileCase{"mixed", "C:\\src/cf\\text.cpp", "text"},
                                         FileCase{"point_in_folder", "/src/cf.d/text", "text"},
                                         FileCase{"two_suffixes", "text.test.cpp", "text.test"},
                                         FileCase{"folder_alone", "/src/", ""}, FileCase{"empty", "", ""},
                                         FileCase{"too_long_is_cut", std::string(1000, 'x') + ".cpp",
                                                  std::string(127, 'x')}),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
