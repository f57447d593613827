// The library shows and edits the line; the keys' bytes, the history, its search, pastes and Tab are ours. Three of its
// habits shape this file. It cuts a line that is put by for the history at 1,024 characters and searches for single
// bytes, so the history is not given to it. Told to draw its line anew, it begins where the terminal's cursor is, so
// that we have to know the rows that the line takes. And it does not count on characters without a width, which are
// entered so that it draws the whole line.
#include "terminal/edit_line_posix.h"

#include "terminal/edit_keys_posix.h"
#include "terminal/history_search.h"
#include "terminal/key_source_posix.h"
#include "terminal/rendering.h"
#include "terminal/utf8_locale_posix.h"
#include "terminal/wide_text_posix.h"

#include <cf/defer.h>

#include <fcntl.h>
#include <histedit.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <exception>
#include <utility>

namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

struct EndEditLine {
  void operator()(EditLine* line) const { el_end(line); }
};

/// A line as far as it is typed.
struct Draft {
  std::wstring text;
  std::size_t cursor = 0;
};

class EditLineEditor final : public LineEditor {
 public:
  explicit EditLineEditor(const TypingHelp& help);

  /// Whether the terminal can do what is needed.
  bool isAble() const;
  TypedLine readLine(const std::string& prompt) override;
  void interrupt() override { keys_.interrupt(); }

 private:
  using Handler = unsigned char (EditLineEditor::*)();

  static EditLineEditor& self(EditLine* line);
  template <Handler kHandler>
  static unsigned char call(EditLine* line, int key);
  template <Handler kHandler>
  void addFunction(const wchar_t* name) {
    el_wset(line_.get(), EL_ADDFN, name, L"of qai-chat", call<kHandler>);
  }
  void bindKeys();

  static int readKey(EditLine* line, wchar_t* key);
  static wchar_t* obtainPrompt(EditLine* line) { return self(line).shownPrompt_.data(); }

  unsigned char enterPending();
  unsigned char paste();
  unsigned char completeWord();
  unsigned char goBack() { return showEntry(1); }
  unsigned char goForth() { return showEntry(-1); }
  unsigned char searchBack();
  unsigned char stop();

  unsigned char showEntry(int direction);
  void setText(const std::wstring& text, std::size_t cursor);
  Draft obtainDraft() const;
  std::size_t countColumns() const;
  /// Takes the line off the screen, for drawAgain() in its place.
  void wipeLine();
  /// Leaves the line as it is on the screen, for drawAgain() below what is written then.
  void leaveLine();
  void drawAgain() { el_wset(line_.get(), EL_REFRESH); }
  void write(const std::string& text);
  void setPasteMode(bool on) { write(on ? "\x1b[?2004h" : "\x1b[?2004l"); }
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
  File out_;
  File nowhere_;
  std::unique_ptr<EditLine, EndEditLine> line_;
  std::wstring prompt_;
  std::wstring shownPrompt_;
  KeyEvent event_ = KeyEvent::Character;  // that ended the read
  std::wstring pending_;                  // to be entered at the cursor
  std::size_t back_ = 0;                  // how many entries of the history
  std::wstring own_;                      // what was typed before the history was shown
  std::exception_ptr failure_;            // of a function that the library called
};

EditLineEditor::EditLineEditor(const TypingHelp& help) : help_(help) {
  const UTF8Locale::Use utf8(locale_);
  out_.reset(fdopen(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0), "w"));
  nowhere_.reset(std::fopen("/dev/null", "we"));  // for complaints about the terminal's name
  if (!out_ || !nowhere_) return;
  line_.reset(el_init_fd("qai-chat", stdin, out_.get(), nowhere_.get(), STDIN_FILENO, fileno(out_.get()),
                         fileno(nowhere_.get())));
  if (!line_) return;
  el_wset(line_.get(), EL_CLIENTDATA, this);
  el_wset(line_.get(), EL_PROMPT, obtainPrompt);
  el_wset(line_.get(), EL_GETCFN, readKey);
  el_wset(line_.get(), EL_EDITOR, L"emacs");
  el_source(line_.get(), nullptr);  // what the user has set
  bindKeys();
}

bool EditLineEditor::isAble() const {
  if (!line_) return false;
  for (const char* const ability : {"up", "ce"}) {
    const char* text = nullptr;
    if (el_get(line_.get(), EL_GETTC, ability, &text) != 0 || text == nullptr || *text == '\0') return false;
  }
  return true;
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
    el_wset(line_.get(), EL_BIND, binding.key, binding.function, nullptr);
  // What ends the lines of a paste could not be told from empty lines.
  el_wset(line_.get(), EL_SETTY, L"-d", L"-icrnl", L"-inlcr", nullptr);
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
  el_winsertstr(line_.get(), std::exchange(pending_, {}).c_str());
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
  std::string lines = toUTF8(text);
  for (std::size_t at = 0; (at = lines.find('\r', at)) != std::string::npos;)
    lines.replace(at, lines.compare(at, 2, "\r\n") == 0 ? 2 : 1, "\n");
  lines = terminalSafe(lines);
  while (lines.ends_with('\n')) lines.pop_back();  // it is for Enter to send it
  if (!lines.empty()) el_winsertstr(line_.get(), toWide(lines).c_str());
  return CC_REFRESH;
}

