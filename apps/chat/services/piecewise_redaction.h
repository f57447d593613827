// A text without secrets that comes in pieces.
#pragma once

#include "services/session_text.h"

#include <bitset>
#include <string>
#include <string_view>

/// Takes secrets out of a text, those that span pieces included: what it gives, joined, is withoutSecrets of the whole.
/// What may still turn out to be a part of one is held back, which is the last word at most where secrets have no
/// blanks.
class PiecewiseRedaction {
 public:
  /// Borrows `secrets`.
  explicit PiecewiseRedaction(const Secrets& secrets);

  /// The next piece, of whole characters in UTF-8. @return what can be shown of the text now
  std::string add(std::string_view piece);
  /// The text is at its end. @return what was held back
  std::string finish();

 private:
  const Secrets& secrets_;
  std::bitset<256> inSecrets_;  // the bytes of which secrets consist, in all the forms that are found
  std::string held_;
};
