// Windows' handles and pipes, with owners.
#pragma once

#include <windows.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

/// A handle of the system's with its owner.
class Handle {
 public:
  explicit Handle(HANDLE value = nullptr) : value_(value) {}
  ~Handle() { close(); }
  Handle(Handle&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }

  HANDLE get() const { return value_; }
  void close() {
    if (value_ != nullptr) CloseHandle(std::exchange(value_, nullptr));
  }
  /// The same, for programs that are started.
  HANDLE inherited() const {
    SetHandleInformation(value_, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    return value_;
  }

 private:
  HANDLE value_;
};

struct Pipe {
  Pipe() {
    constexpr DWORD kSize = 65536;  // the inputs of these tests fit in
    HANDLE ends[2] = {};
    if (CreatePipe(&ends[0], &ends[1], nullptr, kSize) == 0) throw std::runtime_error("no pipe");
    read = Handle(ends[0]);
    write = Handle(ends[1]);
  }

  Handle read;
  Handle write;
};

inline void writeAll(const Handle& to, std::string_view bytes) {
  DWORD written = 0;
  WriteFile(to.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

/// Appends what comes next. @return false at the end
inline bool readSome(const Handle& from, std::string& text) {
  char buffer[4096];
  DWORD size = 0;
  if (ReadFile(from.get(), buffer, sizeof buffer, &size, nullptr) == 0 || size == 0) return false;
  text.append(buffer, size);
  return true;
}

/// Waits until something can be read, the end included. @return whether it came in time
inline bool awaitSomething(const Handle& from, std::chrono::milliseconds patience) {
  constexpr std::chrono::milliseconds kGlance{5};
  const auto deadline = std::chrono::steady_clock::now() + patience;
  DWORD size = 0;
  while (PeekNamedPipe(from.get(), nullptr, 0, nullptr, &size, nullptr) != 0 && size == 0) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(kGlance);
  }
  return true;
}
