// How much of a saved conversation is read.
#include "services/saved_conversation.h"

#include <gtest/gtest.h>

#include <array>
#include <istream>
#include <sstream>
#include <streambuf>

namespace {

constexpr std::size_t kCap = std::size_t{64} << 20U;

/// Has no end, as a file that grows while it is read.
class Endless final : public std::streambuf {
 public:
  std::size_t taken() const { return taken_; }

 private:
  int_type underflow() override {
    if (taken_ > 2 * kCap) return traits_type::eof();
    taken_ += bytes_.size();
    setg(bytes_.data(), bytes_.data(), bytes_.data() + bytes_.size());
    return traits_type::to_int_type(bytes_.front());
  }

  std::array<char, 4096> bytes_{};
  std::size_t taken_ = 0;
};

TEST(ReadConversation, StopsAtItsCapWhateverTheFilesSize) {
  Endless endless;
  std::istream in(&endless);
  EXPECT_THROW(readConversation(in, "growing"), RestoreError);
  EXPECT_LT(endless.taken(), kCap + (std::size_t{1} << 20U));
}

TEST(ReadConversation, GivesTheTextAsItStands) {
  const std::string text = "{\"a\":\"" + std::string(100'000, '\\') + "\r\n" + std::string(1, '\0') + "\"}";
  std::istringstream in(text);
  EXPECT_EQ(readConversation(in, "file"), text);
}

}  // namespace
