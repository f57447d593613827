#include "start.h"

#include <sys/prctl.h>
#include <sys/resource.h>

#include <cstdlib>

void forbidMemoryDumps() {
  prctl(PR_SET_DUMPABLE, 0);  // where a program takes the dumps, it heeds no limit
  const rlimit none{.rlim_cur = 0, .rlim_max = 0};
  setrlimit(RLIMIT_CORE, &none);
}

std::vector<std::string> obtainArguments(int argc, char** argv) { return {argv + (argc > 0 ? 1 : 0), argv + argc}; }

std::optional<std::string> obtainVariable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

std::string describeError(const std::error_code& error) { return error.message(); }
