// Where the build puts the DLLs and the programs.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

inline std::filesystem::path programFolder() {
  std::wstring file(MAX_PATH, L'\0');
  file.resize(GetModuleFileNameW(nullptr, file.data(), MAX_PATH));
  return std::filesystem::path(file).parent_path();
}
