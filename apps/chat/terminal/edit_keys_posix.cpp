#include "terminal/edit_keys_posix.h"

#include <algorithm>
#include <array>

namespace {

constexpr wchar_t kEscape = 0x1B;

constexpr std::array kBindings{
    KeyBinding{L"\x80", L"qai-enter-pending"},
    KeyBinding{L"\t", L"qai-complete"},
    KeyBinding{L"\x10", L"qai-back"},
    KeyBinding{L"\x0e", L"qai-forth"},
    KeyBinding{L"\x12", L"qai-search-back"},
    KeyBinding{L"\x1a", L"qai-stop"},
    KeyBinding{L"\x17", L"ed-delete-prev-word"},
    KeyBinding{L"\x1b[200~", L"qai-paste"},
    KeyBinding{L"\x1b[A", L"qai-back"},
    KeyBinding{L"\x1bOA", L"qai-back"},
    KeyBinding{L"\x1b[B", L"qai-forth"},
    KeyBinding{L"\x1bOB", L"qai-forth"},
    KeyBinding{L"\x1b[C", L"ed-next-char"},
    KeyBinding{L"\x1bOC", L"ed-next-char"},
    KeyBinding{L"\x1b[D", L"ed-prev-char"},
    KeyBinding{L"\x1bOD", L"ed-prev-char"},
    KeyBinding{L"\x1b[H", L"ed-move-to-beg"},
    KeyBinding{L"\x1bOH", L"ed-move-to-beg"},
    KeyBinding{L"\x1b[1~", L"ed-move-to-beg"},
    KeyBinding{L"\x1b[7~", L"ed-move-to-beg"},
    KeyBinding{L"\x1b[F", L"ed-move-to-end"},
    KeyBinding{L"\x1bOF", L"ed-move-to-end"},
    KeyBinding{L"\x1b[4~", L"ed-move-to-end"},
    KeyBinding{L"\x1b[8~", L"ed-move-to-end"},
    KeyBinding{L"\x1b[3~", L"ed-delete-next-char"},
    KeyBinding{L"\x1b[1;5D", L"ed-prev-word"},
    KeyBinding{L"\x1b[1;5C", L"em-next-word"},
};

}  // namespace

std::span<const KeyBinding> listKeyBindings() { return kBindings; }

KeyEvent KeySequences::readBehindEscape() {
  sequence_ = kEscape;
  for (;;) {
    wchar_t next = 0;
    const KeyEvent event = read_(next);
    if (event != KeyEvent::Character) return event;
    sequence_ += next;
    if (next < L' ') {  // goes on with another key
      sequence_ = next;
      return event;
    }
    const bool isIntroducer = sequence_.size() == 2 && (next == L'[' || next == L'O');
    if (sequence_.size() == 2 && !isIntroducer) return event;  // a letter behind Escape
    if (isIntroducer || (sequence_[1] == L'[' && (next < L'@' || next > L'~'))) continue;
    const bool isKnown = std::any_of(kBindings.begin(), kBindings.end(),
                                     [this](const KeyBinding& binding) { return binding.key == sequence_; });
    if (!isKnown) sequence_.clear();
    return event;
  }
}

KeyEvent KeySequences::read(wchar_t& character) {
  for (;;) {
    if (!sequence_.empty()) {
      character = sequence_.front();
      sequence_.erase(0, 1);
      return KeyEvent::Character;
    }
    KeyEvent event = read_(character);
    if (event != KeyEvent::Character || character != kEscape) return event;
    event = readBehindEscape();
    if (event != KeyEvent::Character) {
      sequence_.clear();
      return event;
    }
  }
}
