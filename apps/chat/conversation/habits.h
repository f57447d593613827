// What people type out of habit from other programs, and what no question begins with.
#pragma once

#include <string>
#include <string_view>

enum class LineKind {
  Question,
  Command,  // in this program's words
  Foreign,  // a command of another program, of which there is none here
  Keys      // what a key sends where nobody makes an action of it
};

struct LineMeaning {
  LineKind kind;
  std::string text;  // a question as it was typed; a command as this program has it
};

/// What `line`, which begins and ends with no blank, is meant to be.
LineMeaning understand(std::string_view line);
