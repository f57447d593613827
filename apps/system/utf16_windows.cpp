#include "utf16_windows.h"

#include <windows.h>

namespace {

std::wstring widen(UINT codePage, std::string_view text) {
  const int size = static_cast<int>(text.size());
  std::wstring wide(static_cast<std::size_t>(MultiByteToWideChar(codePage, 0, text.data(), size, nullptr, 0)), L'\0');
  MultiByteToWideChar(codePage, 0, text.data(), size, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

}  // namespace

std::wstring toUTF16(std::string_view text) { return widen(CP_UTF8, text); }

std::wstring fromCodePage(std::string_view text) { return widen(CP_ACP, text); }

std::string toUTF8(std::wstring_view text) {
  const auto convert = [&](char* target, int capacity) {
    return WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), target, capacity, nullptr,
                               nullptr);
  };
  std::string narrow(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
  convert(narrow.data(), static_cast<int>(narrow.size()));
  return narrow;
}
