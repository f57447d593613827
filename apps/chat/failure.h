// Why the program ends.
#pragma once

#include "exit_code.h"

#include <stdexcept>
#include <string>

/// A sentence for the user, and what the program ends with.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& sentence) : std::runtime_error(sentence), exitCode(code) {}

  ExitCode exitCode;
};
