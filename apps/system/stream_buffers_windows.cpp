#include "stream_buffers_windows.h"

#include "utf16_windows.h"

#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

namespace {

// Consoles before Windows 8 take no more than 64 KiB at once, and less when they are short of memory.
constexpr std::size_t kMostAtOnce = 8192;

int toErrno(DWORD error) {
  switch (error) {
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:  // the reader is gone
    case ERROR_PIPE_NOT_CONNECTED:
      return EPIPE;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return ENOSPC;
    case ERROR_INVALID_HANDLE:
      return EBADF;
    default:
      return EIO;
  }
}

DWORD sizeOfPiece(std::size_t left) { return static_cast<DWORD>(std::min(left, kMostAtOnce)); }

bool isHighHalf(wchar_t unit) { return unit >= 0xD800 && unit < 0xDC00; }

bool writeBytes(HANDLE handle, std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD written = 0;
    if (WriteFile(handle, bytes.data(), sizeOfPiece(bytes.size()), &written, nullptr) == 0) return false;
    bytes.remove_prefix(written);
  }
  return true;
}

bool writeConsole(HANDLE handle, std::wstring_view text) {
  while (!text.empty()) {
    DWORD size = sizeOfPiece(text.size());
    if (size < text.size() && isHighHalf(text[size - 1])) --size;  // the halves go together
    DWORD written = 0;
    if (WriteConsoleW(handle, text.data(), size, &written, nullptr) == 0) return false;
    text.remove_prefix(written);
  }
  return true;
}

}  // namespace

bool isConsole(StreamHandle handle) {
  DWORD mode = 0;
  return GetConsoleMode(handle, &mode) != 0;
}

InputBuffer::int_type InputBuffer::underflow() {
  bytes_.clear();
  while (bytes_.empty()) {
    if (!(console_ ? readConsole() : readBytes())) return traits_type::eof();
  }
  setg(bytes_.data(), bytes_.data(), bytes_.data() + bytes_.size());
  return traits_type::to_int_type(bytes_.front());
}

bool InputBuffer::readBytes() {
  bytes_.resize(kMostAtOnce);
  DWORD size = 0;
  ReadFile(handle_, bytes_.data(), static_cast<DWORD>(bytes_.size()), &size, nullptr);  // fails at a pipe's end
  bytes_.resize(size);
  return size > 0;
}

bool InputBuffer::readConsole() {
  constexpr wchar_t kCtrlZ = L'\x1A';
  std::array<wchar_t, kMostAtOnce> units{};
  DWORD size = 0;
  while (size == 0) {  // Ctrl-C drops the line; whoever takes it over goes on with the next
    const auto most = static_cast<DWORD>(units.size());
    if (ReadConsoleW(handle_, units.data(), most, &size, nullptr) == 0) return false;
  }
  std::wstring text(units.data(), size);
  if (atLineBegin_ && text.starts_with(kCtrlZ)) return false;
  atLineBegin_ = text.ends_with(L'\n');
  if (highHalf_ != L'\0') text.insert(text.begin(), std::exchange(highHalf_, L'\0'));
  if (isHighHalf(text.back())) {
    highHalf_ = text.back();
    text.pop_back();
  }
  bytes_ = toUTF8(text);
  return true;
}

OutputBuffer::int_type OutputBuffer::overflow(int_type character) {
  if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
  const char text = traits_type::to_char_type(character);
  return xsputn(&text, 1) == 1 ? character : traits_type::eof();
}

std::streamsize OutputBuffer::xsputn(const char* text, std::streamsize size) {
  const std::lock_guard lock(mutex_);
  const std::string_view bytes(text, static_cast<std::size_t>(size));
  if (console_ ? writeConsole(handle_, toUTF16(bytes)) : writeBytes(handle_, bytes)) return size;
  errno = toErrno(GetLastError());
  return 0;
}
