// What leaves this machine.
#pragma once

#include <cstddef>

/// What a request can hold.
enum class Matter { Instructions, EarlierTurns, Question, KindOfError, Row };
inline constexpr std::size_t kMatters = 5;
