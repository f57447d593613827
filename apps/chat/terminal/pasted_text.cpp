#include "terminal/pasted_text.h"

#include "terminal/rendering.h"

#include <cstddef>

std::string tidyPaste(std::string_view pasted) {
  std::string lines(pasted);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (lines[i] == '\r' && lines.compare(i, 2, "\r\n") != 0) lines[i] = '\n';
  }
  lines = terminalSafe(lines);  // which takes a pair for one end
  while (lines.ends_with('\n')) lines.pop_back();
  return lines;
}
