// The command line.
#pragma once

#include "conversation/run_options.h"
#include "exit_code.h"
#include "services/endpoint.h"

#include <optional>
#include <string>
#include <vector>

struct Options {
  ServiceWish service;
  std::string model;  // empty: one of the service's list
  std::string instructions;
  std::string temperature;  // a decimal from 0 to 2; empty: the service's default
  std::string restoreFile;
  bool allowOtherDatabase = false;  // the restored conversation may be about another one
  std::string saveFile;
  std::string database;
  std::optional<std::string> question;
  bool isWhole = false;  // answers are shown when they are complete, on terminals, too
  RunMode runMode = RunMode::Auto;
  bool writes = false;  // the database is opened for writing, and what would write may be agreed to
  RowFormat rowFormat = RowFormat::Table;
  bool listModels = false;
  bool showPrompt = false;
  bool isDryRun = false;
};

/// A command line as read: either options to go on with, or an end with a text for the user.
struct CommandLine {
  Options options;
  std::optional<ExitCode> end;  // set: `text` goes to standard output when it is Fine, else to standard error
  std::string text;
};

/// Reads `arguments`, the program's name left out.
CommandLine readCommandLine(const std::vector<std::string>& arguments);
