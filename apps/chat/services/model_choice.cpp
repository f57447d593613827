#include "services/model_choice.h"

#include "ascii_case.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <string_view>
#include <tuple>

namespace {

constexpr std::string_view kDigits = "0123456789";

/// Words in the names of models that chat with nobody, wherever they run: '*' as in the providers' patterns.
constexpr std::array kOtherWork{
    "*embed*",     "bge",      "gte",          "e5",          "*minilm*",    "rerank*", "paraphrase",  // vectors
    "moderation*", "*guard",   "*guardian",    "shieldgemma",                                          // judges
    "whisper*",    "tts",      "*transcribe*", "audio",       "realtime",    "live",    "speech",     "lyria",  // sound
    "image",       "images",   "imagen*",      "dall",        "*diffusion*", "flux*",   "sora*",      "veo*",
    "video",       "ocr",  // pictures
    "aqa",         "robotics",
};

bool isDigit(char c) { return kDigits.find(c) != std::string_view::npos; }

/// Whether `text` is as `pattern` says: '*' stands for any characters, '#' for a digit.
bool isLike(std::string_view text, std::string_view pattern) {
  std::size_t star = std::string_view::npos;  // behind the last one
  std::size_t retry = 0;                      // where that one ends for now
  std::size_t p = 0;
  for (std::size_t t = 0; t < text.size();) {
    const char wanted = p < pattern.size() ? pattern[p] : '\0';
    if (wanted == '*') {
      star = ++p;
      retry = t;
    } else if (p < pattern.size() && (wanted == text[t] || (wanted == '#' && isDigit(text[t])))) {
      ++p;
      ++t;
    } else if (star != std::string_view::npos) {
      p = star;
      t = ++retry;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

/// The runs of letters and digits in `name`.
std::vector<std::string_view> splitWords(std::string_view name) {
  const auto isPart = [](unsigned char c) { return std::isalnum(c) != 0; };
  std::vector<std::string_view> words;
  for (const char* at = name.data(); at != name.data() + name.size();) {
    const char* const begin = std::find_if(at, name.data() + name.size(), isPart);
    at = std::find_if_not(begin, name.data() + name.size(), isPart);
    if (begin != at) words.emplace_back(begin, static_cast<std::size_t>(at - begin));
  }
  return words;
}

template <class Patterns>
bool hasWord(const std::vector<std::string_view>& words, const Patterns& patterns) {
  return std::any_of(words.begin(), words.end(), [&](std::string_view word) {
    return std::any_of(patterns.begin(), patterns.end(), [&](const char* pattern) { return isLike(word, pattern); });
  });
}

/// A part of a date, or the number of a build: "0613", "2025", "001", "06". Versions have no such form.
bool isStamp(std::string_view word) {
  constexpr std::size_t kShortestYear = 3;
  return word.find_first_not_of(kDigits) == std::string_view::npos &&
         (word.size() >= kShortestYear || (word.size() > 1 && word.front() == '0'));
}

/// Less is better.
using Rank = std::tuple<bool, int, int>;

/// Names that stay come before those of a snapshot or a preview, and higher versions before lower ones.
Rank rank(std::string_view name, const std::vector<std::string_view>& words) {
  constexpr std::array kTrials{"preview", "exp", "experimental", "alpha", "beta"};
  const bool passes = hasWord(words, kTrials) || std::any_of(words.begin(), words.end(), isStamp);
  int major = 0;
  int minor = 0;
  if (const std::size_t digit = name.find_first_of(kDigits); digit != std::string_view::npos) {
    const char* const end = name.data() + name.size();
    const char* const behind = std::from_chars(name.data() + digit, end, major).ptr;
    if (behind != end && *behind == '.') std::from_chars(behind + 1, end, minor);
  }
  return {passes, -major, -minor};
}

/// A model of the list, as the patterns see it.
struct Candidate {
  const std::string* model;
  std::string name;  // in lower case, without the publisher that some servers put in front
  bool isSpecial;    // what the provider has beside chat, under names of its chat models

  std::string_view shortName() const { return std::string_view(name).substr(name.rfind('/') + 1); }
};

std::vector<Candidate> dropOtherWork(const Provider& provider, const std::vector<std::string>& models) {
  std::vector<Candidate> candidates;
  for (const std::string& model : models) {
    Candidate candidate{.model = &model, .name = toLowerAscii(model), .isSpecial = false};
    const std::vector<std::string_view> words = splitWords(candidate.name);
    if (hasWord(words, kOtherWork)) continue;
    candidate.isSpecial = hasWord(words, provider.specialModels);
    candidates.push_back(std::move(candidate));
  }
  return candidates;
}

const std::string* findBest(const std::vector<Candidate>& candidates, std::string_view pattern) {
  const std::string* best = nullptr;
  Rank bestRank;
  for (const Candidate& candidate : candidates) {
    const std::string_view name = candidate.shortName();
    if (candidate.isSpecial || !isLike(name, pattern)) continue;
    const Rank its = rank(name, splitWords(name));
    if (best != nullptr && its >= bestRank) continue;
    best = candidate.model;
    bestRank = its;
  }
  return best;
}

}  // namespace

std::string chooseModel(const Provider& provider, const std::vector<std::string>& models, bool isOtherServer) {
  const std::vector<Candidate> candidates = dropOtherWork(provider, models);
  for (const char* pattern : provider.modelPatterns) {
    if (const std::string* best = findBest(candidates, pattern)) return *best;
  }
  return isOtherServer && !candidates.empty() ? *candidates.front().model : "";
}

std::string explainNoChoice(const std::vector<std::string>& models) {
  constexpr std::size_t kMostNames = 10;
  constexpr std::size_t kLongestName = 80;
  std::string names;
  std::size_t shown = 0;
  for (const std::string& model : models) {
    if (shown == kMostNames || model.size() > kLongestName) continue;
    names += (shown++ == 0 ? "" : ", ") + model;
  }
  if (shown < models.size()) names += (shown == 0 ? "" : " and ") + std::to_string(models.size() - shown) + " more";
  return "None of the service's models is known to chat (" + names + "); --model NAME takes one all the same";
}
