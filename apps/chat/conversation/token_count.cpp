#include "conversation/token_count.h"

#include <limits>

namespace {

constexpr std::array kNames{"in", "out", "of those in from the service's cache"};

/// Services may tell what they like: stays at the most there is.
std::int64_t plus(std::int64_t sum, std::int64_t more) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  return more > kMost - sum ? kMost : sum + more;
}

}  // namespace

void TokenCount::add(const Tokens& tokens) {
  const std::array told{tokens.in, tokens.out, tokens.cached};
  bool isTold = false;
  for (std::size_t kind = 0; kind < kKinds; ++kind) {
    if (!told.at(kind)) continue;
    isTold = true;
    sums_.at(kind) = plus(sums_.at(kind).value_or(0), *told.at(kind));
  }
  ++answers_;
  if (!isTold) ++untold_;
}

std::string TokenCount::describe() const {
  if (answers_ == 0) return "There is no answer yet.";
  std::string text = std::to_string(answers_) + (answers_ == 1 ? " answer" : " answers");
  if (untold_ == answers_) return text + ". The service told nothing of tokens.";
  const char* separator = ". Tokens: ";
  for (std::size_t kind = 0; kind < kKinds; ++kind) {
    if (!sums_.at(kind)) continue;
    text += separator + std::to_string(*sums_.at(kind)) + " " + kNames.at(kind);
    separator = ", ";
  }
  text += ".";
  if (untold_ == 0) return text;
  return text + " Of " + std::to_string(untold_) + (untold_ == 1 ? " answer" : " answers") + " nothing was told.";
}
