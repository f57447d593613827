// What Tab can make of a word that was begun.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// What may be typed.
struct Words {
  std::vector<std::string> commands;                          // with their slashes
  std::map<std::string, std::vector<std::string>> arguments;  // of a command, its first ones
  std::vector<std::string> names;                             // of tables and columns
};

/// What the word at the end of a text can become.
struct Completion {
  std::size_t wordSize = 0;             // in bytes
  std::string replacement;              // of the word, as far as all candidates agree; the word when there is none
  std::vector<std::string> candidates;  // sorted, each once; without those that a terminal would not show as they are
};

/// `text` is what stands before the cursor, in UTF-8. Letters of either case are alike within ASCII.
Completion complete(std::string_view text, const Words& words);

/// `candidates` in columns of a screen `width` wide, for people; no more than fit on a screen.
std::string listCandidates(const std::vector<std::string>& candidates, std::size_t width);
