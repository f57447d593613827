// Characters that hide, or move others about, made visible.
#pragma once

#include <string>
#include <string_view>

struct MarkedText {
  std::string text;
  bool hasMarks = false;
};

/// `text` as it is to be shown, so that what is read is what is meant: characters that terminalSafe would put U+FFFD in
/// the place of, and blanks other than the space (no-break, ideographic …), become their code, as "⟨U+202E⟩"; bytes
/// that are no UTF-8 become "⟨0xFF⟩". Newlines and tabs stay; "\r\n" becomes "\n". terminalSafe leaves the outcome as
/// it is. For statements and data alike.
MarkedText markHidden(std::string_view text);