unsigned char EditLineEditor::completeWord() {
  Draft draft = obtainDraft();
  const std::string before = toUTF8(std::wstring_view(draft.text).substr(0, draft.cursor));
  const Completion completion = complete(before, help_.words);
  if (completion.candidates.empty()) return CC_ERROR;
  const bool isOne = completion.candidates.size() == 1;
  const std::wstring word = toWide(std::string_view(before).substr(before.size() - completion.wordSize));
  const std::wstring replacement = toWide(completion.replacement + (isOne ? " " : ""));
  draft.text.replace(draft.cursor - word.size(), word.size(), replacement);
  draft.cursor += replacement.size() - word.size();
  if (isOne) {
    setText(draft.text, draft.cursor);
    return CC_REFRESH;
  }
  leaveLine();
  write(listCandidates(completion.candidates, countColumns()));
  setText(draft.text, draft.cursor);
  drawAgain();
  return CC_NORM;
}

unsigned char EditLineEditor::showEntry(int direction) {
  const std::vector<std::string>& entries = help_.history.entries();
  if (direction > 0 ? back_ == entries.size() : back_ == 0) return CC_ERROR;
  if (back_ == 0) own_ = obtainDraft().text;
  back_ = direction > 0 ? back_ + 1 : back_ - 1;
  const std::wstring text = back_ == 0 ? own_ : toWide(entries[entries.size() - back_]);
  setText(text, text.size());
  return CC_REFRESH;
}

unsigned char EditLineEditor::searchBack() {
  const Draft own = obtainDraft();
  HistorySearch search(help_.history.entries());
  const CODefer end([this] {
    wipeLine();
    shownPrompt_ = prompt_;
    drawAgain();
  });
  for (;;) {
    wipeLine();
    shownPrompt_ = toWide(search.describe());
    const std::wstring found = search.found() ? toWide(*search.found()) : own.text;
    setText(found, search.found() ? toWide(search.found()->substr(0, search.at())).size() : own.cursor);
    drawAgain();
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
      setText(own.text, own.cursor);
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
  leaveLine();
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

void EditLineEditor::setText(const std::wstring& text, std::size_t cursor) {
  const LineInfoW* const line = el_wline(line_.get());
  el_cursor(line_.get(), static_cast<int>(line->lastchar - line->cursor));
  el_wdeletestr(line_.get(), static_cast<int>(line->lastchar - line->buffer));
  if (!text.empty()) el_winsertstr(line_.get(), text.c_str());
  el_cursor(line_.get(), -static_cast<int>(text.size() - cursor));
}

Draft EditLineEditor::obtainDraft() const {
  const LineInfoW* const line = el_wline(line_.get());
  return {.text = std::wstring(line->buffer, line->lastchar),
          .cursor = static_cast<std::size_t>(line->cursor - line->buffer)};
}

std::size_t EditLineEditor::countColumns() const {
  constexpr std::size_t kUsual = 80;
  winsize size{};
  ioctl(STDERR_FILENO, TIOCGWINSZ, &size);
  return size.ws_col > 0 ? size.ws_col : kUsual;
}

void EditLineEditor::wipeLine() {
  const Draft draft = obtainDraft();
  const std::size_t rows = countRowsAbove(shownPrompt_ + draft.text.substr(0, draft.cursor), countColumns());
  write((rows > 0 ? "\x1b[" + std::to_string(rows) + "A" : "") + "\r\x1b[J");
}

void EditLineEditor::leaveLine() {
  const Draft draft = obtainDraft();
  const std::size_t columns = countColumns();
  const std::size_t above = countRowsAbove(shownPrompt_ + draft.text.substr(0, draft.cursor), columns);
  write(std::string(countRowsAbove(shownPrompt_ + draft.text, columns) - above + 1, '\n'));
}

void EditLineEditor::write(const std::string& text) {
  static_cast<void>(std::fputs(text.c_str(), out_.get()));
  static_cast<void>(std::fflush(out_.get()));
}

void EditLineEditor::take() {
  el_wset(line_.get(), EL_PREP_TERM, 1);
  // The terminal would stop the process with its settings as they are for editing.
  termios settings{};
  tcgetattr(STDIN_FILENO, &settings);
  settings.c_cc[VSUSP] = _POSIX_VDISABLE;
  tcsetattr(STDIN_FILENO, TCSADRAIN, &settings);
  setPasteMode(true);
}

void EditLineEditor::giveBack() {
  setPasteMode(false);
  el_wset(line_.get(), EL_PREP_TERM, 0);
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
      wipeLine();
      el_resize(line_.get());
      drawAgain();
      return true;
    case KeyEvent::Resumed:
      giveBack();  // whatever the terminal's settings are by now
      take();
      write("\r\x1b[J");
      drawAgain();
      return true;
    case KeyEvent::Ended:
      endBySignal();
    default:
      return false;
  }
}

KeyEvent EditLineEditor::readCharacter(wchar_t& character) {
  static_cast<void>(std::fflush(out_.get()));
  KeyEvent event = keys_.read(character);
  while (handle(event)) event = keys_.read(character);
  return event;
}

TypedLine EditLineEditor::readLine(const std::string& prompt) {
  const UTF8Locale::Use utf8(locale_);
  const KeySource::Watch watch(keys_);
  prompt_ = toWide(prompt);
  shownPrompt_ = prompt_;
  back_ = 0;
  event_ = KeyEvent::Character;
  take();  // before the prompt is shown, at which one begins to type
  const CODefer end([this] { giveBack(); });
  int size = 0;
  const wchar_t* const text = el_wgets(line_.get(), &size);
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
  if (event_ == KeyEvent::Interrupted) {
    leaveLine();
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
