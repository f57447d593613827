// Streams on handles of the system: bytes with pipes and files, UTF-16 with a console, UTF-8 inside.
#pragma once

#include <array>
#include <mutex>
#include <streambuf>
#include <string>

/// A HANDLE, without the system's header.
using StreamHandle = void*;

bool isConsole(StreamHandle handle);

/// At a console a line that begins with Ctrl-Z is the end.
class InputBuffer final : public std::streambuf {
 public:
  explicit InputBuffer(StreamHandle handle) : handle_(handle), console_(isConsole(handle)) {}

 private:
  int_type underflow() override;
  /// Each fills bytes_, with nothing at times. @return false at the end
  bool readBytes();
  bool readConsole();

  StreamHandle handle_;
  bool console_;
  bool atLineBegin_ = true;
  wchar_t highHalf_ = L'\0';  // of a character whose low half comes with the next read
  std::string bytes_;
};

/// Writes at once what it is given, which must be whole characters; may be used from several threads. A failure leaves
/// its reason in errno.
class OutputBuffer final : public std::streambuf {
 public:
  explicit OutputBuffer(StreamHandle handle) : handle_(handle), console_(isConsole(handle)) {}

 private:
  int_type overflow(int_type character) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;

  StreamHandle handle_;
  bool console_;
  std::mutex mutex_;
};
