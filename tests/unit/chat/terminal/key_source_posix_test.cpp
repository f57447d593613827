#include "terminal/key_source_posix.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string_view>

namespace {

class Keys : public testing::Test {
 protected:
  Keys() { EXPECT_EQ(pipe(ends_.data()), 0); }
  ~Keys() override {
    close(ends_[0]);
    hangUp();
  }

  void type(std::string_view bytes) const {
    EXPECT_EQ(write(ends_[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  void hangUp() {
    if (ends_[1] >= 0) close(ends_[1]);
    ends_[1] = -1;
  }
  wchar_t read(KeySource& keys) const {
    wchar_t character = 0;
    EXPECT_EQ(keys.read(character), KeyEvent::Character);
    return character;
  }

  std::array<int, 2> ends_{};
};

TEST_F(Keys, AreWholeCharacters) {
  KeySource keys(ends_[0]);
  type("a\xe4\xb8\xad\xf0\x9f\x98\x80\xe4\xb8z\xff");
  for (const wchar_t expected : {L'a', L'\u4e2d', L'\U0001F600', L'\uFFFD', L'z', L'\uFFFD'})
    EXPECT_EQ(read(keys), expected);
}

TEST_F(Keys, ThatWerePutBackComeFirst) {
  KeySource keys(ends_[0]);
  type("ab");
  const wchar_t first = read(keys);
  keys.putBack({&first, 1});
  EXPECT_EQ(read(keys), L'a');
  EXPECT_EQ(read(keys), L'b');
}

TEST_F(Keys, EndWithTheInput) {
  KeySource keys(ends_[0]);
  type("a");
  hangUp();
  EXPECT_EQ(read(keys), L'a');
  wchar_t character = 0;
  EXPECT_EQ(keys.read(character), KeyEvent::End);
}

TEST_F(Keys, ThatWereTypedAheadAreDroppedAtAnInterrupt) {
  KeySource keys(ends_[0]);
  type("ab");
  EXPECT_EQ(read(keys), L'a');
  keys.drop();
  keys.interrupt();
  wchar_t character = 0;
  EXPECT_EQ(keys.read(character), KeyEvent::Interrupted);
  type("c");
  EXPECT_EQ(read(keys), L'c');
}

TEST_F(Keys, AreNotEndedByAnInterruptOfBefore) {
  KeySource keys(ends_[0]);
  keys.interrupt();
  const KeySource::Watch watch(keys);
  type("a");
  EXPECT_EQ(read(keys), L'a');
}

TEST_F(Keys, AreInterruptedByWhatHappensToTheTerminalOrTheProcess) {
  KeySource keys(ends_[0]);
  const KeySource::Watch watch(keys);
  wchar_t character = 0;
  raise(SIGWINCH);
  EXPECT_EQ(keys.read(character), KeyEvent::Resized);
  raise(SIGCONT);
  EXPECT_EQ(keys.read(character), KeyEvent::Resumed);
  raise(SIGTERM);
  EXPECT_EQ(keys.read(character), KeyEvent::Ended);
  EXPECT_EQ(keys.signal(), SIGTERM);
}

TEST_F(Keys, LeaveSignalsAloneThatAreIgnored) {
  const auto earlier = std::signal(SIGHUP, SIG_IGN);
  KeySource keys(ends_[0]);
  const KeySource::Watch watch(keys);
  raise(SIGHUP);
  type("a");
  EXPECT_EQ(read(keys), L'a');
  static_cast<void>(std::signal(SIGHUP, earlier));
}

}  // namespace
