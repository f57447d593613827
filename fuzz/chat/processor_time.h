// Time that a machine with other work does not lengthen.
#pragma once

#include <ctime>

/// The seconds that this process has had a processor.
inline double processorSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }
