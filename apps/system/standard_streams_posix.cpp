#include "standard_streams.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <initializer_list>
#include <string_view>

namespace {

/// What is closed would otherwise be the next file or connection that the program opens, and take the answers. Open the
/// other way round, the null device refuses what a closed one would refuse.
void occupyClosedDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
    // The lowest number that is free is this one.
    static_cast<void>(open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY));
  }
}

std::size_t obtainWidth(int descriptor) {
  winsize size{};
  return ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace

void setUpStandardStreams() {
  occupyClosedDescriptors();
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

bool isInputTerminal() { return isatty(STDIN_FILENO) == 1; }

bool isInputGiven() {
  struct stat about {};
  return fstat(STDIN_FILENO, &about) == 0 && (S_ISREG(about.st_mode) || S_ISFIFO(about.st_mode));
}

bool isOutputTerminal() { return isatty(STDOUT_FILENO) == 1; }

bool isErrorScreen() {
  const char* const terminal = std::getenv("TERM");
  return isatty(STDERR_FILENO) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}
bool isErrorTerminal() { return isatty(STDERR_FILENO) == 1; }

std::size_t obtainOutputWidth() { return obtainWidth(STDOUT_FILENO); }
std::size_t obtainErrorWidth() { return obtainWidth(STDERR_FILENO); }

const char* obtainEndOfInputKeys() { return "Ctrl-D"; }
