// The keys that do something to a line, and those that do nothing.
#pragma once

#include "terminal/key_source_posix.h"

#include <functional>
#include <span>
#include <string>
#include <utility>

/// What a key, as the terminal sends it, does: a function of libedit's or of ours.
struct KeyBinding {
  const wchar_t* key;
  const wchar_t* function;
};

// Stands for characters that are entered otherwise than by their own key. No key gives it: it is a control character.
inline constexpr wchar_t kEnterPending = 0x80;

std::span<const KeyBinding> listKeyBindings();

/// The keys out of what a terminal sends. libedit would take the rest of a sequence that it does not know for text.
class KeySequences {
 public:
  using Read = std::function<KeyEvent(wchar_t& character)>;

  explicit KeySequences(Read read) : read_(std::move(read)) {}

  /// The next character of a key that is known, or of a text.
  KeyEvent read(wchar_t& character);

 private:
  KeyEvent readBehindEscape();

  Read read_;
  std::wstring sequence_;  // of one key, the rest that is to be read next
};
