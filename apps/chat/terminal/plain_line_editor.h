// Lines as a stream has them.
#pragma once

#include "terminal/line_editor.h"

#include <atomic>
#include <optional>

/// For where the system edits lines itself. It drops a line at Ctrl-C without a word; interrupt() is that word.
class PlainLineEditor final : public LineEditor {
 public:
  /// Borrows both.
  PlainLineEditor(std::istream& in, std::ostream& err) noexcept : in_(in), err_(err) {}

  TypedLine readLine(const std::string& prompt) override;
  void interrupt() override;

 private:
  std::istream& in_;
  std::ostream& err_;
  std::atomic<bool> dropped_ = false;
  std::optional<TypedLine> behindDropped_;  // read already
};
