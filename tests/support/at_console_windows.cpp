// at_console EVENT PROGRAM [ARGUMENT…]: runs a program at this one's console, gives it Ctrl-C whenever the event with
// that handle is set, and ends with its exit code. Only a program at a console can do so; and under Wine a program that
// is started at a pseudo console is not given it as its standard streams.
#include <windows.h>

#include <cstdlib>
#include <string>

namespace {

/// Ctrl-C is for the other one. That it is ignored would be handed on, that it is handled is not.
BOOL WINAPI outliveCtrlC(DWORD event) { return event == CTRL_C_EVENT; }

/// What follows the first argument of this process's command line, or of the rest of it.
wchar_t* skipArgument(wchar_t* line) {
  bool quoted = false;
  for (; *line != L'\0' && (quoted || *line != L' '); ++line) quoted = quoted != (*line == L'"');
  while (*line == L' ') ++line;
  return line;
}

HANDLE obtainStream(DWORD stream, const wchar_t* atConsole) {
  const HANDLE handle = GetStdHandle(stream);
  DWORD mode = 0;
  if (handle != nullptr && GetConsoleMode(handle, &mode) == 0) return handle;
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return CreateFileW(atConsole, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                     OPEN_EXISTING, 0, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return EXIT_FAILURE;
  SetConsoleCtrlHandler(outliveCtrlC, TRUE);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = obtainStream(STD_INPUT_HANDLE, L"CONIN$");
  startup.hStdOutput = obtainStream(STD_OUTPUT_HANDLE, L"CONOUT$");
  startup.hStdError = obtainStream(STD_ERROR_HANDLE, L"CONOUT$");
  PROCESS_INFORMATION made{};
  wchar_t* const line = skipArgument(skipArgument(GetCommandLineW()));
  if (CreateProcessW(nullptr, line, nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &made) == 0) {
    return EXIT_FAILURE;
  }
  // Whoever reads the streams waits until all that have them are gone.
  for (const DWORD stream : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) CloseHandle(GetStdHandle(stream));
  const HANDLE either[] = {made.hProcess, reinterpret_cast<HANDLE>(std::stoull(argv[1]))};
  while (WaitForMultipleObjects(2, either, FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
    GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
  }
  DWORD code = EXIT_FAILURE;
  GetExitCodeProcess(made.hProcess, &code);
  ExitProcess(code);
}
