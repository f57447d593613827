// What a person tells the program itself: lines that begin with a slash.
#pragma once

#include "conversation/talk.h"

#include <cstddef>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// A command as it was typed.
struct CommandCall {
  std::vector<std::string> words;  // behind its name
  std::string rest;                // the same as one text, blanks within it as they were typed
};

/// One way to call a command.
struct CommandRow {
  static constexpr std::size_t kAnyNumber = std::numeric_limits<std::size_t>::max();

  std::string_view name;
  std::string_view arguments;  // for people; empty when it takes none
  std::string_view meaning;
  std::size_t fewest;  // words behind its name
  std::size_t most;
  /// @return false when the conversation ends
  bool (*obey)(Talk& talk, const CommandCall& call);
  bool isForPipes = false;  // also when nobody sees what a line does: neither sends elsewhere nor writes files
};

/// All of them, in the order of /help.
std::span<const CommandRow> listCommands();

/// Does what `line`, which begins with a slash, tells. @return false when the conversation ends
bool obey(Talk& talk, const std::string& line);
