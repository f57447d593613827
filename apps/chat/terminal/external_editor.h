// A text written in the editor that the user has chosen; one source file for each system.
#pragma once

#include <optional>
#include <string>

struct EditedText {
  std::optional<std::string> text;  // nothing when none was saved
  std::string complaint;            // why there is none, where the user may not know
};

/// Has the editor that VISUAL or EDITOR names, or else the system's, begin with `text`, in a file for this user alone
/// that is gone afterwards. Waits for its end.
EditedText editText(const std::string& text);
