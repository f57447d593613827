/// @file
/// Values or error texts in place of pairs; a part of qai.hpp.
#pragma once

#include <cf/language.h>

#include <string>
#include <utility>

namespace qai {

/// Success, or the text of an error for the user (UTF-8).
class [[nodiscard]] Outcome {
 public:
  /// A success when `error` is empty.
  explicit Outcome(std::string error) noexcept : error_(std::move(error)) {}

  /// True on success.
  explicit operator bool() const noexcept { return error_.empty(); }

  /// The error text; "" on success.
  const std::string& error() const& noexcept { return error_; }
  /// As above, taken out of a temporary result.
  std::string error() && { return std::move(error_); }

 private:
  std::string error_;
};

/// A value, or the text of an error.
template <class T>
class [[nodiscard]] Result : public Outcome {
 public:
  /// A success when `error` is empty; else a failure, whose value is not for use but safe to touch.
  explicit Result(T value, std::string error = {}) : Outcome(std::move(error)), value_(std::move(value)) {}

  /// The value; on failure an empty one. Taken out of a temporary result rather than referred to.
  T& value() & noexcept { return value_; }
  /// As above.
  const T& value() const& noexcept { return value_; }
  /// As above.
  T value() && { return std::move(value_); }

  /// The value's members; as value().
  T* operator->() noexcept { return &value_; }
  /// As above.
  const T* operator->() const noexcept { return &value_; }

 private:
  T value_;
};

}  // namespace qai
