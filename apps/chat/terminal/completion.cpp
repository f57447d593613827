#include "terminal/completion.h"

#include "ascii_case.h"
#include "terminal/rendering.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace {

constexpr std::size_t kMostShown = 60;
constexpr std::size_t kGap = 2;  // between columns

bool isAlike(char a, char b) { return toLowerAscii(a) == toLowerAscii(b); }

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; }

bool isOfName(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x80U || std::isalnum(byte) != 0 || c == '_';
}

bool startsAlike(std::string_view text, std::string_view begin) {
  return text.size() >= begin.size() && std::equal(begin.begin(), begin.end(), text.begin(), isAlike);
}

/// The word at the end of `text`, and what it may be one of.
struct Place {
  std::string_view word;
  const std::vector<std::string>* words = nullptr;  // none when null
};

Place findPlace(std::string_view text, const Words& words) {
  if (text.starts_with('/')) {
    const std::size_t blank = text.find(' ');
    if (blank == std::string_view::npos) return {text, &words.commands};
    const auto arguments = words.arguments.find(std::string(text.substr(0, blank)));
    const std::string_view word = text.substr(blank + 1);
    if (arguments != words.arguments.end() && word.find(' ') == std::string_view::npos)
      return {word, &arguments->second};
  }
  const auto begin = std::find_if_not(text.rbegin(), text.rend(), isOfName);
  const std::string_view word = text.substr(static_cast<std::size_t>(text.rend() - begin));
  return {word, word.empty() ? nullptr : &words.names};  // all names at once would help nobody
}

/// The longest begin of all, in the letters of the first.
std::string findCommonBegin(const std::vector<std::string>& candidates) {
  std::string_view common = candidates.front();
  for (const std::string_view candidate : candidates) {
    const auto [end, ignored] =
        std::mismatch(common.begin(), common.end(), candidate.begin(), candidate.end(), isAlike);
    common = common.substr(0, static_cast<std::size_t>(end - common.begin()));
  }
  const std::string_view first = candidates.front();
  while (common.size() < first.size() && isContinuation(first[common.size()])) common.remove_suffix(1);
  return std::string(common);
}

std::size_t countCharacters(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

}  // namespace

Completion complete(std::string_view text, const Words& words) {
  const auto [word, all] = findPlace(text, words);
  Completion completion{.wordSize = word.size(), .replacement = std::string(word), .candidates = {}};
  if (all == nullptr) return completion;
  std::vector<std::string>& candidates = completion.candidates;
  std::copy_if(all->begin(), all->end(), std::back_inserter(candidates), [word = word](const std::string& any) {
    return startsAlike(any, word) && terminalSafeLine(any) == any;
  });
  std::sort(candidates.begin(), candidates.end());
  candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
  if (!candidates.empty()) completion.replacement = findCommonBegin(candidates);
  return completion;
}

std::string listCandidates(const std::vector<std::string>& candidates, std::size_t width) {
  const std::size_t shown = std::min(candidates.size(), kMostShown);
  std::size_t widest = 0;
  for (std::size_t i = 0; i < shown; ++i) widest = std::max(widest, countCharacters(candidates[i]));
  const std::size_t columns = std::max<std::size_t>(width / (widest + kGap), 1);
  const std::size_t rows = (shown + columns - 1) / columns;
  std::string text;
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t at = row; at < shown; at += rows) {
      text += candidates[at];
      if (at + rows < shown) text.append(widest + kGap - countCharacters(candidates[at]), ' ');
    }
    text += '\n';
  }
  if (shown < candidates.size()) text += "and " + std::to_string(candidates.size() - shown) + " more\n";
  return text;
}
