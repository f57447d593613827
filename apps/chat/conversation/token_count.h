// What a conversation costs.
#pragma once

#include "conversation/answer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/// The tokens of a conversation's answers, as far as the services told.
class TokenCount {
 public:
  void add(const Tokens& tokens);
  /// For people.
  std::string describe() const;

 private:
  static constexpr std::size_t kKinds = 3;

  std::array<std::optional<std::int64_t>, kKinds> sums_{};  // not set: nobody told
  std::size_t answers_ = 0;
  std::size_t untold_ = 0;  // answers of which nothing was told
};
