#include "terminal/plain_line_editor.h"

#include "terminal/questions.h"

#include <istream>
#include <ostream>
#include <utility>

TypedLine PlainLineEditor::readLine(const std::string& prompt) {
  if (behindDropped_) return *std::exchange(behindDropped_, std::nullopt);
  dropped_ = false;
  err_ << prompt << std::flush;
  TypedLine line;
  if (std::getline(in_, line.text)) {
    line.kind = TypedLine::Kind::Text;
  } else {
    in_.clear();  // one can type on behind the end of a terminal's input
  }
  if (!dropped_) return line;
  behindDropped_ = std::move(line);
  return {.kind = TypedLine::Kind::Dropped};
}

void PlainLineEditor::interrupt() {
  dropped_ = true;
  err_ << '\n' << kPrompt << std::flush;
}
