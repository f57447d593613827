// Told to draw its line anew, libedit begins where the terminal's cursor is, so that we have to know the rows that the
// line takes.
#include "terminal/drawn_line_posix.h"

#include "standard_streams.h"
#include "terminal/wide_text_posix.h"

#include <fcntl.h>
#include <unistd.h>

DrawnLine::DrawnLine(const UTF8Locale& locale) {
  const UTF8Locale::Use utf8(locale);
  out_.reset(fdopen(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0), "w"));
  nowhere_.reset(std::fopen("/dev/null", "we"));  // for complaints about the terminal's name
  if (!out_ || !nowhere_) return;
  line_.reset(el_init_fd("qai-chat", stdin, out_.get(), nowhere_.get(), STDIN_FILENO, fileno(out_.get()),
                         fileno(nowhere_.get())));
}

bool DrawnLine::isAble() const {
  if (!line_) return false;
  for (const char* const ability : {"up", "ce"}) {
    const char* text = nullptr;
    if (el_get(line_.get(), EL_GETTC, ability, &text) != 0 || text == nullptr || *text == '\0') return false;
  }
  return true;
}

Draft DrawnLine::draft() const {
  const LineInfoW* const line = el_wline(line_.get());
  return {.text = std::wstring(line->buffer, line->lastchar),
          .cursor = static_cast<std::size_t>(line->cursor - line->buffer)};
}

void DrawnLine::setDraft(const Draft& draft) {
  const LineInfoW* const line = el_wline(line_.get());
  el_cursor(line_.get(), static_cast<int>(line->lastchar - line->cursor));
  el_wdeletestr(line_.get(), static_cast<int>(line->lastchar - line->buffer));
  if (!draft.text.empty()) el_winsertstr(line_.get(), draft.text.c_str());
  el_cursor(line_.get(), -static_cast<int>(draft.text.size() - draft.cursor));
}

std::size_t DrawnLine::columns() const {
  constexpr std::size_t kUsual = 80;
  const std::size_t width = obtainErrorWidth();
  return width > 0 ? width : kUsual;
}

void DrawnLine::wipe() {
  const Draft typed = draft();
  const std::size_t rows = countRowsAbove(prompt_ + typed.text.substr(0, typed.cursor), columns());
  write((rows > 0 ? "\x1b[" + std::to_string(rows) + "A" : "") + "\r\x1b[J");
}

void DrawnLine::leave() {
  const Draft typed = draft();
  const std::size_t width = columns();
  const std::size_t above = countRowsAbove(prompt_ + typed.text.substr(0, typed.cursor), width);
  write(std::string(countRowsAbove(prompt_ + typed.text, width) - above + 1, '\n'));
}

void DrawnLine::drawAgain() { el_wset(line_.get(), EL_REFRESH); }

void DrawnLine::write(const std::string& text) {
  static_cast<void>(std::fputs(text.c_str(), out_.get()));
  flush();
}

void DrawnLine::flush() { static_cast<void>(std::fflush(out_.get())); }
