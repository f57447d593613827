#!/usr/bin/env bash
# check_language.sh COMPILER INCLUDE CF_INCLUDE HEADER…: fails unless each header, included alone, has a compiler that is
# set to C++17 say first of all that it needs C++20. That all compile as C++20 is the build's to show.
set -euo pipefail
compiler=$1 includes=(-I "$2" -I "$3")
shift 3
sentence='libqai needs C\+\+20: compile with '

# first_error HEADER OPTION…: the first error of a source that includes HEADER
first_error() {
  local header=$1
  shift
  { echo "#include <$header>" | "$compiler" "$@" "${includes[@]}" -fsyntax-only -Wfatal-errors -x c++ - 2>&1 || true; } |
    grep -m 1 -E 'error' || true
}

expect() {
  local wanted=$1 said
  shift
  said=$(first_error "$@")
  [[ $wanted == sentence && $said =~ $sentence ]] || [[ $wanted == nothing && -z $said ]] ||
    { echo "$*: expected $wanted, got: ${said:-nothing}" && return 1; }
}

for header in "$@"; do expect sentence "$header" -std=c++17; done
# As Microsoft's compiler tells the language: __cplusplus may say C++98 then.
expect sentence cf/language.h -std=c++20 -D_MSVC_LANG=201703L
expect nothing cf/language.h -std=c++17 -D_MSVC_LANG=202002L
expect nothing qai.hpp -std=c++20
