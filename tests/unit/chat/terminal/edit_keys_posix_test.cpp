#include "terminal/edit_keys_posix.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct SequenceCase {
  const char* name;
  std::wstring typed;
  std::wstring read;
};
class Sequences : public testing::TestWithParam<SequenceCase> {};

TEST_P(Sequences, AreReadWholeOrNotAtAll) {
  std::wstring typed = GetParam().typed;
  KeySequences keys([&typed](wchar_t& character) {
    if (typed.empty()) return KeyEvent::End;
    character = typed.front();
    typed.erase(0, 1);
    return KeyEvent::Character;
  });
  std::wstring read;
  wchar_t character = 0;
  while (keys.read(character) == KeyEvent::Character) read += character;
  EXPECT_EQ(read, GetParam().read);
}

INSTANTIATE_TEST_SUITE_P(Typed, Sequences,
                         testing::Values(SequenceCase{"text", L"a\u4e2d", L"a\u4e2d"},
                                         SequenceCase{"known", L"a\x1b[Ab", L"a\x1b[Ab"},
                                         SequenceCase{"known_of_more", L"\x1b[200~b", L"\x1b[200~b"},
                                         SequenceCase{"unknown", L"a\x1b[15;2~b", L"ab"},
                                         SequenceCase{"unknown_of_a_keypad", L"a\x1bOPb", L"ab"},
                                         SequenceCase{"letter_behind_escape",
                                                      L"\x1b"
                                                      L"fa",
                                                      L"\x1b"
                                                      L"fa"},
                                         SequenceCase{"cut_by_enter", L"\x1b[1\ra", L"\ra"},
                                         SequenceCase{"cut_by_the_end", L"a\x1b[1", L"a"}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(KeyBindings, AreOneForEachKey) {
  for (const KeyBinding& one : listKeyBindings()) {
    int count = 0;
    for (const KeyBinding& other : listKeyBindings()) {
      if (std::wstring(one.key) == other.key) ++count;
    }
    EXPECT_EQ(count, 1) << one.function;
  }
}

}  // namespace
