// The library shows and edits the line; the keys' bytes, the history, its search, pastes and Tab are ours. Two of its
// habits shape this file. It cuts a line that is put by for the history at 1,024 characters and searches for single
// bytes, so the history is not given to it. And it does not count on characters without a width, which are entered so
// that it draws the whole line.
#include "terminal/edit_line_posix.h"

#include "terminal/drawn_line_posix.h"
#include "terminal/edit_keys_posix.h"
#include "terminal/history_search.h"
#include "terminal/history_walk.h"
#include "terminal/key_source_posix.h"
#include "terminal/pasted_text.h"
#include "terminal/utf8_locale_posix.h"
#include "terminal/wide_text_posix.h"

#include <cf/defer.h>

#include <histedit.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cwchar>
#include <exception>
#include <utility>

namespace {

class EditLineEditor final : public LineEditor {
 public:
  explicit EditLineEditor(const TypingHelp& help);

  bool isAble() const { return line_.isAble(); }
  TypedLine readLine(const std::string& prompt) override;
  void interrupt() override { keys_.interrupt(); }

 private:
  using Handler = unsigned char (EditLineEditor::*)();

  static EditLineEditor& self(EditLine* line);
  template <Handler kHandler>
  static unsigned char call(EditLine* line, int key);
  template <Handler kHandler>
  void addFunction(const wchar_t* name) {
    el_wset(line_.libedit(), EL_ADDFN, name, L"of qai-chat", call<kHandler>);
  }
  void bindKeys();

  static int readKey(EditLine* line, wchar_t* key);
  static wchar_t* obtainPrompt(EditLine* line) { return self(line).line_.prompt(); }

  unsigned char enterPending();
  unsigned char paste();
  unsigned char completeWord();
  unsigned char goBack() { return show(walk_.goBack(toUTF8(line_.draft().text))); }
  unsigned char goForth() { return show(walk_.goForth()); }
  unsigned char searchBack();
  unsigned char stop();

  unsigned char show(const std::string* text);
  void setPasteMode(bool on) { line_.write(on ? "\x1b[?2004h" : "\x1b[?2004l"); }
  /// Has the keys and the screen be the line's, and nobody's when it is read.
  void take();
  void giveBack();
  /// Does what happened while a key was awaited. @return whether the wait goes on
  bool handle(KeyEvent event);
  KeyEvent readCharacter(wchar_t& character);
  [[noreturn]] void endBySignal();

