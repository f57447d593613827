// Inputs that say in their first line how the rest is cut.
#pragma once

#include <string_view>
#include <vector>

struct CutInput {
  explicit CutInput(std::string_view input);

  std::string_view text;                // what is behind the first line
  std::vector<std::string_view> parts;  // of it, of the sizes in the first line by turns, a byte each, '0' for none;
                                        // the last of the sizes is at least 1, and without any there is one part
};
