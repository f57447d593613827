#include "start.h"

#include <cstdlib>

std::vector<std::string> obtainArguments(int argc, char** argv) { return {argv + (argc > 0 ? 1 : 0), argv + argc}; }

std::optional<std::string> obtainVariable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

std::string describeError(const std::error_code& error) { return error.message(); }
