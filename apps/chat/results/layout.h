// The room that a result is shown in.
#pragma once

#include <cstddef>

struct ResultLayout {
  std::size_t width = 0;  // the terminal's columns; 0: as many as it takes
  std::size_t rows = 0;   // that are shown at most; 0: all
};
