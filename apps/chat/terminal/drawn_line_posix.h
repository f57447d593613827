// The line that libedit edits, as it stands on the screen.
#pragma once

#include "terminal/utf8_locale_posix.h"

#include <histedit.h>

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

/// A line as far as it is typed.
struct Draft {
  std::wstring text;
  std::size_t cursor = 0;
};

/// Of the standard input, on the terminal that the standard error is. For a thread whose characters are UTF-8's.
class DrawnLine {
 public:
  explicit DrawnLine(const UTF8Locale& locale);

  /// Null where it could not begin; nothing but isAble() may be asked then.
  EditLine* libedit() const { return line_.get(); }
  /// Whether the terminal can do what is needed.
  bool isAble() const;

  Draft draft() const;
  void setDraft(const Draft& draft);
  /// What stands before the text when it is drawn the next time.
  void setPrompt(std::wstring prompt) { prompt_ = std::move(prompt); }
  /// The same as libedit wants it.
  wchar_t* prompt() { return prompt_.data(); }

  std::size_t columns() const;
  /// Takes the line off the screen, for drawAgain() in its place.
  void wipe();
  /// Leaves the line as it is on the screen, for drawAgain() below what is written then.
  void leave();
  void drawAgain();
  /// Shows `text` where the cursor is, and what libedit has drawn.
  void write(const std::string& text);
  void flush();

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
  };
  using File = std::unique_ptr<std::FILE, CloseFile>;
  struct EndEditLine {
    void operator()(EditLine* line) const { el_end(line); }
  };

  std::wstring prompt_;
  File out_;
  File nowhere_;
  std::unique_ptr<EditLine, EndEditLine> line_;
};
