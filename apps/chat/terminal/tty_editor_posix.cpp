#include "terminal/tty_editor_posix.h"

#include "terminal/rendering.h"
#include "terminal/wide_text_posix.h"

#include <cf/defer.h>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cwchar>
#include <ostream>
#include <string_view>

TtyEditor::TtyEditor(std::ostream& err) : err_(err), keys_(STDIN_FILENO) {
  if (const char* const name = ttyname(STDIN_FILENO)) terminal_ = open(name, O_WRONLY | O_NOCTTY | O_CLOEXEC);
}

TtyEditor::~TtyEditor() {
  if (terminal_ >= 0) close(terminal_);
}

bool TtyEditor::prepare() const {
  termios typing = before_;
  typing.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  typing.c_cc[VMIN] = 1;
  typing.c_cc[VTIME] = 0;
  return tcsetattr(STDIN_FILENO, TCSADRAIN, &typing) == 0;
}

void TtyEditor::restore() const { tcsetattr(STDIN_FILENO, TCSADRAIN, &before_); }

void TtyEditor::echo(std::string_view text) const {
  if ((before_.c_lflag & ECHO) == 0U) return;
  while (!text.empty()) {
    const ssize_t size = write(terminal_, text.data(), text.size());
    if (size <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(size));
  }
}

void TtyEditor::eraseLast() {
  const wchar_t last = text_.back();
  text_.pop_back();
  const bool isControl = last < L' ' || last == 0x7F;
  const int width = isControl ? 2 : wcwidth(last);
  for (int i = 0; i < width; ++i) echo("\b \b");
}

void TtyEditor::eraseWord() {
  while (!text_.empty() && text_.back() == L' ') eraseLast();
  while (!text_.empty() && text_.back() != L' ') eraseLast();
}

void TtyEditor::enter(wchar_t character) {
  text_ += character;
  const bool isControl = character < L' ' || character == 0x7F;
  echo(isControl ? std::string{'^', static_cast<char>(static_cast<unsigned>(character) ^ 0x40U)}
                 : terminalSafe(toUTF8({&character, 1})));
}

bool TtyEditor::take(wchar_t character) {
  const auto is = [&](std::size_t key) {
    return before_.c_cc[key] != _POSIX_VDISABLE && static_cast<wchar_t>(before_.c_cc[key]) == character;
  };
  if (character == L'\n') {
    echo("\n");
    return true;
  }
  if (is(VEOF)) {
    if (text_.empty()) end_ = TypedLine::Kind::End;
    return text_.empty();
  }
  if (is(VERASE) || character == L'\b') {
    if (!text_.empty()) eraseLast();
  } else if (is(VWERASE)) {
    eraseWord();
  } else if (is(VKILL)) {
    while (!text_.empty()) eraseLast();
  } else {
    enter(character);
  }
  return false;
}

void TtyEditor::endBySignal() const {
  restore();
  static_cast<void>(std::signal(keys_.signal(), SIG_DFL));
  static_cast<void>(std::raise(keys_.signal()));
  std::abort();
}

TypedLine TtyEditor::readLine(const std::string& prompt) {
  const KeySource::Watch watch(keys_);
  const UTF8Locale::Use utf8(locale_);
  if (tcgetattr(STDIN_FILENO, &before_) != 0 || !prepare()) return {};
  const CODefer end([this] { restore(); });
  text_.clear();
  end_ = TypedLine::Kind::Text;
  err_ << prompt << std::flush;
  for (;;) {
    wchar_t character = 0;
    switch (keys_.read(character)) {
      case KeyEvent::Character:
        if (take(character)) return {.kind = end_, .text = toUTF8(text_)};
        break;
      case KeyEvent::Interrupted:
        echo("\n");
        return {.kind = TypedLine::Kind::Dropped};
      case KeyEvent::Resumed:
        prepare();
        err_ << prompt << std::flush;
        echo(toUTF8(text_));
        break;
      case KeyEvent::Resized:
        break;
      case KeyEvent::Ended:
        endBySignal();
      case KeyEvent::End:
        return {};
    }
  }
}
