#include "start.h"
#include "utf16_windows.h"

#include <windows.h>
// Behind windows.h, whose types it uses.
#include <shellapi.h>

#include <memory>

namespace {

struct LocalMemory {
  void operator()(wchar_t** memory) const { LocalFree(memory); }
};

}  // namespace

// No error report is made then, which would hold a part of the memory.
void forbidMemoryDumps() { SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX); }

// main gets its arguments in the code page, which lacks most characters.
std::vector<std::string> obtainArguments(int /*argc*/, char** /*argv*/) {
  int count = 0;
  const std::unique_ptr<wchar_t*, LocalMemory> all(CommandLineToArgvW(GetCommandLineW(), &count));
  std::vector<std::string> arguments;
  for (int i = 1; all != nullptr && i < count; ++i) arguments.push_back(toUTF8(all.get()[i]));
  return arguments;
}

std::optional<std::string> obtainVariable(const char* name) {
  const std::wstring wideName = toUTF16(name);
  std::wstring value(GetEnvironmentVariableW(wideName.c_str(), nullptr, 0), L'\0');  // counts the end, too
  if (value.empty()) return std::nullopt;
  value.resize(GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size())));
  return toUTF8(value);
}

std::string describeError(const std::error_code& error) { return toUTF8(fromCodePage(error.message())); }
