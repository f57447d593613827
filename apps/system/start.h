// What the system hands a program, and tells it, as UTF-8; one source file for each system.
#pragma once

#include <optional>
#include <string>
#include <system_error>
#include <vector>

/// Keeps the process's memory, in which there are keys, out of core dumps and from other programs of this user. Called
/// first thing in main.
void forbidMemoryDumps();

/// The command line without the program's name. Takes what main was given.
std::vector<std::string> obtainArguments(int argc, char** argv);

/// The value of an environment variable; nothing when it is not set.
std::optional<std::string> obtainVariable(const char* name);

/// What the system says of `error`.
std::string describeError(const std::error_code& error);
