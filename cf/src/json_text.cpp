#include "json_text.h"

const char* plainJsonASCIIEndOfShort(const char* text, const char* end) noexcept {
  for (int index = 0; index < 16; ++index) {
    if (!isPlainJson(text[index])) return text + index;
  }
  return plainJsonASCIIEnd(text + 16, end);
}
