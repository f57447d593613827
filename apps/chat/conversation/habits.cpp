#include "conversation/habits.h"

#include <algorithm>
#include <array>

namespace {

struct Habit {
  std::string_view word;
  std::string_view command;  // this program's
  bool takesName = false;    // what stands behind the word goes on to the command
};

// Of shells and editors, and of sqlite3, psql and usql. In small letters; a word counts when it stands alone.
constexpr std::array kHabits{
    Habit{"exit", "/quit"},
    Habit{"exit()", "/quit"},
    Habit{"quit", "/quit"},
    Habit{"quit()", "/quit"},
    Habit{".exit", "/quit"},
    Habit{".quit", "/quit"},
    Habit{".q", "/quit"},
    Habit{"\\q", "/quit"},
    Habit{"\\quit", "/quit"},
    Habit{":q", "/quit"},
    Habit{":q!", "/quit"},
    Habit{":quit", "/quit"},
    Habit{":wq", "/quit"},
    Habit{":x", "/quit"},
    Habit{"help", "/help"},
    Habit{"?", "/help"},
    Habit{".help", "/help"},
    Habit{".h", "/help"},
    Habit{"\\?", "/help"},
    Habit{"\\h", "/help"},
    Habit{"\\help", "/help"},
    Habit{":help", "/help"},
    Habit{":h", "/help"},
    Habit{".tables", "/tables"},
    Habit{".schema", "/tables", true},
    Habit{"\\d", "/tables", true},
    Habit{"\\d+", "/tables", true},
    Habit{"\\dt", "/tables", true},
    Habit{"\\dt+", "/tables", true},
    Habit{"\\dv", "/tables", true},
    Habit{"\\dv+", "/tables", true},
};

constexpr bool isBetween(char c, char first, char last) { return first <= c && c <= last; }
constexpr bool isSmall(char c) { return isBetween(c, 'a', 'z'); }

std::string toSmall(std::string_view text) {
  std::string small(text);
  for (char& c : small) {
    if (isBetween(c, 'A', 'Z')) c = static_cast<char>(c - 'A' + 'a');
  }
  return small;
}

std::string_view withoutSemicolons(std::string_view text) {
  while (text.ends_with(';') || text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

/// Whether what stands behind an escape character is the rest of a key's sequence. Colours, which end with an 'm', are
/// no keys: they come with what was copied or piped from a terminal.
bool isKey(std::string_view rest) {
  if (rest.empty() || (rest.front() != '[' && rest.front() != 'O')) return false;
  const std::size_t end = rest.find_first_not_of("0123456789;[O");
  if (end == std::string_view::npos) return true;
  const char last = rest[end];
  return last == '~' || isBetween(last, 'A', 'H') || isBetween(last, 'P', 'S') || last == 'Z';
}

bool holdsKey(std::string_view line) {
  constexpr char kEscape = '\x1B';
  for (std::size_t at = line.find(kEscape); at != std::string_view::npos; at = line.find(kEscape, at + 1)) {
    if (isKey(line.substr(at + 1))) return true;
  }
  return false;
}

/// "\timing", ".mode box", ":w": no question begins so.
bool isForeign(std::string_view word, bool isAlone) {
  if (word.size() < 2) return word == "\\";
  if (word.front() == '\\') return true;
  const bool isName = std::all_of(word.begin() + 1, word.end(), isSmall);
  return (word.front() == '.' && isName) || (word.front() == ':' && isName && isAlone);
}

}  // namespace

LineMeaning understand(std::string_view line) {
  LineMeaning question{.kind = LineKind::Question, .text = std::string(line)};
  if (line.empty()) return question;
  if (holdsKey(line)) return {.kind = LineKind::Keys, .text = ""};
  if (line.front() == '/') return {.kind = LineKind::Command, .text = std::string(line)};
  const std::string_view bare = withoutSemicolons(line);
  const std::size_t end = std::min(bare.find_first_of(" \t"), bare.size());
  const std::string word = toSmall(bare.substr(0, end));
  const auto* const habit =
      std::find_if(kHabits.begin(), kHabits.end(), [&word](const Habit& any) { return any.word == word; });
  const bool isAlone = end == bare.size();
  if (habit != kHabits.end() && (isAlone || habit->takesName)) {
    return {.kind = LineKind::Command, .text = std::string(habit->command).append(bare.substr(end))};
  }
  if (isForeign(bare.substr(0, end), isAlone)) return {.kind = LineKind::Foreign, .text = std::string(line)};
  return question;
}
