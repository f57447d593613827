#include "support/platform.h"

#include <stdio.h>   // _popen
#include <stdlib.h>  // _putenv_s
#include <windows.h>

#include <array>
#include <memory>
#include <stdexcept>

bool isWine() {
  static const bool wine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
  return wine;
}

bool usesSchannel() { return true; }

// The C library's own copy of the environment changes, and the system's with it.
void setEnvironment(const std::string& name, const std::string& value) { _putenv_s(name.c_str(), value.c_str()); }

void unsetEnvironment(const std::string& name) { _putenv_s(name.c_str(), ""); }

// The command interpreter takes the outermost quotes away.
std::string outputOf(const std::vector<std::string>& command) {
  std::string line = "\"";
  for (const std::string& word : command) line += "\"" + word + "\" ";
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(_popen((line + "2>&1\"").c_str(), "r"), &_pclose);
  std::string output;
  std::array<char, 1024> buffer{};
  while (fgets(buffer.data(), static_cast<int>(buffer.size()), pipe.get()) != nullptr) output += buffer.data();
  return output;
}

std::size_t countDescriptors() {
  DWORD count = 0;
  if (!GetProcessHandleCount(GetCurrentProcess(), &count)) throw std::runtime_error("The handles can't be counted");
  return count;
}

DefaultBrokenPipeSignal::DefaultBrokenPipeSignal() = default;

DefaultBrokenPipeSignal::~DefaultBrokenPipeSignal() = default;
