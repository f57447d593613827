#include "private_file.h"
#include "start.h"
#include "terminal/external_editor.h"

#include <cf/defer.h>
#include <cf/text.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace {

namespace fs = std::filesystem;

constexpr const char* kSystemsEditor = "$(command -v editor || echo vi)";
constexpr int kNoSuchCommand = 127;

/// What a shell takes for the editor, which may come with arguments.
std::string findEditor() {
  for (const char* const variable : {"VISUAL", "EDITOR"}) {
    if (std::string editor = cfTrimAsString(obtainVariable(variable).value_or("")); !editor.empty()) return editor;
  }
  return kSystemsEditor;
}

/// Runs `script` with `argument` in a shell whose signals are as a program's own, at this terminal.
/// @return its exit code, as a shell tells it
int runShell(const std::string& script, const std::string& argument) {
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  const CODefer end([&attributes] { posix_spawnattr_destroy(&attributes); });
  sigset_t signals;
  sigfillset(&signals);
  posix_spawnattr_setsigdefault(&attributes, &signals);
  sigemptyset(&signals);
  posix_spawnattr_setsigmask(&attributes, &signals);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  std::array<std::string, 5> words{"sh", "-c", script, "sh", argument};
  const std::array<char*, 6> pointers{words[0].data(), words[1].data(), words[2].data(),
                                      words[3].data(), words[4].data(), nullptr};
  pid_t id = -1;
  if (posix_spawn(&id, "/bin/sh", nullptr, &attributes, pointers.data(), environ) != 0) return kNoSuchCommand;
  int status = 0;
  while (waitpid(id, &status, 0) < 0) {
    if (errno != EINTR) return kNoSuchCommand;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::optional<std::string> read(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text.exceptions(std::ios::badbit);
  text << in.rdbuf();
  return in ? std::optional(cfToUTF8(text.str())) : std::nullopt;
}

EditedText fail(const std::string& why) { return {.text = {}, .complaint = "Nothing is asked: " + why}; }

EditedText editFile(const fs::path& file, const std::string& text) {
  if (const std::string error = writePrivateFile(file, text + '\n'); !error.empty()) return fail(error);
  std::error_code error;
  // A save shows in the time, even one at once and of the same text.
  const fs::file_time_type before = fs::file_time_type::clock::now() - std::chrono::hours(1);
  fs::last_write_time(file, before, error);
  const fs::file_time_type noted = fs::last_write_time(file, error);
  const int code = runShell(findEditor() + " \"$1\"", file);
  if (code == kNoSuchCommand) return fail("there is no such editor; VISUAL or EDITOR names it");
  if (code != 0) return fail("the editor failed");
  const fs::file_time_type now = fs::last_write_time(file, error);
  if (error || now == noted) return fail("nothing was saved");
  const std::optional<std::string> saved = read(file);
  if (!saved || cfTrimAsString(*saved).empty()) return fail("the file is empty");
  return {.text = cfTrimAsString(*saved), .complaint = ""};
}

}  // namespace

EditedText editText(const std::string& text) {
  std::error_code error;
  const fs::path above = fs::temp_directory_path(error);
  std::string folder = (error ? fs::path("/tmp") : above) / "qai-chat-XXXXXX";
  // Editors keep copies beside the file.
  if (mkdtemp(folder.data()) == nullptr) return fail(describeError({errno, std::generic_category()}));
  const CODefer remove([&folder] {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
  });
  return editFile(fs::path(folder) / "question.md", text);
}
