#include "support/platform.h"

#include <stdio.h>   // NOLINT(modernize-deprecated-headers): popen is POSIX' own
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv is POSIX' own

#include <array>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <memory>

bool isWine() { return false; }

bool usesSchannel() { return false; }

void setEnvironment(const std::string& name, const std::string& value) { setenv(name.c_str(), value.c_str(), 1); }

void unsetEnvironment(const std::string& name) { unsetenv(name.c_str()); }

std::string outputOf(const std::vector<std::string>& command) {
  std::string line;
  for (const std::string& word : command) line += "'" + word + "' ";
  // NOLINTNEXTLINE(cert-env33-c): our own programs, with our own arguments
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen((line + "2>&1").c_str(), "r"), &pclose);
  std::string output;
  std::array<char, 1024> buffer{};
  while (fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr) output += buffer.data();
  return output;
}

std::size_t countDescriptors() {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

DefaultBrokenPipeSignal::DefaultBrokenPipeSignal() : before_(std::signal(SIGPIPE, SIG_DFL)) {}

DefaultBrokenPipeSignal::~DefaultBrokenPipeSignal() { static_cast<void>(std::signal(SIGPIPE, before_)); }
