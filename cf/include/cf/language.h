/// @file
/// Stops compilers that are set to a language before C++20, in which the other headers mean nothing: every public
/// header includes this one before anything else.
#pragma once

// Microsoft's compiler tells the language here alone, unless asked to keep to the standard (/Zc:__cplusplus).
#if (defined(_MSVC_LANG) ? _MSVC_LANG : __cplusplus) <= 201703L
#error "libqai needs C++20: compile with -std=c++20 (g++, clang) or /std:c++20 (Microsoft's compiler)"
#endif
