#include "support/platform.h"
#include "support/temporary_folder.h"
#include "terminal/history_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <thread>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class KeptQuestions : public testing::Test {
 protected:
  KeptQuestions() { setEnvironment("XDG_STATE_HOME", toText(state())); }
  ~KeptQuestions() override {
    unsetEnvironment("XDG_STATE_HOME");
    unsetEnvironment("HOME");
  }

  fs::path state() const { return folder_.path() / "state"; }
  fs::path file() const { return fs::directory_iterator(state() / "qai-chat" / "history")->path(); }
  std::string database(const char* name) const { return toText(folder_.path() / name); }
  static unsigned modeOf(const fs::path& path) {
    struct stat about {};
    EXPECT_EQ(stat(path.c_str(), &about), 0);
    return about.st_mode & 07777U;
  }

  TemporaryFolder folder_{"qai-history"};
};

TEST_F(KeptQuestions, AreThisUsersAlone) {
  EXPECT_EQ(makeHistoryStore(database("a"))->append("q"), "");
  EXPECT_EQ(modeOf(file()), 0600U);
  for (const fs::path& path : {state(), state() / "qai-chat", state() / "qai-chat" / "history"})
    EXPECT_EQ(modeOf(path), 0700U) << path;
}

TEST_F(KeptQuestions, BelongToADatabaseByWhateverName) {
  EXPECT_EQ(makeHistoryStore(database("a"))->append("of a"), "");
  EXPECT_EQ(makeHistoryStore(database("b"))->append("of b"), "");
  fs::create_symlink(folder_.path() / "a", folder_.path() / "link");
  std::ofstream(folder_.path() / "a") << "";
  EXPECT_THAT(makeHistoryStore(database("./link"))->load(), ElementsAre("of a"));
}

TEST_F(KeptQuestions, OfTwoProgramsAtOnceAreAllKept) {
  constexpr int kEach = 50;
  const auto ask = [this](const std::string& who) {
    for (int i = 0; i < kEach; ++i) EXPECT_EQ(makeHistoryStore(database("a"))->append(who + std::to_string(i)), "");
  };
  {
    const std::jthread one([&] { ask("one"); });
    const std::jthread two([&] { ask("two"); });
  }
  EXPECT_THAT(makeHistoryStore(database("a"))->load(), SizeIs(2 * kEach));
}

TEST_F(KeptQuestions, StandInTheHomeFolderWhenNothingElseIsNamed) {
  setEnvironment("HOME", toText(folder_.path()));
  for (const char* const unusable : {"", "relative"}) {
    setEnvironment("XDG_STATE_HOME", unusable);
    EXPECT_EQ(makeHistoryStore(database("a"))->append("q"), "");
    EXPECT_TRUE(fs::exists(folder_.path() / ".local" / "state" / "qai-chat" / "history"));
  }
}

TEST_F(KeptQuestions, AreNowhereWithoutAHome) {
  unsetEnvironment("XDG_STATE_HOME");
  unsetEnvironment("HOME");
  EXPECT_EQ(makeHistoryStore(database("a")), nullptr);
}

TEST_F(KeptQuestions, DoNotTakeThePlaceOfWhatCannotBeRead) {
  EXPECT_EQ(makeHistoryStore(database("a"))->append("q"), "");
  const fs::path kept = file();
  std::ofstream(kept, std::ios::app) << std::string(5 * kMostHistoryBytes, 'x');
  EXPECT_THAT(makeHistoryStore(database("a"))->append("r"), HasSubstr("is not of qai-chat"));
  EXPECT_GT(fs::file_size(kept), 4 * kMostHistoryBytes);
  fs::remove(kept);
  fs::create_directory(kept);
  EXPECT_THAT(makeHistoryStore(database("a"))->load(), IsEmpty());
  EXPECT_NE(makeHistoryStore(database("a"))->append("r"), "");
}

TEST_F(KeptQuestions, TellWhyTheyCannotBeKept) {
  std::ofstream(state()) << "in the way";
  EXPECT_NE(makeHistoryStore(database("a"))->append("q"), "");
}

}  // namespace
