// A request's body as libcurl takes it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// A body in parts that lie elsewhere, read from the beginning to the end as often as it takes.
class RestUpload {
 public:
  /// `parts` outlive the upload.
  explicit RestUpload(std::span<const std::string_view> parts) noexcept;

  std::size_t size() const noexcept { return size_; }
  /// The whole body when it lies in one piece; else null.
  const char* obtainWhole() const noexcept { return parts_.size() == 1 ? parts_[0].data() : nullptr; }

  /// Copies what comes next into `buffer`.
  /// @return how much that was, at most `room`; 0 at the end.
  std::size_t read(char* buffer, std::size_t room) noexcept;
  /// @return false when there is no such place.
  bool moveTo(std::int64_t offset) noexcept;

 private:
  std::span<const std::string_view> parts_;
  std::size_t size_ = 0;
  std::size_t position_ = 0;
};
