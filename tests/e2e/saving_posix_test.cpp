// Who may read a saved conversation, and what a link in its place leads to.
#include "workplace.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

class SavedFile : public Workplace {
 protected:
  int save(const std::string& file) const {
    return runCommand(chatWith(server_, {"--model", kModel, "--save", file, shop_, "How many customers are there?"}))
        .code;
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
  EXPECT_EQ(save(file), 0);
  struct stat about {};
  ASSERT_EQ(stat(file.c_str(), &about), 0);
  EXPECT_EQ(about.st_mode & 07777U, 0600U);
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
    if (entry.is_regular_file()) ++files;
  }
  EXPECT_EQ(files, 2U) << "the database and the conversation, and nothing half written";
}

TEST_F(SavedFile, TakesALinksPlaceAndLeavesWhereItLeads) {
  const std::string target = write("target", "another's");
  std::filesystem::create_symlink(target, path("kept.json"));
  EXPECT_EQ(save(path("kept.json")), 0);
  EXPECT_EQ(read(target), "another's");
  EXPECT_FALSE(std::filesystem::is_symlink(path("kept.json")));
  EXPECT_THAT(read(path("kept.json")), testing::HasSubstr("How many customers"));
}

TEST_F(SavedFile, DoesNotTakeThePlaceOfWhatIsNoFile) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(save(path("pipe")), 74);
  EXPECT_TRUE(std::filesystem::is_fifo(path("pipe")));
}

TEST_F(SavedFile, ThatIsAPipeIsNotWaitedForWhenRestoring) {
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(runCommand(chatWith(server_, {"--restore", path("pipe"), shop_, "q"})).code, 66);
}

}  // namespace
