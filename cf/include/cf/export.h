/// @file
/// Marks what leaves the shared library `cf`.
#pragma once

#include <cf/language.h>

/// @def CF_API
/// Goes on functions and member functions.

/// @def CF_TYPE
/// Goes on classes whose type information host and library share. Windows exports the functions alone: a class exported
/// whole would drag its table and type information along.

#if defined(_WIN32)
#if defined(CF_BUILDING)
#define CF_API __declspec(dllexport)
#else
#define CF_API __declspec(dllimport)
#endif
#define CF_TYPE
#else
#define CF_API __attribute__((visibility("default")))
#define CF_TYPE __attribute__((visibility("default")))
#endif
