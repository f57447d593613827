#include "rest_upload.h"

#include <algorithm>

RestUpload::RestUpload(std::span<const std::string_view> parts) noexcept : parts_(parts) {
  for (const std::string_view part : parts) size_ += part.size();
}

std::size_t RestUpload::read(char* buffer, std::size_t room) noexcept {
  std::size_t copied = 0;
  std::size_t partBegin = 0;
  for (const std::string_view part : parts_) {
    const std::size_t inPart = position_ - partBegin;
    if (inPart < part.size()) {
      const std::size_t count = part.copy(buffer + copied, room - copied, inPart);
      copied += count;
      position_ += count;
    }
    partBegin += part.size();
    if (position_ < partBegin) break;  // no room is left
  }
  return copied;
}

bool RestUpload::moveTo(std::int64_t offset) noexcept {
  if (offset < 0 || static_cast<std::uint64_t>(offset) > size()) return false;
  position_ = static_cast<std::size_t>(offset);
  return true;
}
