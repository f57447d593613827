#!/usr/bin/env bash
# check_pointers.sh SOURCES COMPILER: fails unless CMake ends with the one error that says why when COMPILER, which is for
# 64-bit PCs, is told to build for 32 bits.
set -euo pipefail
build=$(mktemp -d)
trap 'rm -rf "$build"' EXIT

# Nothing is linked, as the system's libraries for 32 bits are seldom there.
if said=$(cmake -S "$1" -B "$build" -G Ninja -D CMAKE_CXX_COMPILER="$2" -D CMAKE_CXX_FLAGS=-m32 \
  -D CMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY 2>&1); then
  echo "CMake makes a 32-bit build."
  exit 1
fi
[[ $said == *"libqai is for 64-bit processes"* ]] && [ "$(grep -c '^CMake Error' <<<"$said")" = 1 ] && exit
printf '%s\nThat is not the one error for 32 bits.\n' "$said"
exit 1
