// A request's body as libcurl takes it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// A body in parts that lie elsewhere, read from the beginning to the end as often as it takes.
class RestUpload {
 public:
  explicit RestUpload(const std::array<std::string_view, 3>& parts) noexcept : parts_(parts) {}

  std::size_t size() const noexcept { return parts_[0].size() + parts_[1].size() + parts_[2].size(); }
  /// The whole body when it lies in one piece, which it does without a middle part; else null.
  const char* obtainWhole() const noexcept { return parts_[1].empty() ? parts_[0].data() : nullptr; }

  /// Copies what comes next into `buffer`.
  /// @return how much that was, at most `room`; 0 at the end.
  std::size_t read(char* buffer, std::size_t room) noexcept;
  /// @return false when there is no such place.
  bool moveTo(std::int64_t offset) noexcept;

 private:
  std::array<std::string_view, 3> parts_;
  std::size_t position_ = 0;
};
