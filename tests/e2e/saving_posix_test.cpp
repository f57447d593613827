// Who may read a saved conversation, and whose place it takes.
#include "workplace.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

class SavedFile : public Workplace {
 protected:
  ProgramRun save(const std::string& file) const {
    return runCommand(chatWith(server_, {"--model", kModel, "--save", file, shop_, "How many customers are there?"}));
  }

  static std::string read(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
  }

  standin::Server server_;
};

TEST_F(SavedFile, IsItsUsersAlone) {
  const std::string file = write("kept.json", "for all to read");
  ASSERT_EQ(chmod(file.c_str(), 0644), 0);
  EXPECT_EQ(save(file).code, 0);
  struct stat about {};
  ASSERT_EQ(stat(file.c_str(), &about), 0);
  EXPECT_EQ(about.st_mode & 07777U, 0600U);
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
    if (entry.is_regular_file()) ++files;
  }
  EXPECT_EQ(files, 2U) << "the database and the conversation, and nothing half written";
}

TEST_F(SavedFile, IsTheOneThatALinkNames) {
  const std::string target = write("target", "earlier");
  std::filesystem::create_symlink("target", path("nearer"));
  std::filesystem::create_symlink(path("nearer"), path("kept.json"));
  EXPECT_EQ(save(path("kept.json")).code, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(path("kept.json")));
  EXPECT_TRUE(std::filesystem::is_symlink(path("nearer")));
  EXPECT_THAT(read(target), testing::HasSubstr("How many customers"));
}

TEST_F(SavedFile, IsMadeWhereALinkNamesNoneYet) {
  std::filesystem::create_symlink("target", path("kept.json"));
  EXPECT_EQ(save(path("kept.json")).code, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(path("kept.json")));
  EXPECT_THAT(read(path("target")), testing::HasSubstr("How many customers"));
}

TEST_F(SavedFile, DoesNotTakeThePlaceOfWhatIsNoFile) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  struct Row {
    std::string target;
    const char* reason;
  };
  for (const Row& row : {Row{path("pipe"), "it is neither a file nor a new name"},
                         Row{"/dev/null", "it is neither a file nor a new name"},
                         Row{"/proc/self/fd/1", "it is neither a file nor a new name"},  // a pipe, whatever its name
                         Row{folder_.path(), "it is a folder"}, Row{path("link"), "Too many levels of symbolic links"},
                         Row{path("none/target"), "No such file or directory"}}) {
    std::filesystem::remove(path("link"));
    std::filesystem::create_symlink(row.target, path("link"));
    const ProgramRun outcome = save(path("link"));
    EXPECT_EQ(outcome.code, 74) << row.target;
    EXPECT_THAT(outcome.err,
                testing::HasSubstr("The conversation can't be saved in " + path("link") + ": " + row.reason));
    EXPECT_TRUE(std::filesystem::is_symlink(path("link"))) << row.target;
  }
  EXPECT_TRUE(std::filesystem::is_fifo(path("pipe")));
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
  EXPECT_EQ(save(path("pipe")).code, 74) << "without a link";
  EXPECT_TRUE(std::filesystem::is_fifo(path("pipe")));
  EXPECT_EQ(server_.connectionCount(), 0U) << "the answers would have been paid for";
}

TEST_F(SavedFile, ThatHasNoRoomIsToldBeforeAnythingIsSent) {
  write("kept.json", "before");
  Command command = chatWith(server_, {"--model", kModel, "--save", path("kept.json"), shop_, "How many customers?"});
  command.arguments.insert(command.arguments.begin(),
                           {"/bin/sh", "-c", R"(trap '' XFSZ; ulimit -f 0; exec "$0" "$@")"});
  const ProgramRun outcome = runCommand(command);
  EXPECT_EQ(outcome.code, 74);
  EXPECT_THAT(outcome.err, testing::HasSubstr("kept.json: File too large"));
  EXPECT_EQ(server_.connectionCount(), 0U);
  EXPECT_EQ(read(path("kept.json")), "before");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 2);
}

TEST_F(SavedFile, InAFolderThatTakesNoFilesIsToldBeforeAnythingIsSent) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser may write everywhere";
  std::filesystem::create_directory(path("closed"));
  ASSERT_EQ(chmod(path("closed").c_str(), 0500), 0);
  const ProgramRun outcome = save(path("closed/kept.json"));
  EXPECT_EQ(outcome.code, 74);
  EXPECT_THAT(outcome.err, testing::HasSubstr("Permission denied"));
  EXPECT_EQ(server_.connectionCount(), 0U);
}

TEST_F(SavedFile, DoesNotTakeThePlaceOfTheOneThatTheAnswersGoTo) {
  Command command = chatWith(server_, {"--model", kModel, "--save", "/proc/self/fd/1", shop_, "How many customers?"});
  command.arguments.insert(command.arguments.begin(), {"/bin/sh", "-c", R"(exec "$@" >"$0")", path("answers")});
  const ProgramRun outcome = runCommand(command);
  EXPECT_EQ(outcome.code, 74);
  EXPECT_THAT(outcome.err, testing::HasSubstr("the answers go there"));
  EXPECT_EQ(read(path("answers")), "");
  EXPECT_EQ(server_.connectionCount(), 0U);
}

TEST_F(SavedFile, ThatIsAPipeIsNotWaitedForWhenRestoring) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(runCommand(chatWith(server_, {"--restore", path("pipe"), shop_, "q"})).code, 66);
}

}  // namespace
