#include "standard_streams.h"
#include "stream_buffers_windows.h"

#include <windows.h>

#include <iostream>

namespace {

std::size_t obtainWidth(DWORD which) {
  CONSOLE_SCREEN_BUFFER_INFO screen{};
  if (GetConsoleScreenBufferInfo(GetStdHandle(which), &screen) == 0) return 0;
  return static_cast<std::size_t>(screen.srWindow.Right - screen.srWindow.Left + 1);
}

}  // namespace

// The C library would turn line ends into pairs and take bytes for the code page's. These live as long as the streams,
// which are used to the very end of the process.
void setUpStandardStreams() {
  std::cin.rdbuf(new InputBuffer(GetStdHandle(STD_INPUT_HANDLE)));
  std::cout.rdbuf(new OutputBuffer(GetStdHandle(STD_OUTPUT_HANDLE)));
  std::cerr.rdbuf(new OutputBuffer(GetStdHandle(STD_ERROR_HANDLE)));
}

bool isInputTerminal() { return isConsole(GetStdHandle(STD_INPUT_HANDLE)); }

bool isInputGiven() {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  const DWORD type = GetFileType(input);
  // A socket calls itself a pipe, and only that.
  return type == FILE_TYPE_DISK ||
         (type == FILE_TYPE_PIPE && GetNamedPipeInfo(input, nullptr, nullptr, nullptr, nullptr) != 0);
}

bool isOutputTerminal() { return isConsole(GetStdHandle(STD_OUTPUT_HANDLE)); }

bool isErrorScreen() { return isConsole(GetStdHandle(STD_ERROR_HANDLE)); }
bool isErrorTerminal() { return isConsole(GetStdHandle(STD_ERROR_HANDLE)); }

std::size_t obtainOutputWidth() { return obtainWidth(STD_OUTPUT_HANDLE); }
std::size_t obtainErrorWidth() { return obtainWidth(STD_ERROR_HANDLE); }

const char* obtainEndOfInputKeys() { return "Ctrl-Z and Enter"; }
