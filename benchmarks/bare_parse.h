// The JSON library by itself: what the rows about JSON are compared with.
#pragma once

#include <string>

/// Reads `text`, from front to back and with the library's usual options, and does nothing with it.
void parseBare(const std::string& text);
