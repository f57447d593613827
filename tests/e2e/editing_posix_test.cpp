// What is written in the user's editor: a question, and a statement anew.
#include "scripted_answers.h"
#include "typing_fixture.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Editing : public Typing {
 protected:
  /// A program that takes the place of an editor.
  std::string makeEditor(const std::string& script) const {
    const std::string file = write("editor", "#!/bin/sh\n" + script);
    fs::permissions(toPath(file), fs::perms::owner_all);
    return file;
  }
};

TEST_F(Editing, EditAsksWhatTheEditorSaves) {
  const std::string editor = makeEditor(
      "ls -l \"$2\" >\"$1\"\nread -r last <\"$2\"\nprintf 'How many customers?\\nbut %s\\n' \"$last\" >\"$2\"\n");
  TerminalChild chat(command("xterm", {"EDITOR=" + editor + " '" + path("listed") + "'"}));
  waitForPrompt(chat);
  chat.type("/edit of  mine\n");
  EXPECT_THAT(chat.waitFor("FROM customers"), HasSubstr("How many customers?\r\nbut of  mine\r\n"));
  waitForPrompt(chat);
  EXPECT_THAT(lastBody(), HasSubstr("How many customers?\\nbut of  mine\""));
  std::ostringstream listed;
  listed << std::ifstream(toPath(path("listed"))).rdbuf();
  EXPECT_THAT(listed.str(), testing::StartsWith("-rw-------"));
  chat.type("/edit\n");
  EXPECT_THAT(answered(chat), HasSubstr("but How many customers?\""));
  end(chat);
  for (const auto& entry : fs::directory_iterator(folder_.path()))
    EXPECT_THAT(toText(entry.path().filename()), Not(HasSubstr("qai-chat-")));
}

struct EditCase {
  const char* name;
  const char* script;
  const char* reason;
};
class Edit : public Editing, public testing::WithParamInterface<EditCase> {};

TEST_P(Edit, AsksNothing) {
  TerminalChild chat(command("xterm", {"VISUAL=" + makeEditor(GetParam().script), "EDITOR=false"}));
  waitForPrompt(chat);
  chat.type("/edit How many customers?\n");
  EXPECT_THAT(chat.waitFor("> "), HasSubstr(std::string("qai-chat: Nothing is asked: ") + GetParam().reason));
  EXPECT_THAT(server_.requests(), IsEmpty());
  end(chat);
}

INSTANTIATE_TEST_SUITE_P(Ends, Edit,
                         testing::Values(EditCase{"when_nothing_is_saved", "true\n", "nothing was saved"},
                                         EditCase{"when_the_file_is_empty", "echo >\"$1\"\n", "the file is empty"},
                                         EditCase{"when_the_editor_fails", "echo x >\"$1\"; exit 3\n",
                                                  "the editor failed"},
                                         EditCase{"when_there_is_no_editor", "exit 127\n", "there is no such editor"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Editing, TheEditorOfVisualGoesFirstAndTheSystemsIsTheLast) {
  const std::string editor = makeEditor("echo 'How many customers?' >\"$1\"\n");
  fs::rename(toPath(editor), toPath(path("vi")));
  TerminalChild chat(command("xterm", {"PATH=" + toText(folder_.path())}));
  waitForPrompt(chat);
  chat.type("/edit\n");
  answered(chat);
  end(chat);
}

TEST_F(Editing, ChangeRunsWhatTheEditorSaves) {
  const std::string editor = makeEditor("echo \"SELECT 'changed ' || (6 * 7)\" >\"$1\"\n");
  TerminalChild chat(command("xterm", {"EDITOR=" + editor}));
  waitForPrompt(chat);
  scriptAnswer(server_, fence("SELECT count(*) FROM customers"));
  chat.type("Who?\n");
  chat.waitFor("1 row, ");
  waitForPrompt(chat);
  chat.type("/change\n");
  EXPECT_THAT(chat.waitFor("1 row, "), AllOf(HasSubstr("SELECT 'changed ' || (6 * 7)\r\n"), HasSubstr("changed 42")));
  waitForPrompt(chat);
  EXPECT_EQ(server_.requests().size(), 1U);
  end(chat);
}

}  // namespace