  const TypingHelp& help_;
  UTF8Locale locale_;
  KeySource keys_{STDIN_FILENO};
  KeySequences sequences_{[this](wchar_t& character) { return readCharacter(character); }};
  DrawnLine line_{locale_};
  HistoryWalk walk_;
  std::wstring prompt_;
  KeyEvent event_ = KeyEvent::Character;  // that ended the read
  std::wstring pending_;                  // to be entered at the cursor
  std::exception_ptr failure_;            // of a function that the library called
};

EditLineEditor::EditLineEditor(const TypingHelp& help) : help_(help), walk_(help.history.entries()) {
  const UTF8Locale::Use utf8(locale_);
  if (line_.libedit() == nullptr) return;
  el_wset(line_.libedit(), EL_CLIENTDATA, this);
  el_wset(line_.libedit(), EL_PROMPT, obtainPrompt);
  el_wset(line_.libedit(), EL_GETCFN, readKey);
  el_wset(line_.libedit(), EL_EDITOR, L"emacs");
  el_source(line_.libedit(), nullptr);  // what the user has set
  bindKeys();
}

EditLineEditor& EditLineEditor::self(EditLine* line) {
  void* data = nullptr;
  el_wget(line, EL_CLIENTDATA, &data);
  return *static_cast<EditLineEditor*>(data);
}

// Nothing may be thrown through the library.
template <EditLineEditor::Handler kHandler>
unsigned char EditLineEditor::call(EditLine* line, int /*key*/) {
  EditLineEditor& editor = self(line);
  try {
    return (editor.*kHandler)();
  } catch (...) {
    editor.failure_ = std::current_exception();
    return CC_EOF;
  }
}

void EditLineEditor::bindKeys() {
  addFunction<&EditLineEditor::enterPending>(L"qai-enter-pending");
  addFunction<&EditLineEditor::paste>(L"qai-paste");
  addFunction<&EditLineEditor::completeWord>(L"qai-complete");
  addFunction<&EditLineEditor::goBack>(L"qai-back");
  addFunction<&EditLineEditor::goForth>(L"qai-forth");
  addFunction<&EditLineEditor::searchBack>(L"qai-search-back");
  addFunction<&EditLineEditor::stop>(L"qai-stop");
  for (const KeyBinding& binding : listKeyBindings())
    el_wset(line_.libedit(), EL_BIND, binding.key, binding.function, nullptr);
  // What ends the lines of a paste could not be told from empty lines.
  el_wset(line_.libedit(), EL_SETTY, L"-d", L"-icrnl", L"-inlcr", nullptr);
}

int EditLineEditor::readKey(EditLine* line, wchar_t* key) {
  EditLineEditor& editor = self(line);
  try {
    editor.event_ = editor.sequences_.read(*key);
    if (editor.event_ != KeyEvent::Character) return -1;
    const bool isControl = *key >= 0x7F && *key < 0xA0 && *key != 0x7F;
    if (!isControl && (*key < 0x80 || wcwidth(*key) > 0)) return 1;
    editor.pending_ = isControl ? L"\uFFFD" : std::wstring(1, *key);
    *key = kEnterPending;
    return 1;
  } catch (...) {
    editor.failure_ = std::current_exception();
    return -1;
  }
}

unsigned char EditLineEditor::enterPending() {
  el_winsertstr(line_.libedit(), std::exchange(pending_, {}).c_str());
  return CC_REFRESH;
}

unsigned char EditLineEditor::paste() {
  constexpr std::wstring_view kEnd = L"\x1b[201~";
  std::wstring text;
  while (!text.ends_with(kEnd)) {
    wchar_t character = 0;
    event_ = readCharacter(character);
    if (event_ != KeyEvent::Character) return CC_EOF;
    text += character;
  }
  text.erase(text.size() - kEnd.size());
  const std::wstring lines = toWide(tidyPaste(toUTF8(text)));
  if (!lines.empty()) el_winsertstr(line_.libedit(), lines.c_str());
  return CC_REFRESH;
}

unsigned char EditLineEditor::completeWord() {
  Draft draft = line_.draft();
  const std::string before = toUTF8(std::wstring_view(draft.text).substr(0, draft.cursor));
  const Completion completion = complete(before, help_.words);
  if (completion.candidates.empty()) return CC_ERROR;
  const bool isOne = completion.candidates.size() == 1;
  const std::wstring word = toWide(std::string_view(before).substr(before.size() - completion.wordSize));
  const std::wstring replacement = toWide(completion.replacement + (isOne ? " " : ""));
  draft.text.replace(draft.cursor - word.size(), word.size(), replacement);
  draft.cursor += replacement.size() - word.size();
  if (isOne) {
    line_.setDraft(draft);
    return CC_REFRESH;
  }
  line_.leave();
  line_.write(listCandidates(completion.candidates, line_.columns()));
  line_.setDraft(draft);
  line_.drawAgain();
  return CC_NORM;
}

unsigned char EditLineEditor::show(const std::string* text) {
  if (text == nullptr) return CC_ERROR;
  const std::wstring wide = toWide(*text);
  line_.setDraft({.text = wide, .cursor = wide.size()});
  return CC_REFRESH;
}

unsigned char EditLineEditor::searchBack() {
  const Draft own = line_.draft();
  HistorySearch search(help_.history.entries());
  const CODefer end([this] {
    line_.wipe();
    line_.setPrompt(prompt_);
    line_.drawAgain();
  });
  for (;;) {
    line_.wipe();
    line_.setPrompt(toWide(search.describe()));
    line_.setDraft(search.found() ? Draft{.text = toWide(*search.found()),
                                          .cursor = toWide(search.found()->substr(0, search.at())).size()}
                                  : own);
    line_.drawAgain();
    wchar_t key = 0;
    event_ = readCharacter(key);
    if (event_ != KeyEvent::Character) return CC_EOF;
    constexpr wchar_t kSearch = 0x12;
    constexpr wchar_t kAbort = 0x07;
    constexpr wchar_t kBackspace = 0x08;
    constexpr wchar_t kDelete = 0x7F;
    if (key == kSearch) {
      search.goOn();
    } else if (key == kBackspace || key == kDelete) {
      search.shorten();
    } else if (key == kAbort) {
      line_.setDraft(own);
      return CC_REFRESH;
    } else if (key < L' ' || (key > kDelete && key < 0xA0)) {
      keys_.putBack({&key, 1});  // does to what was found what it always does
      return CC_REFRESH;
    } else {
      search.lengthen(toUTF8({&key, 1}));
    }
  }
}

unsigned char EditLineEditor::stop() {
  line_.leave();
  giveBack();
  struct sigaction watched {};
  struct sigaction usual {};
  usual.sa_handler = SIG_DFL;
  sigaction(SIGCONT, &usual, &watched);
  static_cast<void>(std::raise(SIGTSTP));  // comes back when the process is resumed, or nobody could do so
  sigaction(SIGCONT, &watched, nullptr);
  handle(KeyEvent::Resumed);
  return CC_NORM;
}

void EditLineEditor::take() {
  el_wset(line_.libedit(), EL_PREP_TERM, 1);
  // The terminal would stop the process with its settings as they are for editing.
  termios settings{};
  tcgetattr(STDIN_FILENO, &settings);
  settings.c_cc[VSUSP] = _POSIX_VDISABLE;
  tcsetattr(STDIN_FILENO, TCSADRAIN, &settings);
  setPasteMode(true);
}

void EditLineEditor::giveBack() {
  setPasteMode(false);
  el_wset(line_.libedit(), EL_PREP_TERM, 0);
}

void EditLineEditor::endBySignal() {
  giveBack();
  static_cast<void>(std::signal(keys_.signal(), SIG_DFL));
  static_cast<void>(std::raise(keys_.signal()));
  std::abort();
}

bool EditLineEditor::handle(KeyEvent event) {
  switch (event) {
    case KeyEvent::Resized:
      line_.wipe();
      el_resize(line_.libedit());
      line_.drawAgain();
      return true;
    case KeyEvent::Resumed:
      giveBack();  // whatever the terminal's settings are by now
      take();
      line_.write("\r\x1b[J");
      line_.drawAgain();
      return true;
    case KeyEvent::Ended:
      endBySignal();
    default:
      return false;
  }
}

KeyEvent EditLineEditor::readCharacter(wchar_t& character) {
  line_.flush();
  KeyEvent event = keys_.read(character);
  while (handle(event)) event = keys_.read(character);
  return event;
}

TypedLine EditLineEditor::readLine(const std::string& prompt) {
  const UTF8Locale::Use utf8(locale_);
  const KeySource::Watch watch(keys_);
  prompt_ = toWide(prompt);
  line_.setPrompt(prompt_);
  walk_.startAnew();
  event_ = KeyEvent::Character;
  take();  // before the prompt is shown, at which one begins to type
  const CODefer end([this] { giveBack(); });
  int size = 0;
  const wchar_t* const text = el_wgets(line_.libedit(), &size);
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
  if (event_ == KeyEvent::Interrupted) {
    line_.leave();
    return {.kind = TypedLine::Kind::Dropped};
  }
  if (event_ != KeyEvent::Character || text == nullptr || size <= 0) return {};
  std::wstring_view whole(text, static_cast<std::size_t>(size));
  if (whole.ends_with(L'\n')) whole.remove_suffix(1);
  return {.kind = TypedLine::Kind::Text, .text = toUTF8(whole)};
}

}  // namespace

std::unique_ptr<LineEditor> makeEditLine(const TypingHelp& help) {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) return nullptr;
  const UTF8Locale locale;
  if (!locale.isThere()) return nullptr;
  auto editor = std::make_unique<EditLineEditor>(help);
  if (!editor->isAble()) return nullptr;
  return editor;
}
