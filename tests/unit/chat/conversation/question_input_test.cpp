#include "conversation/question_input.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <istream>
#include <ostream>
#include <sstream>
#include <streambuf>

namespace {

using testing::HasSubstr;

constexpr std::chrono::hours kLong{1};

std::string join(const std::string& input) {
  std::istringstream in(input);
  std::ostringstream err;
  std::string joined = joinInput("q", in, err, kLong);
  EXPECT_EQ(err.str(), "");
  return joined;
}

struct InputCase {
  const char* name;
  std::string input;
  std::string joined;
};
void PrintTo(const InputCase& row, std::ostream* out) { *out << row.name; }

class PipedInput : public testing::TestWithParam<InputCase> {};

TEST_P(PipedInput, IsJoined) { EXPECT_EQ(join(GetParam().input), GetParam().joined); }

INSTANTIATE_TEST_SUITE_P(
    Forms, PipedInput,
    testing::Values(InputCase{"nothing", "", "q"}, InputCase{"blanks", " \n\t\r\n", "q"},
                    InputCase{"a_line", "one\n", "q\n\none"},
                    InputCase{"indented_lines", "  one\r\n  two \n\n", "q\n\n  one\r\n  two"},
                    InputCase{"a_byte_order_mark", "\xEF\xBB\xBFone", "q\n\none"},
                    InputCase{"a_byte_order_mark_alone", "\xEF\xBB\xBF\n", "q"},
                    InputCase{"ill_formed", "a\xFF", "q\n\na\uFFFD"}, InputCase{"a_slash", "/quit", "q\n\n/quit"},
                    InputCase{"the_most", std::string(1U << 20U, 'x'), "q\n\n" + std::string(1U << 20U, 'x')}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(PipedInputRefused, IsWhatIsTooMuchOrNoText) {
  EXPECT_THROW(join(std::string((1U << 20U) + 1, 'x')), InputError);
  EXPECT_THROW(join(std::string("a\0b", 3)), InputError);
}

/// Ends when somebody has been told that it is waited for.
class Waiting final : public std::streambuf {
 public:
  explicit Waiting(std::future<void> told) : told_(std::move(told)) {}

 private:
  int_type underflow() override {
    if (told_.valid()) told_.get();
    return traits_type::eof();
  }

  std::future<void> told_;
};

/// Lets know that a line was written.
class Telling final : public std::stringbuf {
 public:
  std::future<void> told() { return told_.get_future(); }

 private:
  int sync() override {
    if (!isTold_) told_.set_value();
    isTold_ = true;
    return 0;
  }

  std::promise<void> told_;
  bool isTold_ = false;
};

TEST(PipedInputAwaited, IsTold) {
  Telling text;
  Waiting source(text.told());
  std::istream in(&source);
  std::ostream err(&text);
  EXPECT_EQ(joinInput("q", in, err, std::chrono::milliseconds(0)), "q");
  EXPECT_THAT(text.str(), HasSubstr("qai-chat: Waiting for the end of the standard input"));
}

}  // namespace
