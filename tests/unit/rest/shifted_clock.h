// The clock by which libcurl and the library measure time.
#pragma once

#include <chrono>

/// Lets so much time seem to have passed, on every thread.
void passTime(std::chrono::milliseconds time) noexcept;
