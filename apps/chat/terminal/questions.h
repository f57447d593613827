// What a person asks: lines, and blocks of them.
#pragma once

#include "terminal/history.h"
#include "terminal/line_editor.h"

#include <optional>
#include <string>

inline constexpr const char* kPrompt = "> ";
inline constexpr const char* kBlockPrompt = ". ";  // within a block
inline constexpr const char* kBlockMark = R"(""")";

/// Reads questions and keeps them in the history. Borrows what it is made of.
class Questions {
 public:
  Questions(LineEditor& editor, QuestionHistory& history) noexcept : editor_(editor), history_(history) {}

  /// The next question or command, trimmed and not empty; a block's lines from one """ to the next are one.
  /// @return nothing at the end of the input
  std::optional<std::string> read();
  /// Keeps what was not typed here.
  void remember(const std::string& question) { history_.add(question); }

 private:
  /// The lines up to the closing mark. Nothing when the block was dropped, or the input ended in it.
  std::optional<std::string> readBlock(std::string text);

  LineEditor& editor_;
  QuestionHistory& history_;
};
