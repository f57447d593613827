/// @file
/// One routine for conditions that only a programming error can break. Execution goes on after it: the operation that
/// raised it reports failure through its result.
#pragma once

#include <cf/export.h>

/// Receives a failed assertion: the condition's text, the source file's name without folder and suffix, and the line.
/// Called on the thread that failed; must not throw.
using CFAssertionHandler = void (*)(const char* expression, const char* file, int line);

/// Replaces the process-wide handler and returns the one before. Null restores the default, which prints one line to
/// standard error in builds without NDEBUG and is silent in others. May be called from any thread.
CF_API CFAssertionHandler cfSetAssertionHandler(CFAssertionHandler handler) noexcept;

/// Hands a failed assertion to the handler. `file` may be a path; its folder and suffix are dropped.
/// @return false, so that a check and its failure can stand in one condition.
CF_API bool cfRaiseAssertion(const char* expression, const char* file, int line) noexcept;

/// True when `condition` holds; otherwise raises it as an assertion and is false.
#define CF_ASSERT(condition) (static_cast<bool>(condition) || cfRaiseAssertion(#condition, __FILE__, __LINE__))
