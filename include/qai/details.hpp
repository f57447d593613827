/// @file
/// What a service tells of a reply beside its text; a part of qai.hpp.
#pragma once

#include <qai_extensions.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace qai {

/// What a service tells of a reply beside its text; Message::details() gives it. A view: it and the texts that it gives
/// are for use as long as the message lives. What was not told, and what an older library does not know, is "" or
/// nothing.
class Details {
 public:
  Details() = default;
  /// Of the plain interface; null when there are none.
  explicit Details(const IQAIMessageDetails* details) noexcept : details_(details) {}

  /// False when the library tells nothing at all.
  explicit operator bool() const noexcept { return details_ != nullptr; }

  /// Why the reply ended, in the service's word: "stop", "length", "content_filter", "STOP", "SAFETY".
  std::string_view finishReason() const noexcept { return details_ ? details_->obtainFinishReason() : ""; }
  /// The text with which the model refused to answer.
  std::string_view refusal() const noexcept { return details_ ? details_->obtainRefusal() : ""; }
  /// The tokens of what was sent.
  std::optional<std::int64_t> inputTokens() const noexcept {
    return details_ ? counted(details_->obtainInputTokens()) : std::nullopt;
  }
  /// Those of the reply.
  std::optional<std::int64_t> outputTokens() const noexcept {
    return details_ ? counted(details_->obtainOutputTokens()) : std::nullopt;
  }
  /// Those of what was sent that the service had kept from an earlier turn.
  std::optional<std::int64_t> cachedTokens() const noexcept {
    return details_ ? counted(details_->obtainCachedTokens()) : std::nullopt;
  }
  /// The model that answered.
  std::string_view model() const noexcept { return details_ ? details_->obtainModel() : ""; }
  /// What the service's maker asks for when something is wrong.
  std::string_view requestIdentifier() const noexcept { return details_ ? details_->obtainRequestIdentifier() : ""; }

  /// The object underneath, the message's; null when there is none.
  const IQAIMessageDetails* native() const noexcept { return details_; }

 private:
  static std::optional<std::int64_t> counted(std::int64_t tokens) noexcept {
    return tokens < 0 ? std::nullopt : std::optional(tokens);
  }

  const IQAIMessageDetails* details_ = nullptr;
};

}  // namespace qai
