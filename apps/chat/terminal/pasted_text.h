// What is pasted into a line that is typed.
#pragma once

#include <string>
#include <string_view>

/// What a paste of `pasted` enters: lines ended as here, whatever a terminal ends them with, nothing that a terminal
/// would obey, and no end behind the last line, which is for Enter to send.
std::string tidyPaste(std::string_view pasted);
